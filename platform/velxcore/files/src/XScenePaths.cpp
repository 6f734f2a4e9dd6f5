#include "XScenePaths.h"

#include <algorithm>
#include <chrono>
#include <random>

namespace VelX {

using Codec = XJsonValueCodec;

namespace {

// Hashes are polynomials in the base, modulo the prime 2^61 - 1.
constexpr std::uint64_t Prime = (std::uint64_t(1) << 61) - 1;

std::uint64_t multiply(std::uint64_t a, std::uint64_t b) {
    const unsigned __int128 product = static_cast<unsigned __int128>(a) * b;
    const std::uint64_t folded = static_cast<std::uint64_t>(product & Prime) + static_cast<std::uint64_t>(product >> 61);
    return folded >= Prime ? folded - Prime : folded;
}

std::uint64_t add(std::uint64_t a, std::uint64_t b) {
    const std::uint64_t sum = a + b;
    return sum >= Prime ? sum - Prime : sum;
}

std::uint64_t step(std::uint64_t hash, std::uint64_t base, char c) {
    return add(multiply(hash, base), static_cast<unsigned char>(c) + 1u);
}

std::uint64_t randomBase() {
    std::uint64_t seed = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    try {
        std::random_device device;
        seed ^= (static_cast<std::uint64_t>(device()) << 32) ^ device();
    } catch (...) {
        // No random device: the clock alone still differs from run to run.
    }
    std::mt19937_64 generator(seed);
    return std::uniform_int_distribution<std::uint64_t>(1u << 20, Prime - 1)(generator);
}

}  // namespace

XScenePaths::XScenePaths(const FileScene& scene) : m_scene(scene), m_base(randomBase()) {
    const FileObjects& objects = scene.objects;
    std::vector<std::uint64_t> hashes(objects.size(), 0);
    m_byHash.reserve(scene.order.size());
    for (std::size_t position = 0; position < scene.order.size(); ++position) {
        const int i = scene.order[position];
        const FileObject& o = objects[static_cast<std::size_t>(i)];
        std::uint64_t hash = o.parent >= 0 ? step(hashes[static_cast<std::size_t>(o.parent)], m_base, '/') : 0;
        for (char c : o.name) hash = step(hash, m_base, c);
        hashes[static_cast<std::size_t>(i)] = hash;
        m_byHash.emplace_back(hash, static_cast<int>(position));
    }
    std::sort(m_byHash.begin(), m_byHash.end());
}

void XScenePaths::prefixHashes(std::string_view text, std::vector<std::uint64_t>& hashes) const {
    hashes.resize(text.size() + 1);
    hashes[0] = 0;
    for (std::size_t k = 0; k < text.size(); ++k) hashes[k + 1] = step(hashes[k], m_base, text[k]);
}

int XScenePaths::find(std::string_view path) const {
    std::uint64_t hash = 0;
    for (char c : path) hash = step(hash, m_base, c);
    return find(path, hash);
}

int XScenePaths::find(std::string_view path, std::uint64_t hash) const {
    auto it = std::lower_bound(m_byHash.begin(), m_byHash.end(), std::make_pair(hash, -1));
    for (; it != m_byHash.end() && it->first == hash; ++it) {
        const int object = m_scene.order[static_cast<std::size_t>(it->second)];
        if (isPathOf(object, path)) return object;
    }
    return -1;
}

// Compares the names up the hierarchy with the text from its end: costs at most the text's length.
bool XScenePaths::isPathOf(int object, std::string_view path) const {
    for (int k = object; k >= 0;) {
        const FileObject& o = m_scene.objects[static_cast<std::size_t>(k)];
        if (path.size() < o.name.size() || path.substr(path.size() - o.name.size()) != o.name) return false;
        path.remove_suffix(o.name.size());
        k = o.parent;
        if (k < 0) return path.empty();
        if (path.empty() || path.back() != '/') return false;
        path.remove_suffix(1);
    }
    return false;
}

void XScenePaths::refuseEqualPaths() const {
    // Among all objects whose path an earlier one has, the first in creation order is named.
    int second = -1, firstOfIt = -1;
    for (std::size_t k = 1; k < m_byHash.size(); ++k) {
        if (m_byHash[k].first != m_byHash[k - 1].first) continue;
        const int earlier = m_scene.order[static_cast<std::size_t>(m_byHash[k - 1].second)];
        const int later = m_scene.order[static_cast<std::size_t>(m_byHash[k].second)];
        if (second >= 0 && m_byHash[k].second >= second) continue;
        if (pathOf(earlier) == pathOf(later)) {
            second = m_byHash[k].second;
            firstOfIt = earlier;
        }
    }
    if (second < 0) return;
    const int i = m_scene.order[static_cast<std::size_t>(second)];
    Codec::fail(objectPlace(i) + ".name", "the path '" + Codec::excerpt(pathOf(i)) + "' is also the path of " +
                                       objectPlace(firstOfIt));
}

std::string XScenePaths::pathOf(int object) const {
    std::vector<int> chain;
    for (int k = object; k >= 0; k = m_scene.objects[static_cast<std::size_t>(k)].parent) chain.push_back(k);
    std::string path;
    for (auto k = chain.rbegin(); k != chain.rend(); ++k) {
        if (k != chain.rbegin()) path += '/';
        path += m_scene.objects[static_cast<std::size_t>(*k)].name;
    }
    return path;
}

}  // namespace VelX

#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

namespace db {

// Finds a child by name under a parent without scanning the siblings. Entries are keyed by a
// hash of (parent, name); callers confirm the match against the node itself.
class NameIndex {
public:
    static std::uint64_t key(int parent, const std::string& name) {
        std::uint64_t h = 1469598103934665603ull ^ static_cast<std::uint32_t>(parent);
        for (unsigned char c : name) h = (h ^ c) * 1099511628211ull;
        return h;
    }

    void add(int parent, const std::string& name, int id) { m_map.emplace(key(parent, name), id); }

    void remove(int parent, const std::string& name, int id) {
        auto range = m_map.equal_range(key(parent, name));
        for (auto it = range.first; it != range.second; ++it) {
            if (it->second == id) {
                m_map.erase(it);
                return;
            }
        }
    }

    template <class Match> int find(int parent, const std::string& name, Match&& matches) const {
        auto range = m_map.equal_range(key(parent, name));
        for (auto it = range.first; it != range.second; ++it)
            if (matches(it->second)) return it->second;
        return -1;
    }

    // Where the search for a free numbered name under a parent should start.
    int& suffixHint(int parent, const std::string& base) { return m_hints[key(parent, base)]; }

    void clear() {
        m_map.clear();
        m_hints.clear();
    }

private:
    std::unordered_multimap<std::uint64_t, int> m_map;
    std::unordered_map<std::uint64_t, int> m_hints;
};

}  // namespace db

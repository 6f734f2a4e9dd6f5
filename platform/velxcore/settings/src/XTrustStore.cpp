#include "XTrustStore.h"

#include <algorithm>
#include <cctype>

namespace VelX {

namespace {

constexpr std::size_t HashLength = 64;

std::string lowercase(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// The path part of an entry equals the path (paths may hold '|': the hash follows the last one).
bool isEntryOf(const std::string& entry, const std::string& path) {
    const std::size_t bar = entry.rfind('|');
    return bar != std::string::npos && bar == path.size() && entry.compare(0, bar, path) == 0;
}

}  // namespace

bool XTrustStore::IsHexHash(const std::string& hash) {
    return hash.size() == HashLength && std::all_of(hash.begin(), hash.end(), [](char c) {
               return std::isxdigit(static_cast<unsigned char>(c)) != 0;
           });
}

bool XTrustStore::IsEntry(const std::string& entry) {
    const std::size_t bar = entry.rfind('|');
    return bar != std::string::npos && bar != 0 && IsHexHash(entry.substr(bar + 1));
}

bool XTrustStore::Contains(const db::Value& entries, const std::string& path, const std::string& hash) {
    const std::string wanted = lowercase(hash);
    if (const db::ValueList* list = entries.tryGet<db::ValueList>())
        for (const db::Value& e : *list) {
            const std::string& text = e.asString();
            if (isEntryOf(text, path) && lowercase(text.substr(path.size() + 1)) == wanted) return true;
        }
    return false;
}

db::ValueList XTrustStore::With(const db::Value& entries, const std::string& path, const std::string& hash) {
    db::ValueList out = Without(entries, path);
    out.emplace_back(path + "|" + lowercase(hash));
    return out;
}

db::ValueList XTrustStore::Without(const db::Value& entries, const std::string& path) {
    db::ValueList out;
    if (const db::ValueList* list = entries.tryGet<db::ValueList>())
        for (const db::Value& e : *list)
            if (!isEntryOf(e.asString(), path)) out.push_back(e);
    return out;
}

}  // namespace VelX

#pragma once

#include <veldatabase/Value.h>

#include <string>

namespace VelX {

// The list of trusted scene scripts as the settings keep it: one "file-path|sha256-hex" entry a
// file, the hash over the scripts' text as they were trusted. Hashes compare without regard to case.
class XTrustStore {
public:
    static bool IsHexHash(const std::string& hash);  // 64 hexadecimal digits
    // Whether the text is a well-formed entry.
    static bool IsEntry(const std::string& entry);
    static bool Contains(const db::Value& entries, const std::string& path, const std::string& hash);
    // The entries with this path trusted for this hash alone.
    static db::ValueList With(const db::Value& entries, const std::string& path, const std::string& hash);
    // The entries without those of this path.
    static db::ValueList Without(const db::Value& entries, const std::string& path);
};

}  // namespace VelX

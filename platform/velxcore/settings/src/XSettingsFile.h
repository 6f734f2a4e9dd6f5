#pragma once

#include <veldatabase/AttrKey.h>
#include <veldatabase/Value.h>

#include <string>
#include <utility>
#include <vector>

namespace db {
class Database;
struct AttributeDef;
}

namespace VelX {

// The settings file: the application settings object and the default scene settings as JSON,
//   {"format": "velx-settings", "version": 1, "application": {...}, "scene": {...}}
// each attribute by name in the values' shared JSON form. Reading checks everything, so that a
// damaged file is refused whole; settings this version does not know are ignored and listed.
class XSettingsFile {
public:
    using Values = std::vector<std::pair<db::AttrKey, db::Value>>;
    static constexpr int FormatVersion = 1;
    static constexpr int FirstOwnIndex = 8;  // the attributes every type shares come first

    // Attributes the file holds: the type's own, stored, of a kind the file can write.
    static bool IsStored(const db::AttributeDef& a, int index);

    static std::string Write(const db::Database& database, int applicationId, int sceneId);
    // False, with the place and the problem, when the text is not a settings file this version
    // can use (then `values` is incomplete and must not be applied).
    static bool Read(const db::Database& database, int applicationId, int sceneId, const std::string& text,
                     Values& values, std::vector<std::string>& ignored, std::string& problem);

    static bool ReadFile(const std::string& path, std::string& text, std::string& problem);
    // Moves a damaged file aside as <path>.damaged-<timestamp>; "" when that fails.
    static std::string KeepDamaged(const std::string& path);
};

}  // namespace VelX

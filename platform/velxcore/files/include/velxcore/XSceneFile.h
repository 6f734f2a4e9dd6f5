#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace db {
class Database;
}

namespace VelX {

// Scene files: versioned, human-readable JSON. Attributes are written in the order of their type
// and only where they differ from the type's default; loading fills in the defaults. Saving writes
// a temporary file, flushes it to disk and renames it over the old one, so a crash leaves the old
// or the new file, never a broken one.
class XSceneFile {
public:
    // Version 2 writes arrays of compound numbers (animation keys) in columns, one list per field;
    // version 1 wrote one object per element. Both are read, in either layout.
    static constexpr int FormatVersion = 2;
    static constexpr int OldestFormatVersion = 1;

    // What a file may ask for. Each is far beyond a production scene and keeps a stranger's file
    // from taking the machine's memory, time or stack; a file beyond one is refused with a message
    // that names the place.
    static constexpr std::size_t MaxFileBytes = std::size_t(1) << 30;     // 1 GiB of text
    static constexpr std::size_t MaxObjects = 10'000'000;
    static constexpr int MaxDepth = 2'000;                                // levels of parents
    static constexpr int MaxCustomAttributes = 1'000;                     // on one object
    static constexpr std::size_t MaxStringBytes = std::size_t(16) << 20;  // 16 MiB, names and keys too
    static constexpr std::size_t MaxArrayElements = 10'000'000;           // in any one list
    static constexpr std::size_t MaxObjectKeys = 10'000;                  // in any one JSON object
    static constexpr int MaxNesting = 64;                                 // lists and objects inside each other

    // Told how a load goes, in three phases: "Reading" (bytes of the file), "Parsing" (objects
    // read so far; the total is not known yet, 0) and "Building" (objects made of the total).
    using Progress = std::function<void(const char* phase, std::size_t done, std::size_t total)>;

    // The scene as JSON text (also used to compare two scenes byte for byte).
    static std::string toJson(const db::Database& database);
    static bool save(const db::Database& database, const std::string& fileName, std::string& error);
    // Validates the whole text and builds the scene aside; only a valid scene replaces the
    // database's contents. Observers get no change round for it: the caller announces the load.
    static bool loadJson(db::Database& database, const std::string& text, const std::string& fileName,
                         std::string& error, const Progress& progress = nullptr);
    static bool load(db::Database& database, const std::string& fileName, std::string& error,
                     const Progress& progress = nullptr);
};

}  // namespace VelX

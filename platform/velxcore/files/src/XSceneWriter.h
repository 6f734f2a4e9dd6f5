#pragma once

#include <string>

namespace db {
class Database;
}

namespace VelX {

// Writes a scene database as scene-file text. The text is appended piece by piece: no document is
// built. Objects (depth first, children in order), attributes (in the order of their type, only
// where they differ from a new object's) and connections (by destination) always come in the same
// order, so equal scenes give equal text.
class XSceneWriter {
public:
    static std::string write(const db::Database& database);
};

}  // namespace VelX

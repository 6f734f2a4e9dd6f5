#pragma once

#include "XSceneFileContents.h"

#include <velxcore/XSceneFile.h>

namespace db {
class Database;
}

namespace VelX {

// Builds a read scene file into a database: objects in creation order with their custom
// attributes and values, a settings object of every type the file lacks, then the connections and
// the selection.
class XSceneBuilder {
public:
    // One change block that does not become an undo step. Throws XJsonValueCodec::Error when the
    // database refuses something the file asks for. Each object's values are let go once it is
    // built, so the scene is not held twice.
    static void build(db::Database& target, FileScene& scene, const XSceneFile::Progress& progress);
};

}  // namespace VelX

#pragma once

#include "XSceneFileContents.h"

namespace db {
class Database;
}

namespace VelX {

// Reads and checks one element of a scene file's "objects": its id, type, name and parent id, its
// custom attributes and the values that differ from its type's defaults.
class XSceneObjectReader {
public:
    // Throws XJsonValueCodec::Error naming the place ("objects[3].attributes.translateX"). Arrays
    // the reader streamed are taken from `streamed`.
    static FileObject read(const XJsonValueCodec::Json& j, int index, const db::Database& types, StreamedArrays& streamed);
};

}  // namespace VelX

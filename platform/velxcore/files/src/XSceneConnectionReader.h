#pragma once

#include "XSceneFileContents.h"

namespace VelX {

// Reads a scene file's connections and selection, which name objects by path and attributes by
// their path on the object ("Hero/Hips.translateX", "Rig.targets[2]"), once the objects are read
// and linked.
class XSceneConnectionReader {
public:
    // Each destination takes one input; an endpoint must name an object of the file (or the scene
    // root) and an attribute, element or field it has. Throws XJsonValueCodec::Error.
    static void readConnections(FileScene& scene, const XJsonValueCodec::Json& j, const db::NodeDef& rootDef);
    static void readSelection(FileScene& scene, const XJsonValueCodec::Json& j);
};

}  // namespace VelX

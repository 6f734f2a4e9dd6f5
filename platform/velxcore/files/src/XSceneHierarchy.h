#pragma once

#include "XSceneFileContents.h"

namespace VelX {

// The hierarchy a scene file describes by ids: resolves each parent, refuses duplicate ids,
// dangling parents, cycles, hierarchies deeper than XSceneFile::MaxDepth, misplaced settings
// objects and clashing sibling names, and orders the objects for creation (parents first, siblings
// in file order). Time and memory grow with the number of objects, whatever the shape.
class XSceneHierarchy {
public:
    // Fills each object's parent and the scene's creation order. Throws XJsonValueCodec::Error.
    static void link(FileScene& scene);
};

}  // namespace VelX

#pragma once

#include "XSceneFileContents.h"

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace VelX {

class XScenePaths;

// Resolves a scene file's connections and selection, which name objects by path and attributes by
// their path on the object ("Hero/Hips.translateX", "Rig.targets[2]"), once the objects are read
// and linked. Each endpoint costs about the length of its text.
class XSceneConnectionReader {
public:
    XSceneConnectionReader(FileScene& scene, const XScenePaths& paths, const db::NodeDef& rootDef);

    // Each destination takes one input; an endpoint must name an object of the file (or the scene
    // root) and an attribute, element or field it has. Throws XJsonValueCodec::Error.
    void resolveConnections();
    void resolveSelection();

private:
    FileEndpoint readEndpoint(const std::string& text, const std::string& place);
    int customSlot(int object, std::string_view name) const;
    int arraySize(int object, int slot) const;

    struct ObjectName {
        int object;
        std::string_view name;
        bool operator==(const ObjectName& o) const { return object == o.object && name == o.name; }
    };
    struct ObjectNameHash {
        std::size_t operator()(const ObjectName& k) const noexcept;
    };

    FileScene& m_scene;
    const XScenePaths& m_paths;
    const db::NodeDef& m_rootDef;
    std::unordered_map<ObjectName, int, ObjectNameHash> m_customSlots;       // custom attributes by name
    std::unordered_map<std::uint64_t, int> m_arraySizes;                     // (object, slot) -> elements
    std::vector<std::uint64_t> m_prefixes;
};

}  // namespace VelX

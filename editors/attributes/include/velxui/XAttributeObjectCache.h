#pragma once

#include <velxui/XObjectCacheRecord.h>

#include <velutils/Vector.h>
#include <velxcore/XObject.h>

#include <vector>

namespace VelX {
class XScene;
}

namespace VelXUI {

// The objects the attribute editor shows, grouped by type in the order in which the first object of
// each type was added. What is gathered depends on the display mode: the selection (with the
// transforms of shapes, the solvers of IK handles, the constraints that plain transforms drive and
// the objects that the script relates to each), the active tool with the selection's controllers,
// or the active command.
class XAttributeObjectCache {
public:
    enum Mode { NoMode = -1, SelectionMode = 0, ToolMode = 1, CommandMode = 2 };

    // Empties the cache and gathers again; NoMode (an unreadable setting) leaves it empty. Any other
    // value than the selection and tool modes shows the active command.
    void load(VelX::XScene& scene, int mode);
    void clear();
    // Adds one object to its type's record; invalid objects and the scene's own object are ignored.
    void add(const VelX::XObject& object);

    const std::vector<XObjectCacheRecord>& records() const { return m_records; }
    const Velutils::Vector<VelX::XObject>& objects() const { return m_objects; }

private:
    void addRelatedObjects(const VelX::XObject& object);
    static bool hasScriptFunction(const char* function);

    VelX::XScene* m_scene = nullptr;
    std::vector<XObjectCacheRecord> m_records;
    Velutils::Vector<VelX::XObject> m_objects;
};

}  // namespace VelXUI

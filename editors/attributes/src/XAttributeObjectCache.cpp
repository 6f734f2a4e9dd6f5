#include <velxui/XAttributeEditor.h>
#include <velxui/XAttributeObjectCache.h>

#include <velxcore/XApplication.h>
#include <velxcore/XLuaScript.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XScene.h>


#include <algorithm>

namespace VelXUI {

namespace {
// Tool indices that have a built-in tool object in every scene.
constexpr int FirstToolIndex = 3;
constexpr int LastToolIndex = 6;
}  // namespace

void XAttributeObjectCache::clear() {
    m_records.clear();
    m_objects.clear();
}

void XAttributeObjectCache::load(VelX::XScene& scene, int mode) {
    m_scene = &scene;
    clear();
    if (mode == NoMode) return;
    Velutils::Vector<VelX::XObject> selection;
    scene.Selection().Objects(selection);
    if (mode == SelectionMode) {
        for (const VelX::XObject& object : selection) {
            VelX::XObject transform;
            const bool isShape = object.SupportsType(VelX::XShape::TypeID);
            if (isShape) transform = VelX::XShape(object).Transform();
            else if (object.SupportsType(VelX::XTransform::TypeID)) transform = object;
            // A shape shows after the transform it hangs under.
            if (isShape) add(transform);
            add(object);
            if (!transform.IsValid()) continue;
            if (transform.IsType(VelX::XIKHandle::TypeID)) {
                add(VelX::XIKHandle(transform).Solver());
            } else if (transform.IsType(VelX::XTransform::TypeID)) {
                // The physics constraint that a plain transform drives through its world matrix.
                add(VelX::XTransform(transform).WorldMatrix().OutputObject(0));
            }
        }
        // Without the script function the pass over a large selection is skipped altogether.
        if (hasScriptFunction(XAttributeEditor::RelatedObjectsTable))
            for (const VelX::XObject& object : selection) addRelatedObjects(object);
    } else if (mode == ToolMode) {
        const int tool = scene.ActiveToolIndex();
        if (tool >= FirstToolIndex && tool <= LastToolIndex) add(scene.ToolObject(tool));
        std::vector<VelX::XObject> controllers;
        for (const VelX::XObject& object : selection) {
            if (!object.IsValid()) continue;
            const VelX::XObjectController* controller = scene.FindObjectController(object);
            if (!controller || !controller->IsValid()) continue;
            const VelX::XObject handle(*controller);
            if (std::find(controllers.begin(), controllers.end(), handle) == controllers.end())
                controllers.push_back(handle);
        }
        for (const VelX::XObject& controller : controllers) add(controller);
    } else {
        add(VelX::XApplication::Instance().ActiveCommand());
    }
}

void XAttributeObjectCache::add(const VelX::XObject& object) {
    if (!object.IsValid()) return;
    if (m_scene && object == m_scene->RootObject()) return;  // the scene's own object is never shown
    const std::wstring type = object.ObjectType();
    auto record = std::find_if(m_records.begin(), m_records.end(),
                               [&](const XObjectCacheRecord& r) { return r.objectType == type; });
    if (record == m_records.end()) {
        m_records.push_back(XObjectCacheRecord{type, object.ObjectDisplayType(), {}});
        record = m_records.end() - 1;
    }
    record->objects.push_back(object);
    m_objects.push_back(object);
}

bool XAttributeObjectCache::hasScriptFunction(const char* function) {
    return VelX::XApplication::Instance().LuaScript().HasFunction(XAttributeEditor::AttributeEditorTable, function);
}

void XAttributeObjectCache::addRelatedObjects(const VelX::XObject& object) {
    if (!object.IsValid() || !m_scene) return;
    // The script gets the type and the id, and the path for scripts that work with paths; it may
    // answer ids or paths.
    const LuaPlus::LuaObject related = VelX::XApplication::Instance().LuaScript().CallFunction(
        XAttributeEditor::AttributeEditorTable, XAttributeEditor::RelatedObjectsTable, object.ObjectType(),
        object.ObjectID(), object.Path());
    if (!related.IsTable()) return;
    VelX::XDatabase& database = m_scene->Database();
    const int count = related.GetTableCount();
    for (int i = 1; i <= count; ++i) {
        const LuaPlus::LuaObject element = related[i];
        if (element.IsInteger()) add(database.Object(static_cast<int>(element.GetInteger())));
        else if (element.IsString()) add(database.Object(element.GetWString()));
    }
}

}  // namespace VelXUI

#pragma once

#include <velxcore/XObject.h>

#include <string>
#include <vector>

namespace VelX {

class XScene;

// Building and reorganising a scene the way a user does it from the menus: creating objects of any
// creatable type under the selection, duplicating the selection with its connections and animation,
// parenting and unparenting. Each call is one undo step with a name and selects what it made.
class XSceneEditing {
public:
    struct CreatableType {
        std::wstring typeId;
        std::wstring displayName;
    };
    // The types a user may create: not abstract, not settings, not groups (the group editors make
    // those), in display-name order.
    static std::vector<CreatableType> CreatableTypes(XScene& scene);
    // A new object of the type under the last selected object (the scene root when nothing that can
    // hold children is selected); invalid for a type that cannot be created.
    static XObject CreateUnderSelection(XScene& scene, const std::wstring& typeId);
    // Copies of the selected objects (the topmost ones, with everything below them) beside the
    // originals: their values, the connections among them (remapped), their inputs from elsewhere,
    // and their animation curves (copied). Returns the copies, in selection order.
    static std::vector<XObject> DuplicateSelection(XScene& scene);
    // Copy keeps what Paste brings: the selected branches as they are now (later edits or deleting
    // the originals change nothing), with their animation and the inputs they take from elsewhere.
    // Paste puts a copy under the last selected object (the root when none can hold children),
    // connects those inputs again where their sources still exist, and selects it.
    static bool CopySelection(XScene& scene);
    static bool CanPaste();
    static std::vector<XObject> Paste(XScene& scene);
    // Every selected object but the last goes under the last selected one; false when fewer than two
    // are selected or the scene refused every move (a cycle, say).
    static bool ParentSelection(XScene& scene);
    // The selected objects go to the scene root.
    static bool UnparentSelection(XScene& scene);
};

}  // namespace VelX

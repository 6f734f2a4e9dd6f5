#pragma once

#include <velxcore/XAttribute.h>
#include <velxcore/XColour.h>
#include <velxcore/XSceneObject.h>

#include <string>

namespace VelX {

class XObjectGroupPolicy;

// A group of scene objects, a folder of groups or a separator between groups. Every scene has one
// root group of each kind (selection, display, collision): a hidden built-in object that holds the
// folders, groups and separators of that kind as its descendants. Only folders and root groups
// hold child groups; only plain groups hold objects. Members are object references, so a deleted
// member drops out (and comes back when the deletion is undone).
//
// Each edit is one undo step. Membership edits need the group to be editable through its
// ancestors and a policy of the group's kind; selecting the members needs it to be selectable.
class XObjectGroup : public XSceneObject {
public:
    static const std::wstring TypeID;
    XObjectGroup() = default;
    explicit XObjectGroup(const XObject& object) : XSceneObject(object, TypeID) {}

    // The group's own settings.
    XAttribute Label() const;
    XAttribute IsActive() const;
    XAttribute IsEditable() const;
    XAttribute IsExpanded() const;
    XAttribute IsFocused() const;
    XAttribute IsSelectable() const;
    XAttribute IsVisible() const;
    // The effective setting: this group's and every ancestor group's (the root group's included).
    bool IsActiveRecursive() const;
    bool IsEditableRecursive() const;
    bool IsSelectableRecursive() const;
    bool IsVisibleRecursive() const;
    bool IsFolder() const;     // folders and root groups
    bool IsSeparator() const;
    bool IsRootGroup() const;

    // Groups in the tree. Siblings and children are groups of the same kind under the same parent.
    XObjectGroup ChildGroup(int index) const;
    int ChildGroupCount() const;
    void DescendantGroups(Velutils::Vector<XObject>& out) const;  // depth first, in order
    void FocusGroups(Velutils::Vector<XObject>& out) const;       // descendants with the focused flag
    bool ClearFocusGroups();
    XObjectGroup ParentGroup() const;
    XObjectGroup RootGroup() const;
    XObjectGroup NextSibling() const;
    XObjectGroup PreviousSibling() const;
    bool MoveUp();
    bool MoveDown();
    // New last child of a folder or root group (invalid otherwise). An empty label names it after
    // the object.
    XObjectGroup CreateChildGroup(const std::wstring& label = {});
    XObjectGroup CreateChildFolder(const std::wstring& label = {});
    XObjectGroup CreateChildSeparator();

    // Members, in group order. The edits return true when the group changed.
    bool AddObjects(const Velutils::Vector<XObject>& objects, const XObjectGroupPolicy& policy);
    bool RemoveObjects(const Velutils::Vector<XObject>& objects, const XObjectGroupPolicy& policy);
    bool AddObjectsFromSelection(const XObjectGroupPolicy& policy);
    bool RemoveObjectsFromSelection(const XObjectGroupPolicy& policy);
    bool ClearObjects();
    // The scene selection becomes the members that still exist (for a folder: the members of its
    // selectable groups). False when the group cannot be selected.
    bool SelectObjects();
    void Objects(Velutils::Vector<XObject>& out) const;
    int ObjectCount() const;
    bool ContainsObject(const XObject& object) const;
    XColour GroupColour() const;
    bool SetGroupColour(const XColour& colour);

    // The groups whose type supports `groupType` that hold the object.
    static void GroupsContaining(const XObject& object, const std::wstring& groupType, Velutils::Vector<XObject>& out);
    // The scene's root group of a kind ("SelectionGroup", "DisplayGroup", "CollisionGroup").
    static XObjectGroup RootGroupOf(XDatabase& database, const std::wstring& groupType);
    // Whether `parent` may take `child`: groups go only into folders and root groups of their own
    // kind; other objects never go into groups.
    static bool CanParent(const XObject& child, const XObject& parent);

    // "SelectionGroup", "DisplayGroup" or "CollisionGroup" (the type itself for other group types).
    std::wstring GroupKind() const;

protected:
    XObjectGroup(const XObject& object, const std::wstring& requiredType) : XSceneObject(object, requiredType) {}

private:
    bool flag(int index) const;
    bool recursiveFlag(int index) const;
    bool takesObjects(const XObjectGroupPolicy& policy) const;
    bool writeMembers(const Velutils::Vector<XObject>& members);
    bool move(int direction);
    XObjectGroup sibling(int direction) const;
    XObjectGroup createChild(const std::wstring& name, const std::wstring& label, int flagIndex);
};

}  // namespace VelX

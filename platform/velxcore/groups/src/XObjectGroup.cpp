#include <velxcore/XCollisionGroup.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XDisplayGroup.h>
#include <velxcore/XObjectGroup.h>
#include <velxcore/XObjectGroupPolicy.h>
#include <velxcore/XSelection.h>
#include <velxcore/XSelectionGroup.h>

#include <veldatabase/Database.h>
#include <velutils/StringUtils.h>

#include <algorithm>
#include <cmath>
#include <unordered_set>

namespace VelX {

using Velutils::StringUtils;

const std::wstring XObjectGroup::TypeID = L"ObjectGroup";

namespace {
// Attribute indices of every group type.
constexpr int LabelIndex = 8, ActiveIndex = 9, EditableIndex = 10, ExpandedIndex = 11, FocusedIndex = 12,
              SelectableIndex = 13, VisibleIndex = 14, FolderIndex = 15, SeparatorIndex = 16, ColourIndex = 17,
              ObjectsIndex = 18;

int objectsSlot(const db::Node& n) { return n.def().topLevelSlot(ObjectsIndex); }
}  // namespace

XAttribute XObjectGroup::Label() const { return Attribute(LabelIndex); }
XAttribute XObjectGroup::IsActive() const { return Attribute(ActiveIndex); }
XAttribute XObjectGroup::IsEditable() const { return Attribute(EditableIndex); }
XAttribute XObjectGroup::IsExpanded() const { return Attribute(ExpandedIndex); }
XAttribute XObjectGroup::IsFocused() const { return Attribute(FocusedIndex); }
XAttribute XObjectGroup::IsSelectable() const { return Attribute(SelectableIndex); }
XAttribute XObjectGroup::IsVisible() const { return Attribute(VisibleIndex); }

bool XObjectGroup::flag(int index) const {
    XAttribute a = Attribute(index);
    return a.IsValid() && a.Boolean();
}

bool XObjectGroup::recursiveFlag(int index) const {
    if (!IsValid()) return false;
    for (XObjectGroup g = *this; g.IsValid(); g = g.ParentGroup())
        if (!g.flag(index)) return false;
    return true;
}

bool XObjectGroup::IsActiveRecursive() const { return recursiveFlag(ActiveIndex); }
bool XObjectGroup::IsEditableRecursive() const { return recursiveFlag(EditableIndex); }
bool XObjectGroup::IsSelectableRecursive() const { return recursiveFlag(SelectableIndex); }
bool XObjectGroup::IsVisibleRecursive() const { return recursiveFlag(VisibleIndex); }
bool XObjectGroup::IsFolder() const { return IsRootGroup() || flag(FolderIndex); }
bool XObjectGroup::IsSeparator() const { return !IsRootGroup() && flag(SeparatorIndex); }

bool XObjectGroup::IsRootGroup() const {
    const db::Node* n = getNode();
    return n && n->def().hasFlag(db::SettingsType);
}

std::wstring XObjectGroup::GroupKind() const {
    if (!IsValid()) return {};
    for (const std::wstring* kind : {&XSelectionGroup::TypeID, &XDisplayGroup::TypeID, &XCollisionGroup::TypeID})
        if (SupportsType(*kind)) return *kind;
    return ObjectType();
}

// ---------------------------------------------------------------- the tree of groups

XObjectGroup XObjectGroup::ParentGroup() const {
    if (!IsValid() || IsRootGroup()) return {};
    XObjectGroup parent(Parent());
    return parent.IsValid() && parent.GroupKind() == GroupKind() ? parent : XObjectGroup();
}

XObjectGroup XObjectGroup::ChildGroup(int index) const {
    if (index < 0) return {};
    const std::wstring kind = GroupKind();
    for (int i = 0, n = ChildCount(); i < n; ++i) {
        XObjectGroup child(Child(i));
        if (child.IsValid() && child.GroupKind() == kind && index-- == 0) return child;
    }
    return {};
}

int XObjectGroup::ChildGroupCount() const {
    const std::wstring kind = GroupKind();
    int count = 0;
    for (int i = 0, n = ChildCount(); i < n; ++i) {
        XObjectGroup child(Child(i));
        if (child.IsValid() && child.GroupKind() == kind) ++count;
    }
    return count;
}

void XObjectGroup::DescendantGroups(Velutils::Vector<XObject>& out) const {
    if (!IsValid()) return;
    const std::wstring kind = GroupKind();
    // Depth first without recursion: nesting comes from files and may be deep.
    std::vector<XObject> stack{*this};
    while (!stack.empty()) {
        XObject group = stack.back();
        stack.pop_back();
        if (group != *this) out.push_back(group);
        for (int i = group.ChildCount() - 1; i >= 0; --i) {
            XObjectGroup child(group.Child(i));
            if (child.IsValid() && child.GroupKind() == kind) stack.push_back(child);
        }
    }
}

void XObjectGroup::FocusGroups(Velutils::Vector<XObject>& out) const {
    Velutils::Vector<XObject> all;
    DescendantGroups(all);
    for (const XObject& g : all)
        if (XObjectGroup(g).flag(FocusedIndex)) out.push_back(g);
}

bool XObjectGroup::ClearFocusGroups() {
    Velutils::Vector<XObject> focused;
    FocusGroups(focused);
    if (focused.empty()) return false;
    m_database->BeginChangeBlock();
    for (const XObject& g : focused) XObjectGroup(g).IsFocused().SetBoolean(false);
    m_database->EndChangeBlock(L"Clear Focus Groups");
    return true;
}

XObjectGroup XObjectGroup::RootGroup() const {
    if (!IsValid()) return {};
    XObjectGroup top = *this;
    for (XObjectGroup up = ParentGroup(); up.IsValid(); up = up.ParentGroup()) top = up;
    return top.IsRootGroup() ? top : RootGroupOf(*m_database, GroupKind());
}

XObjectGroup XObjectGroup::RootGroupOf(XDatabase& database, const std::wstring& groupType) {
    const db::Database& d = database.db();
    const std::string kind = StringUtils::toUtf8(groupType);
    for (const db::NodeDef* def : d.types()) {
        if (!def->hasFlag(db::SettingsType) || !def->isA(kind) || !def->isA("ObjectGroup")) continue;
        int id = d.findChild(db::Database::RootId, def->typeName());
        if (id >= 0 && &d.node(id)->def() == def) return XObjectGroup(XObject(&database, id));
    }
    return {};
}

XObjectGroup XObjectGroup::sibling(int direction) const {
    XObjectGroup parent = ParentGroup();
    if (!parent.IsValid()) return {};
    const std::wstring kind = GroupKind();
    const int count = parent.ChildCount();
    int i = 0;
    while (i < count && parent.Child(i) != *this) ++i;
    for (i += direction; i >= 0 && i < count; i += direction) {
        XObjectGroup g(parent.Child(i));
        if (g.IsValid() && g.GroupKind() == kind) return g;
    }
    return {};
}

XObjectGroup XObjectGroup::NextSibling() const { return sibling(1); }
XObjectGroup XObjectGroup::PreviousSibling() const { return sibling(-1); }

bool XObjectGroup::move(int direction) {
    XObjectGroup other = sibling(direction);
    if (!other.IsValid()) return false;
    const db::Node* parent = m_database->db().node(getNode()->parent());
    const auto& kids = parent->children();
    // Taking this group out leaves the previous sibling's index as is and shifts the next one down
    // by one, so the other group's index is the right place in both directions.
    int target = static_cast<int>(std::find(kids.begin(), kids.end(), other.ObjectID()) - kids.begin());
    m_database->BeginChangeBlock();
    bool done = m_database->db().setParent(m_id, parent->id(), target);
    m_database->EndChangeBlock(direction < 0 ? L"Move Group Up" : L"Move Group Down");
    return done;
}

bool XObjectGroup::MoveUp() { return move(-1); }
bool XObjectGroup::MoveDown() { return move(1); }

XObjectGroup XObjectGroup::createChild(const std::wstring& name, const std::wstring& label, int flagIndex) {
    if (!IsValid() || !IsFolder()) return {};
    const std::wstring kind = GroupKind();
    const db::NodeDef* def = m_database->db().findType(StringUtils::toUtf8(kind));
    if (!def || def->hasFlag(db::Abstract) || def->hasFlag(db::SettingsType)) return {};
    m_database->BeginChangeBlock();
    XObjectGroup child(m_database->CreateObject(kind, label.empty() ? name : label, *this));
    if (child.IsValid()) {
        if (flagIndex == SeparatorIndex) child.Label().SetString(label);
        else child.Label().SetString(label.empty() ? child.DisplayName() : label);
        if (flagIndex >= 0) child.Attribute(flagIndex).SetBoolean(true);
    }
    m_database->EndChangeBlock(flagIndex == FolderIndex      ? L"Create Group Folder"
                               : flagIndex == SeparatorIndex ? L"Create Group Separator"
                                                             : L"Create Group");
    return child;
}

XObjectGroup XObjectGroup::CreateChildGroup(const std::wstring& label) { return createChild(L"Group", label, -1); }
XObjectGroup XObjectGroup::CreateChildFolder(const std::wstring& label) {
    return createChild(L"Folder", label, FolderIndex);
}
XObjectGroup XObjectGroup::CreateChildSeparator() { return createChild(L"Separator", {}, SeparatorIndex); }

bool XObjectGroup::CanParent(const XObject& child, const XObject& parent) {
    XObjectGroup childGroup(child), parentGroup(parent);
    if (!childGroup.IsValid()) return !parentGroup.IsValid();
    return parentGroup.IsValid() && parentGroup.IsFolder() && parentGroup.GroupKind() == childGroup.GroupKind();
}

// ---------------------------------------------------------------- members

void XObjectGroup::Objects(Velutils::Vector<XObject>& out) const {
    XAttribute objects = Attribute(ObjectsIndex);
    for (int i = 0, n = objects.ArraySize(); i < n; ++i) {
        XObject member = objects.Attribute(i).ObjectRef();
        if (member.IsValid()) out.push_back(member);
    }
}

int XObjectGroup::ObjectCount() const {
    Velutils::Vector<XObject> members;
    Objects(members);
    return static_cast<int>(members.size());
}

bool XObjectGroup::ContainsObject(const XObject& object) const {
    if (!IsValid() || !object.IsValid() || object.DatabasePointer() != m_database) return false;
    std::vector<db::AttrKey> refs;
    m_database->db().outputs(db::AttrKey{object.ObjectID(), 0}, refs);
    const int slot = objectsSlot(*getNode());
    return std::any_of(refs.begin(), refs.end(), [&](const db::AttrKey& k) { return k.node == m_id && k.slot == slot; });
}

void XObjectGroup::GroupsContaining(const XObject& object, const std::wstring& groupType, Velutils::Vector<XObject>& out) {
    if (!object.IsValid()) return;
    const db::Database& d = object.Database().db();
    const std::string type = StringUtils::toUtf8(groupType);
    std::vector<db::AttrKey> refs;
    d.outputs(db::AttrKey{object.ObjectID(), 0}, refs);
    std::unordered_set<int> seen;
    for (const db::AttrKey& k : refs) {
        const db::Node* n = d.node(k.node);
        if (!n || !n->def().isA("ObjectGroup") || !n->def().isA(type) || k.slot != objectsSlot(*n)) continue;
        if (seen.insert(k.node).second) out.emplace_back(object.DatabasePointer(), k.node);
    }
}

bool XObjectGroup::takesObjects(const XObjectGroupPolicy& policy) const {
    return IsValid() && policy.Concerns(*this) && !IsFolder() && !IsSeparator() && IsEditableRecursive();
}

bool XObjectGroup::writeMembers(const Velutils::Vector<XObject>& members) {
    XAttribute objects = Attribute(ObjectsIndex);
    if (!objects.SetArraySize(static_cast<int>(members.size()))) return false;
    for (std::size_t i = 0; i < members.size(); ++i) objects.Attribute(static_cast<int>(i)).SetObjectRef(members[i]);
    return true;
}

bool XObjectGroup::AddObjects(const Velutils::Vector<XObject>& objects, const XObjectGroupPolicy& policy) {
    if (!takesObjects(policy)) return false;
    Velutils::Vector<XObject> members;
    Objects(members);
    std::unordered_set<int> present;
    for (const XObject& m : members) present.insert(m.ObjectID());
    Velutils::Vector<XObject> added;
    std::vector<XObjectGroup> leaving;  // groups of the kind that give up a member to this one
    for (const XObject& o : objects) {
        if (o.DatabasePointer() != m_database || !policy.AcceptsObject(o) || present.count(o.ObjectID())) continue;
        if (policy.IsExclusive()) {
            Velutils::Vector<XObject> holders;
            GroupsContaining(o, policy.GroupTypeID(), holders);
            // A member of a locked group stays where it is.
            if (std::any_of(holders.begin(), holders.end(), [](const XObject& h) { return !XObjectGroup(h).IsEditableRecursive(); }))
                continue;
            for (const XObject& h : holders) leaving.emplace_back(h);
        }
        present.insert(o.ObjectID());
        added.push_back(o);
    }
    if (added.empty()) return false;
    m_database->BeginChangeBlock();
    std::unordered_set<int> addedIds;
    for (const XObject& o : added) addedIds.insert(o.ObjectID());
    for (XObjectGroup& other : leaving) {
        Velutils::Vector<XObject> kept, before;
        other.Objects(before);
        for (const XObject& m : before)
            if (!addedIds.count(m.ObjectID())) kept.push_back(m);
        if (kept.size() != before.size()) other.writeMembers(kept);
    }
    members.insert(members.end(), added.begin(), added.end());
    writeMembers(members);
    m_database->EndChangeBlock(L"Add To Group");
    return true;
}

bool XObjectGroup::RemoveObjects(const Velutils::Vector<XObject>& objects, const XObjectGroupPolicy& policy) {
    if (!takesObjects(policy)) return false;
    std::unordered_set<int> gone;
    for (const XObject& o : objects)
        if (o.DatabasePointer() == m_database && o.IsValid()) gone.insert(o.ObjectID());
    Velutils::Vector<XObject> members, kept;
    Objects(members);
    for (const XObject& m : members)
        if (!gone.count(m.ObjectID())) kept.push_back(m);
    if (kept.size() == members.size()) return false;
    m_database->BeginChangeBlock();
    writeMembers(kept);
    m_database->EndChangeBlock(L"Remove From Group");
    return true;
}

bool XObjectGroup::AddObjectsFromSelection(const XObjectGroupPolicy& policy) {
    if (!IsValid()) return false;
    Velutils::Vector<XObject> selected;
    XSelection(*m_database).Objects(selected);
    return AddObjects(selected, policy);
}

bool XObjectGroup::RemoveObjectsFromSelection(const XObjectGroupPolicy& policy) {
    if (!IsValid()) return false;
    Velutils::Vector<XObject> selected;
    XSelection(*m_database).Objects(selected);
    return RemoveObjects(selected, policy);
}

bool XObjectGroup::ClearObjects() {
    if (!IsValid() || !IsEditableRecursive()) return false;
    XAttribute objects = Attribute(ObjectsIndex);
    if (objects.ArraySize() == 0) return false;
    m_database->BeginChangeBlock();
    objects.SetArraySize(0);
    m_database->EndChangeBlock(L"Clear Group");
    return true;
}

bool XObjectGroup::SelectObjects() {
    if (!IsValid() || IsSeparator() || !IsSelectableRecursive()) return false;
    Velutils::Vector<XObject> members;
    if (IsFolder()) {
        Velutils::Vector<XObject> groups;
        DescendantGroups(groups);
        for (const XObject& g : groups) {
            XObjectGroup group(g);
            if (!group.IsFolder() && !group.IsSeparator() && group.IsSelectableRecursive()) group.Objects(members);
        }
    } else {
        Objects(members);
    }
    std::vector<int> ids;
    std::unordered_set<int> seen;
    for (const XObject& m : members)
        if (seen.insert(m.ObjectID()).second) ids.push_back(m.ObjectID());
    m_database->BeginChangeBlock();
    m_database->db().setSelection(ids);
    m_database->EndChangeBlock(L"Select Group Objects");
    return true;
}

XColour XObjectGroup::GroupColour() const {
    XAttribute c = Attribute(ColourIndex);
    if (!c.IsValid()) return {};
    return XColour(c.Attribute(0).Float(), c.Attribute(1).Float(), c.Attribute(2).Float(), 1.0f);
}

bool XObjectGroup::SetGroupColour(const XColour& colour) {
    XAttribute c = Attribute(ColourIndex);
    const float rgb[3] = {colour.r, colour.g, colour.b};
    if (!c.IsValid() || !std::all_of(rgb, rgb + 3, [](float v) { return std::isfinite(v); })) return false;
    m_database->BeginChangeBlock();
    for (int i = 0; i < 3; ++i) c.Attribute(i).SetFloat(std::clamp(rgb[i], 0.0f, 1.0f));
    m_database->EndChangeBlock(L"Set Group Colour");
    return true;
}

}  // namespace VelX

#include <velxcore/XDatabase.h>
#include <velxcore/XMirrorJointsCommand.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XSelection.h>

#include <veldatabase/Node.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <unordered_set>
#include <utility>
#include <vector>

namespace VelX {

const std::wstring XMirrorJointsCommand::TypeID = L"MirrorJointsCommand";

namespace {
constexpr int AxisIndex = 10, SearchForIndex = 11, ReplaceWithIndex = 12;

// Copies the values the object stores itself: no computed values, arrays or object references.
void copyValues(const XObject& from, XObject& to) {
    for (int i = 1, n = from.getNode()->def().topLevelCount(); i < n; ++i) {
        XAttribute source = from.Attribute(i), target = to.Attribute(i);
        if (!source.IsValid() || !target.IsValid() || source.IsComputed() || source.IsArrayAttribute() ||
            source.IsObjectRef())
            continue;
        if (source.IsCompositeAttribute()) {
            for (int c = 0, count = source.AttributeCount(); c < count; ++c) target.Attribute(c).CopyValue(source.Attribute(c));
        } else {
            target.CopyValue(source);
        }
    }
}

// Mirroring across the plane normal to `axis` negates the translation along it and the rotations
// about the two other axes, whatever the rotation order.
void mirrorValues(XObject& joint, int axis) {
    XAttribute t = joint.Attribute(sg::Index::TranslateX + axis);
    t.SetFloat(-t.Float());
    for (const wchar_t* triple : {L"rotate", L"jointOrient", L"preferredAngle"}) {
        for (int c = 0; c < 3; ++c) {
            if (c == axis) continue;
            XAttribute r = joint.Attribute(std::wstring(triple) + static_cast<wchar_t>(L'X' + c));
            if (r.IsValid()) r.SetFloat(-r.Float());
        }
    }
}
}  // namespace

XAttribute XMirrorJointsCommand::Axis() const { return Attribute(AxisIndex); }
XAttribute XMirrorJointsCommand::SearchFor() const { return Attribute(SearchForIndex); }
XAttribute XMirrorJointsCommand::ReplaceWith() const { return Attribute(ReplaceWithIndex); }

std::wstring XMirrorJointsCommand::MirroredName(const std::wstring& name) const {
    const std::wstring search = SearchFor().String(), replace = ReplaceWith().String();
    if (search.empty()) return name;
    std::wstring out;
    std::size_t start = 0;
    for (std::size_t at = name.find(search); at != std::wstring::npos; at = name.find(search, start)) {
        out.append(name, start, at - start).append(replace);
        start = at + search.size();
    }
    return out.append(name, start, std::wstring::npos);
}

bool XMirrorJointsCommand::run() {
    if (!IsValid()) return false;
    const int axis = Axis().Enumeration();
    if (axis < 0 || axis > 2) return false;
    XDatabase& database = *m_database;

    // The selected joints whose ancestors are not selected head the hierarchies to copy.
    Velutils::Vector<XObject> selected, roots;
    XSelection(database).Objects(selected);
    std::unordered_set<int> selectedJoints;
    for (const XObject& o : selected)
        if (XJoint(o).IsValid()) selectedJoints.insert(o.ObjectID());
    for (const XObject& o : selected) {
        if (!selectedJoints.count(o.ObjectID())) continue;
        bool covered = false;
        for (XObject up = o.Parent(); up.IsValid() && !covered; up = up.Parent()) covered = selectedJoints.count(up.ObjectID()) != 0;
        if (!covered) roots.push_back(o);
    }
    if (roots.empty()) return false;

    Velutils::Vector<XObject> copies;
    for (const XObject& root : roots) {
        XObject top;
        std::vector<std::pair<XObject, XObject>> work{{root, root.Parent()}};  // (original, new parent)
        while (!work.empty()) {
            auto [original, parent] = work.back();
            work.pop_back();
            XObject copy = database.CreateObject(original.ObjectType(), MirroredName(original.Name()), parent);
            if (!copy.IsValid()) continue;
            copyValues(original, copy);
            mirrorValues(copy, axis);
            if (!top.IsValid()) top = copy;
            for (int i = original.ChildCount() - 1; i >= 0; --i) {
                XObject child = original.Child(i);
                if (XJoint(child).IsValid()) work.emplace_back(child, copy);
            }
        }
        if (top.IsValid()) copies.push_back(top);
    }
    if (copies.empty()) return false;
    XSelection(database).SelectObjects(copies);
    return true;
}

}  // namespace VelX


#include <velxcore/XDatabase.h>
#include <velxcore/XObjectGroup.h>
#include <velxcore/XObjectGroupPolicy.h>

#include <veldatabase/Database.h>

namespace VelX {

bool XObjectGroupPolicy::AcceptsObject(const XObject& object) const {
    const db::Node* n = object.getNode();
    if (!n || object.ObjectID() == db::Database::RootId || object.SupportsType(XObjectGroup::TypeID)) return false;
    // Built-in objects are settings types; whatever lives under one belongs to it.
    const db::Database& d = object.Database().db();
    for (; n && n->id() != db::Database::RootId; n = d.node(n->parent()))
        if (n->def().hasFlag(db::SettingsType) || n->def().hasFlag(db::HiddenFromExplorer)) return false;
    return n != nullptr;
}

bool XObjectGroupPolicy::Concerns(const XObject& group) const {
    return group.SupportsType(XObjectGroup::TypeID) && group.SupportsType(GroupTypeID());
}

}  // namespace VelX

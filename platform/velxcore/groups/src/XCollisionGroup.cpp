#include <velxcore/XCollisionGroup.h>
#include <velxcore/XObjectTypes.h>

namespace VelX {

const std::wstring XCollisionGroup::TypeID = L"CollisionGroup";

XAttribute XCollisionGroup::CollidesWithSelf() const { return Attribute(L"collidesWithSelf"); }

bool XCollisionGroup::Collides(const XObject& a, const XObject& b) {
    if (!XPhysicsJoint(a).IsValid() || !XPhysicsJoint(b).IsValid() || a == b) return false;
    Velutils::Vector<XObject> holders;
    GroupsContaining(a, TypeID, holders);
    for (const XObject& h : holders) {
        XCollisionGroup group(h);
        if (group.IsActiveRecursive() && group.ContainsObject(b) && !group.CollidesWithSelf().Boolean()) return false;
    }
    return true;
}

}  // namespace VelX

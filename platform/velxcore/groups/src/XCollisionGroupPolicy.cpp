#include <velxcore/XCollisionGroup.h>
#include <velxcore/XCollisionGroupPolicy.h>
#include <velxcore/XObjectTypes.h>

namespace VelX {

const std::wstring& XCollisionGroupPolicy::GroupTypeID() const { return XCollisionGroup::TypeID; }

bool XCollisionGroupPolicy::AcceptsObject(const XObject& object) const {
    return object.SupportsType(XPhysicsJoint::TypeID) && XObjectGroupPolicy::AcceptsObject(object);
}

}  // namespace VelX

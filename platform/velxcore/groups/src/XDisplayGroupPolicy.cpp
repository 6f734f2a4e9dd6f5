#include <velxcore/XDisplayGroup.h>
#include <velxcore/XDisplayGroupPolicy.h>
#include <velxcore/XRenderObject.h>

namespace VelX {

const std::wstring& XDisplayGroupPolicy::GroupTypeID() const { return XDisplayGroup::TypeID; }

bool XDisplayGroupPolicy::AcceptsObject(const XObject& object) const {
    return object.SupportsType(XRenderObject::TypeID) && XObjectGroupPolicy::AcceptsObject(object);
}

}  // namespace VelX

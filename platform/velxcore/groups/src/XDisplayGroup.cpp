#include <velxcore/XDisplayGroup.h>
#include <velxcore/XRenderObject.h>

namespace VelX {

const std::wstring XDisplayGroup::TypeID = L"DisplayGroup";

bool XDisplayGroup::IsObjectVisible(const XObject& object) {
    XRenderObject renderObject(object);
    if (!renderObject.IsValid() || !renderObject.Visibility().Boolean()) return false;
    Velutils::Vector<XObject> holders;
    GroupsContaining(object, TypeID, holders);
    for (const XObject& h : holders) {
        XDisplayGroup group(h);
        if (group.IsActiveRecursive() && !group.IsVisibleRecursive()) return false;
    }
    return true;
}

}  // namespace VelX

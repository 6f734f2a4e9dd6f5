#pragma once

#include <velxcore/XObjectGroup.h>

namespace VelX {

// Shows and hides its members: a render object is displayed when its own visibility is on and
// every active display group holding it is visible through its ancestors. Inactive groups
// (through their ancestors) have no effect.
class XDisplayGroup : public XObjectGroup {
public:
    static const std::wstring TypeID;
    XDisplayGroup() = default;
    explicit XDisplayGroup(const XObject& object) : XObjectGroup(object, TypeID) {}

    // False for an invalid object or one that is not a render object.
    static bool IsObjectVisible(const XObject& object);

protected:
    XDisplayGroup(const XObject& object, const std::wstring& requiredType) : XObjectGroup(object, requiredType) {}
};

}  // namespace VelX

#pragma once

#include <velxcore/XObjectGroup.h>

namespace VelX {

// A named selection: SelectObjects() makes its members the scene selection.
class XSelectionGroup : public XObjectGroup {
public:
    static const std::wstring TypeID;
    XSelectionGroup() = default;
    explicit XSelectionGroup(const XObject& object) : XObjectGroup(object, TypeID) {}

protected:
    XSelectionGroup(const XObject& object, const std::wstring& requiredType) : XObjectGroup(object, requiredType) {}
};

}  // namespace VelX

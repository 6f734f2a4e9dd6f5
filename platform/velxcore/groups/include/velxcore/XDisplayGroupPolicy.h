#pragma once

#include <velxcore/XObjectGroupPolicy.h>

namespace VelX {

// Display groups show and hide render objects; an object is in at most one display group.
class XDisplayGroupPolicy : public XObjectGroupPolicy {
public:
    const std::wstring& GroupTypeID() const override;
    bool AcceptsObject(const XObject& object) const override;  // render objects only
    bool IsExclusive() const override { return true; }
};

}  // namespace VelX

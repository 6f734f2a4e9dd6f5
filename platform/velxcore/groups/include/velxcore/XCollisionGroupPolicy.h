#pragma once

#include <velxcore/XObjectGroupPolicy.h>

namespace VelX {

// Collision groups gather physics bodies; a body is in at most one collision group.
class XCollisionGroupPolicy : public XObjectGroupPolicy {
public:
    const std::wstring& GroupTypeID() const override;
    bool AcceptsObject(const XObject& object) const override;  // physics bodies only
    bool IsExclusive() const override { return true; }
};

}  // namespace VelX

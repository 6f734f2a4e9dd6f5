#pragma once

#include <velxcore/XObjectGroup.h>

namespace VelX {

// Gathers physics bodies that should pass through each other: two bodies in the same active
// collision group do not collide unless the group collides with itself. Bodies in different groups
// or in none collide.
class XCollisionGroup : public XObjectGroup {
public:
    static const std::wstring TypeID;
    XCollisionGroup() = default;
    explicit XCollisionGroup(const XObject& object) : XObjectGroup(object, TypeID) {}

    XAttribute CollidesWithSelf() const;

    // Whether two different physics bodies collide (false for anything else).
    static bool Collides(const XObject& a, const XObject& b);

protected:
    XCollisionGroup(const XObject& object, const std::wstring& requiredType) : XObjectGroup(object, requiredType) {}
};

}  // namespace VelX

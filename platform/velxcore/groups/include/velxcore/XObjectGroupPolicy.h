#pragma once

#include <string>

namespace VelX {

class XObject;

// Says which kind of object group an operation concerns and which objects may join it. Group
// operations given a policy of another kind do nothing.
class XObjectGroupPolicy {
public:
    virtual ~XObjectGroupPolicy() = default;

    // The group type the policy is for: "SelectionGroup", "DisplayGroup" or "CollisionGroup".
    virtual const std::wstring& GroupTypeID() const = 0;
    // Any live scene object except the root, built-in objects (and what they hold) and groups.
    virtual bool AcceptsObject(const XObject& object) const;
    // True when an object belongs to at most one group of the kind: joining one leaves the other.
    virtual bool IsExclusive() const { return false; }

    // True for a group of the policy's kind (root groups and folders included).
    bool Concerns(const XObject& group) const;
};

}  // namespace VelX

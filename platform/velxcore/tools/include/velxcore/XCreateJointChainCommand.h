#pragma once

#include <velxcore/XCommand.h>

namespace VelX {

// Creates a chain of joints, each the child of the one before, spaced evenly along an axis so that
// the chain spans `length`. The chain goes under the first selected transform when `underSelection`
// is on (else at the top level) and its first joint becomes the selection.
class XCreateJointChainCommand : public XCommand {
public:
    static const std::wstring TypeID;
    static constexpr int MaxJointCount = 1000;

    XCreateJointChainCommand() = default;
    explicit XCreateJointChainCommand(const XObject& object) : XCommand(object, TypeID) {}

    XAttribute JointCount() const;
    XAttribute Length() const;
    XAttribute Axis() const;  // x, y, z
    XAttribute BaseName() const;
    XAttribute UnderSelection() const;

    // The work of Execute(), inside the caller's change block.
    bool run();
};

}  // namespace VelX

#pragma once

#include <velxcore/XCommand.h>

namespace VelX {

// Copies each selected joint hierarchy mirrored across the plane normal to `axis`, in the space of
// the hierarchy's parent: the translation along the axis and the rotations about the two other axes
// (rotate, joint orient, preferred angle) change sign. Copies get the original's values except object
// references, sit beside their originals, and are named with `searchFor` replaced by `replaceWith`.
// The copies become the selection.
class XMirrorJointsCommand : public XCommand {
public:
    static const std::wstring TypeID;
    XMirrorJointsCommand() = default;
    explicit XMirrorJointsCommand(const XObject& object) : XCommand(object, TypeID) {}

    XAttribute Axis() const;  // x, y, z
    XAttribute SearchFor() const;
    XAttribute ReplaceWith() const;

    // The name a copy of `name` gets.
    std::wstring MirroredName(const std::wstring& name) const;
    // The work of Execute(), inside the caller's change block.
    bool run();
};

}  // namespace VelX

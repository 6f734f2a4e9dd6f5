#pragma once

namespace Velutils {

// Order in which Euler rotations apply: XYZ rotates about X first, then Y, then Z.
enum class RotateOrder { XYZ = 0, XZY, YZX, YXZ, ZXY, ZYX };

}  // namespace Velutils

#pragma once

#include <velutils/Matrix4.h>
#include <velutils/Vec3.h>

namespace Velutils {

// Rotation quaternion (x, y, z vector part, w scalar part). The default is the identity.
struct Quat {
    float x = 0, y = 0, z = 0, w = 1;

    Quat() = default;
    Quat(float x_, float y_, float z_, float w_) : x(x_), y(y_), z(z_), w(w_) {}

    static Quat identity() { return Quat(); }
    // Right-handed rotation of `radians` about `axis` (need not be unit length).
    static Quat fromAxisAngle(const Vec3& axis, float radians);

    // Rotating by a * b applies b first, then a; so (a * b).toMatrix() == b.toMatrix() * a.toMatrix().
    Quat operator*(const Quat& o) const;
    Quat multiply(const Quat& o) const { return *this * o; }
    bool operator==(const Quat& o) const { return x == o.x && y == o.y && z == o.z && w == o.w; }
    bool operator!=(const Quat& o) const { return !(*this == o); }

    float length() const;
    // Unit quaternion; a zero quaternion becomes the identity.
    Quat normalized() const;
    // Row-vector rotation matrix, matching Matrix4's convention.
    Matrix4 toMatrix() const;
};

}  // namespace Velutils

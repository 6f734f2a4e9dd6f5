#include <velutils/Quat.h>

#include <cmath>

namespace Velutils {

Quat Quat::fromAxisAngle(const Vec3& axis, float radians)
{
    const Vec3 n = axis.normalized();
    const float s = std::sin(radians * 0.5f);
    return {n.x * s, n.y * s, n.z * s, std::cos(radians * 0.5f)};
}

Quat Quat::operator*(const Quat& o) const
{
    return {w * o.x + x * o.w + y * o.z - z * o.y,
            w * o.y - x * o.z + y * o.w + z * o.x,
            w * o.z + x * o.y - y * o.x + z * o.w,
            w * o.w - x * o.x - y * o.y - z * o.z};
}

float Quat::length() const
{
    return std::sqrt(x * x + y * y + z * z + w * w);
}

Quat Quat::normalized() const
{
    const float len = length();
    if (!(len > 0))
        return identity();
    const float inv = 1.0f / len;
    return {x * inv, y * inv, z * inv, w * inv};
}

Matrix4 Quat::toMatrix() const
{
    const Quat q = normalized();
    const float xx = q.x * q.x, yy = q.y * q.y, zz = q.z * q.z;
    const float xy = q.x * q.y, xz = q.x * q.z, yz = q.y * q.z;
    const float wx = q.w * q.x, wy = q.w * q.y, wz = q.w * q.z;

    // Transpose of the usual column-vector form, since points are rows here.
    Matrix4 r;
    r.m[0][0] = 1 - 2 * (yy + zz);
    r.m[0][1] = 2 * (xy + wz);
    r.m[0][2] = 2 * (xz - wy);
    r.m[1][0] = 2 * (xy - wz);
    r.m[1][1] = 1 - 2 * (xx + zz);
    r.m[1][2] = 2 * (yz + wx);
    r.m[2][0] = 2 * (xz + wy);
    r.m[2][1] = 2 * (yz - wx);
    r.m[2][2] = 1 - 2 * (xx + yy);
    return r;
}

}  // namespace Velutils

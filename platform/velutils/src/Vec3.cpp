#include <velutils/Vec3.h>

#include <cmath>

namespace Velutils {

Vec3 Vec3::cross(const Vec3& o) const
{
    return {y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x};
}

float Vec3::length() const
{
    return std::sqrt(dot(*this));
}

Vec3 Vec3::normalized() const
{
    const float len = length();
    return len > 0 ? *this * (1.0f / len) : Vec3();
}

bool Vec3::approxEqual(const Vec3& o, float eps) const
{
    return std::fabs(x - o.x) <= eps && std::fabs(y - o.y) <= eps && std::fabs(z - o.z) <= eps;
}

}  // namespace Velutils

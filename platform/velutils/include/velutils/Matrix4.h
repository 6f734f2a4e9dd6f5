#pragma once

#include <velutils/RotateOrder.h>
#include <velutils/Vec3.h>

namespace Velutils {

// 4x4 transform using row vectors: a point p maps to p * M and the translation sits in row 3.
// Transforms chain left to right, so a world matrix is local * parentWorld.
class Matrix4 {
public:
    float m[4][4];

    // A default matrix is the identity.
    Matrix4();

    static Matrix4 identity() { return Matrix4(); }
    static Matrix4 translate(const Vec3& t);
    static Matrix4 scale(const Vec3& s);
    static Matrix4 rotateX(float radians);
    static Matrix4 rotateY(float radians);
    static Matrix4 rotateZ(float radians);
    static Matrix4 rotate(const Vec3& eulerRadians, RotateOrder order);
    // Scale, then rotate in the given order, then translate.
    static Matrix4 fromTranslateRotateScale(const Vec3& t, const Vec3& eulerRadians, const Vec3& s,
                                            RotateOrder order = RotateOrder::XYZ);

    Matrix4 operator*(const Matrix4& o) const;
    bool operator==(const Matrix4& o) const;
    bool operator!=(const Matrix4& o) const { return !(*this == o); }

    Vec3 translation() const { return {m[3][0], m[3][1], m[3][2]}; }
    Vec3 transformPoint(const Vec3& p) const;
    Vec3 transformVector(const Vec3& v) const;

    // Writes the inverse to out; returns false (out untouched) when the matrix is singular.
    bool inverse(Matrix4& out) const;
    bool approxEqual(const Matrix4& o, float eps = 1e-5f) const;
};

}  // namespace Velutils

#include <velutils/Matrix4.h>

#include <cmath>
#include <utility>

namespace Velutils {

Matrix4::Matrix4()
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            m[r][c] = r == c ? 1.0f : 0.0f;
}

Matrix4 Matrix4::translate(const Vec3& t)
{
    Matrix4 r;
    r.m[3][0] = t.x;
    r.m[3][1] = t.y;
    r.m[3][2] = t.z;
    return r;
}

Matrix4 Matrix4::scale(const Vec3& s)
{
    Matrix4 r;
    r.m[0][0] = s.x;
    r.m[1][1] = s.y;
    r.m[2][2] = s.z;
    return r;
}

Matrix4 Matrix4::rotateX(float a)
{
    const float c = std::cos(a), s = std::sin(a);
    Matrix4 r;
    r.m[1][1] = c;
    r.m[1][2] = s;
    r.m[2][1] = -s;
    r.m[2][2] = c;
    return r;
}

Matrix4 Matrix4::rotateY(float a)
{
    const float c = std::cos(a), s = std::sin(a);
    Matrix4 r;
    r.m[0][0] = c;
    r.m[0][2] = -s;
    r.m[2][0] = s;
    r.m[2][2] = c;
    return r;
}

Matrix4 Matrix4::rotateZ(float a)
{
    const float c = std::cos(a), s = std::sin(a);
    Matrix4 r;
    r.m[0][0] = c;
    r.m[0][1] = s;
    r.m[1][0] = -s;
    r.m[1][1] = c;
    return r;
}

Matrix4 Matrix4::rotate(const Vec3& e, RotateOrder order)
{
    const Matrix4 x = rotateX(e.x), y = rotateY(e.y), z = rotateZ(e.z);
    // Row vectors apply left to right, so the first rotation is the leftmost factor.
    switch (order) {
    case RotateOrder::XYZ: return x * y * z;
    case RotateOrder::XZY: return x * z * y;
    case RotateOrder::YZX: return y * z * x;
    case RotateOrder::YXZ: return y * x * z;
    case RotateOrder::ZXY: return z * x * y;
    case RotateOrder::ZYX: return z * y * x;
    }
    return x * y * z;
}

Matrix4 Matrix4::fromTranslateRotateScale(const Vec3& t, const Vec3& e, const Vec3& s,
                                          RotateOrder order)
{
    Matrix4 r = scale(s) * rotate(e, order);
    r.m[3][0] = t.x;
    r.m[3][1] = t.y;
    r.m[3][2] = t.z;
    return r;
}

Matrix4 Matrix4::operator*(const Matrix4& o) const
{
    Matrix4 r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            r.m[i][j] = m[i][0] * o.m[0][j] + m[i][1] * o.m[1][j] + m[i][2] * o.m[2][j] +
                        m[i][3] * o.m[3][j];
    return r;
}

bool Matrix4::operator==(const Matrix4& o) const
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            if (m[r][c] != o.m[r][c])
                return false;
    return true;
}

Vec3 Matrix4::transformPoint(const Vec3& p) const
{
    float out[4];
    for (int c = 0; c < 4; ++c)
        out[c] = p.x * m[0][c] + p.y * m[1][c] + p.z * m[2][c] + m[3][c];
    // Projective matrices need the divide; affine ones have w == 1.
    if (out[3] != 1.0f && out[3] != 0.0f)
        return {out[0] / out[3], out[1] / out[3], out[2] / out[3]};
    return {out[0], out[1], out[2]};
}

Vec3 Matrix4::transformVector(const Vec3& v) const
{
    return {v.x * m[0][0] + v.y * m[1][0] + v.z * m[2][0],
            v.x * m[0][1] + v.y * m[1][1] + v.z * m[2][1],
            v.x * m[0][2] + v.y * m[1][2] + v.z * m[2][2]};
}

bool Matrix4::inverse(Matrix4& out) const
{
    // Gauss-Jordan elimination with partial pivoting, in double for accuracy.
    double a[4][8];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) {
            a[r][c] = m[r][c];
            a[r][c + 4] = r == c ? 1.0 : 0.0;
        }

    double scale = 0;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            scale = std::fmax(scale, std::fabs(a[r][c]));
    if (!(scale > 0) || !std::isfinite(scale))
        return false;
    // Only a vanishing pivot counts as singular; small uniform scales must still invert.
    const double tiny = scale * 1e-12;

    for (int col = 0; col < 4; ++col) {
        int pivot = col;
        for (int r = col + 1; r < 4; ++r)
            if (std::fabs(a[r][col]) > std::fabs(a[pivot][col]))
                pivot = r;
        if (std::fabs(a[pivot][col]) <= tiny)
            return false;
        if (pivot != col)
            for (int c = 0; c < 8; ++c)
                std::swap(a[pivot][c], a[col][c]);

        const double inv = 1.0 / a[col][col];
        for (int c = 0; c < 8; ++c)
            a[col][c] *= inv;
        for (int r = 0; r < 4; ++r) {
            if (r == col || a[r][col] == 0.0)
                continue;
            const double f = a[r][col];
            for (int c = 0; c < 8; ++c)
                a[r][c] -= f * a[col][c];
        }
    }

    Matrix4 result;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) {
            result.m[r][c] = static_cast<float>(a[r][c + 4]);
            if (!std::isfinite(result.m[r][c]))
                return false;
        }
    out = result;
    return true;
}

bool Matrix4::approxEqual(const Matrix4& o, float eps) const
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            if (!(std::fabs(m[r][c] - o.m[r][c]) <= eps))
                return false;
    return true;
}

}  // namespace Velutils

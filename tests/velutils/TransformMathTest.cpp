#include <velutils/Matrix4.h>
#include <velutils/Quat.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

using namespace Velutils;

namespace {

constexpr float kHalfPi = 1.5707963267948966f;

Matrix4 randomMatrix(std::mt19937& rng, float diagonalBoost = 0)
{
    std::uniform_real_distribution<float> d(-2.0f, 2.0f);
    Matrix4 r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            r.m[i][j] = d(rng) + (i == j ? diagonalBoost : 0.0f);
    return r;
}

}  // namespace

TEST(Matrix4Test, MultiplyIsAssociative)
{
    std::mt19937 rng(7);
    for (int i = 0; i < 50; ++i) {
        const Matrix4 a = randomMatrix(rng), b = randomMatrix(rng), c = randomMatrix(rng);
        EXPECT_TRUE(((a * b) * c).approxEqual(a * (b * c), 1e-4f));
    }
}

TEST(Matrix4Test, Inverse)
{
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> d(-3.0f, 3.0f);
    Matrix4 swapXY;  // zero diagonal: needs row pivoting
    swapXY.m[0][0] = swapXY.m[1][1] = 0;
    swapXY.m[0][1] = swapXY.m[1][0] = 3;
    std::vector<Matrix4> cases{swapXY};
    for (int i = 0; i < 30; ++i) {
        cases.push_back(randomMatrix(rng, 5.0f));
        cases.push_back(Matrix4::fromTranslateRotateScale(
            {d(rng) * 10, d(rng), d(rng)}, {d(rng), d(rng), d(rng)},
            {0.2f + std::fabs(d(rng)), 0.5f + std::fabs(d(rng)), 0.1f}, RotateOrder(i % 6)));
    }
    for (const Matrix4& m : cases) {
        Matrix4 inv;
        ASSERT_TRUE(m.inverse(inv));
        EXPECT_TRUE((inv * m).approxEqual(Matrix4::identity(), 1e-4f));
        EXPECT_TRUE((m * inv).approxEqual(Matrix4::identity(), 1e-4f));
    }

    const Matrix4 sentinel = Matrix4::translate({1, 2, 3});
    Matrix4 out = sentinel;
    EXPECT_FALSE(Matrix4::scale({1, 0, 1}).inverse(out));
    EXPECT_EQ(out, sentinel);
}

TEST(Matrix4Test, RotateOrders)
{
    const Vec3 e(0.3f, -0.7f, 1.1f);
    const Matrix4 rx = Matrix4::rotateX(e.x), ry = Matrix4::rotateY(e.y);
    const Matrix4 rz = Matrix4::rotateZ(e.z);
    EXPECT_TRUE(Matrix4::rotate(e, RotateOrder::XYZ).approxEqual(rx * ry * rz));
    EXPECT_TRUE(Matrix4::rotate(e, RotateOrder::ZYX).approxEqual(rz * ry * rx));
    for (int a = 0; a < 6; ++a)
        for (int b = a + 1; b < 6; ++b)
            EXPECT_FALSE(Matrix4::rotate(e, RotateOrder(a)).approxEqual(
                Matrix4::rotate(e, RotateOrder(b)), 1e-3f));

    // XYZ turns about X first (+Y to +Z), then about Y (+Z to +X).
    const Vec3 quarter(kHalfPi, kHalfPi, 0);
    const Vec3 y(0, 1, 0);
    const Matrix4 xyz = Matrix4::rotate(quarter, RotateOrder::XYZ);
    const Matrix4 yxz = Matrix4::rotate(quarter, RotateOrder::YXZ);
    EXPECT_TRUE(xyz.transformPoint(y).approxEqual({1, 0, 0}));
    EXPECT_TRUE(yxz.transformPoint(y).approxEqual({0, 0, 1}));
}

TEST(Matrix4Test, TranslateRotateScale)
{
    const Vec3 t(4, -5, 6);
    const Matrix4 m = Matrix4::fromTranslateRotateScale(t, {0, 0, kHalfPi}, {2, 3, 4});
    EXPECT_EQ(Vec3(m.m[3][0], m.m[3][1], m.m[3][2]), t);
    EXPECT_EQ(m.m[3][3], 1);
    EXPECT_EQ(m.translation(), t);
    // Scaled to (2,0,0), turned onto +Y, then moved.
    EXPECT_TRUE(m.transformPoint({1, 0, 0}).approxEqual(t + Vec3(0, 2, 0)));
    // A child's world matrix is local * parentWorld.
    EXPECT_TRUE((Matrix4::translate({1, 0, 0}) * m).translation().approxEqual(t + Vec3(0, 2, 0)));
}

TEST(QuatTest, MatrixAgreesWithAxisAngleRotation)
{
    std::mt19937 rng(3);
    std::uniform_real_distribution<float> d(-1.0f, 1.0f);
    for (int i = 0; i < 100; ++i) {
        const Vec3 k = Vec3(d(rng), d(rng), d(rng)).normalized();
        const float a = d(rng) * 6.0f;
        const Vec3 p(d(rng) * 5, d(rng) * 5, d(rng) * 5);
        const Vec3 rodrigues =
            p * std::cos(a) + k.cross(p) * std::sin(a) + k * (k.dot(p) * (1 - std::cos(a)));
        const Matrix4 m = Quat::fromAxisAngle(k * 3.0f, a).toMatrix();
        EXPECT_TRUE(m.transformPoint(p).approxEqual(rodrigues, 1e-4f));
    }
    const Matrix4 aboutX = Quat::fromAxisAngle({1, 0, 0}, 0.8f).toMatrix();
    EXPECT_TRUE(aboutX.approxEqual(Matrix4::rotateX(0.8f)));
}

TEST(QuatTest, ProductAppliesRightOperandFirst)
{
    const Quat a = Quat::fromAxisAngle({1, 2, 0}, 0.9f);
    const Quat b = Quat::fromAxisAngle({0, -1, 3}, -1.7f);
    EXPECT_TRUE((a * b).toMatrix().approxEqual(b.toMatrix() * a.toMatrix()));
    EXPECT_FALSE((a * b).toMatrix().approxEqual((b * a).toMatrix(), 1e-3f));
}

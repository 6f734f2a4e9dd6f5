#include <velscenegraph/AnimationCurve.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <utility>
#include <vector>

using namespace sg;
using Velutils::VelPoint2D;

namespace {

constexpr Extrapolation kHold = Extrapolation::Constant;
constexpr TangentType kFixed = TangentType::Fixed, kLinear = TangentType::Linear;

CurveKey key(float time, float value, TangentType type = TangentType::Smooth, float inSlope = 0,
             float outSlope = 0)
{
    return CurveKey{time, value, type, type, inSlope, outSlope};
}

AnimationCurve curve(std::vector<CurveKey> keys, Extrapolation pre = kHold,
                     Extrapolation post = kHold)
{
    return AnimationCurve(std::move(keys), pre, post);
}

AnimationCurve randomCurve(std::mt19937& rng)
{
    std::uniform_int_distribution<int> count(2, 8), type(0, 4);
    std::uniform_real_distribution<float> gap(0.5f, 30.0f), value(-50.0f, 50.0f);
    std::uniform_real_distribution<float> slope(-10.0f, 10.0f);
    std::vector<CurveKey> keys;
    float t = value(rng);
    for (int i = count(rng); i > 0; --i, t += gap(rng))
        keys.push_back({t, value(rng), TangentType(type(rng)), TangentType(type(rng)), slope(rng),
                        slope(rng)});
    return curve(keys);
}

std::vector<VelPoint2D> sampled(const AnimationCurve& c, float tolX, float tolY)
{
    std::vector<VelPoint2D> out{{-1, -1}};  // must be replaced
    c.sample(tolX, tolY, out);
    return out;
}

// Ordered, distinct, every key present, and each span narrower than tolX or within tolY of the
// curve.
void expectFaithful(const AnimationCurve& c, const std::vector<VelPoint2D>& pts, float tolX,
                    float tolY)
{
    for (const CurveKey& k : c.keys())
        EXPECT_NE(std::find(pts.begin(), pts.end(), VelPoint2D(k.time, k.value)), pts.end());
    for (std::size_t i = 1; i < pts.size(); ++i) {
        const VelPoint2D a = pts[i - 1], b = pts[i];
        ASSERT_LE(a.x, b.x);
        ASSERT_NE(a, b);
        for (int j = 1; j < 32 && b.x - a.x > tolX; ++j) {
            const float f = j / 32.0f;
            ASSERT_NEAR(a.y + (b.y - a.y) * f, c.evaluate(a.x + (b.x - a.x) * f), tolY + 1e-4f)
                << "span " << a.x << ".." << b.x;
        }
    }
}

}  // namespace

TEST(AnimationCurveTest, EmptySingleAndDuplicateKeys)
{
    EXPECT_EQ(AnimationCurve().evaluate(3), 0);
    EXPECT_TRUE(sampled(AnimationCurve(), 0.1f, 0.1f).empty());

    const AnimationCurve one = curve({key(5, 2, kFixed, 3, 3)}, Extrapolation::Linear);
    EXPECT_EQ(one.evaluate(-100), 2);
    EXPECT_EQ(one.evaluate(100), 2);
    EXPECT_EQ(one.preGradient(), 0);
    EXPECT_EQ(sampled(one, 0.1f, 0.1f), std::vector<VelPoint2D>{VelPoint2D(5, 2)});

    const AnimationCurve c = curve({key(10, 1), key(0, 2), key(5, 3), key(5, 4),
                                    key(std::numeric_limits<float>::quiet_NaN(), 9)});
    ASSERT_EQ(c.keys().size(), 3u);
    EXPECT_EQ(c.evaluate(5), 4);
    EXPECT_EQ(c.startTime(), 0);
    EXPECT_EQ(c.endTime(), 10);
}

TEST(AnimationCurveTest, HermiteSegments)
{
    std::mt19937 rng(21);
    for (int n = 0; n < 50; ++n) {
        const AnimationCurve c = randomCurve(rng);
        for (std::size_t i = 0; i < c.keys().size(); ++i) {
            EXPECT_EQ(c.evaluate(c.keys()[i].time), c.keys()[i].value);
            if (i + 1 == c.keys().size())
                break;
            // slopeAt is the derivative of evaluate.
            const float t = (c.keys()[i].time * 2 + c.keys()[i + 1].time) / 3, h = 0.01f;
            const float numeric = (c.evaluate(t + h) - c.evaluate(t - h)) / (2 * h);
            EXPECT_NEAR(c.slopeAt(t), numeric, 0.05f + 0.01f * std::fabs(numeric));
        }
    }

    const AnimationCurve ease = curve({key(0, 0, kFixed, 0, 2), key(2, 1, kFixed, -1, 0)});
    EXPECT_NEAR(ease.evaluate(1), 1.25f, 1e-6f);
    EXPECT_NEAR(ease.slopeAt(0), 2, 1e-5f);
    EXPECT_NEAR(ease.slopeAt(2), -1, 1e-5f);
}

TEST(AnimationCurveTest, LinearStepAndFlatTangents)
{
    const AnimationCurve lin = curve({key(0, 0, kLinear), key(10, 5, kLinear), key(20, 0, kLinear)},
                                     Extrapolation::Linear, Extrapolation::Linear);
    EXPECT_FLOAT_EQ(lin.evaluate(4), 2);
    EXPECT_FLOAT_EQ(lin.slopeAt(13), -0.5f);
    EXPECT_FLOAT_EQ(lin.evaluate(-2), -1);  // the end lines carry on
    EXPECT_FLOAT_EQ(lin.evaluate(22), -1);

    CurveKey stepOut = key(0, 1), stepIn = key(10, 5);
    stepOut.outType = stepIn.inType = TangentType::Step;
    for (const AnimationCurve& c : {curve({stepOut, key(10, 5)}), curve({key(0, 1), stepIn})}) {
        EXPECT_EQ(c.evaluate(9.99f), 1);
        EXPECT_EQ(c.evaluate(10), 5);
        EXPECT_EQ(c.slopeAt(5), 0);
        EXPECT_EQ(sampled(c, 0.1f, 0.01f), (std::vector<VelPoint2D>{{0, 1}, {10, 1}, {10, 5}}));
    }

    const AnimationCurve flat = curve({key(0, 0), key(10, 5, TangentType::Flat), key(20, 10)});
    EXPECT_EQ(flat.slopeAt(10), 0);
    EXPECT_NEAR(flat.slopeAt(10 - 1e-3f), 0, 1e-3f);
    EXPECT_GT(flat.slopeAt(5), 0);
}

TEST(AnimationCurveTest, SmoothTangentsDoNotOvershoot)
{
    const AnimationCurve rising = curve({key(0, 0), key(10, 10), key(30, 20)});
    EXPECT_NEAR(rising.slopeAt(10), 20.0f / 30.0f, 1e-5f);
    EXPECT_NEAR(rising.slopeAt(30), 0.5f, 1e-5f);  // ends use their one secant

    // A plain peak, and a steep rise into a near-plateau before the peak.
    const AnimationCurve peak = curve({key(0, 0), key(10, 10), key(20, 0)});
    const AnimationCurve steep = curve({key(0, 0), key(1, 100), key(10, 101), key(20, 0)});
    EXPECT_EQ(peak.slopeAt(10), 0);
    for (float t = 0; t <= 20; t += 0.01f) {
        EXPECT_LE(peak.evaluate(t), 10) << t;
        EXPECT_LE(steep.evaluate(t), 101) << t;
    }
}

TEST(AnimationCurveTest, Extrapolation)
{
    const std::vector<CurveKey> keys{key(2, 0), key(5, 10), key(12, 40)};
    const AnimationCurve held = curve(keys);
    EXPECT_EQ(held.evaluate(-5), 0);
    EXPECT_EQ(held.evaluate(99), 40);

    const AnimationCurve lin(keys, Extrapolation::Linear, Extrapolation::Linear);
    EXPECT_NEAR(lin.postGradient(), lin.slopeAt(12), 1e-4f);
    EXPECT_FLOAT_EQ(lin.evaluate(15), 40 + 3 * lin.postGradient());
    EXPECT_FLOAT_EQ(lin.evaluate(0), -2 * lin.preGradient());
    EXPECT_FLOAT_EQ(lin.slopeAt(-7), lin.preGradient());
    const AnimationCurve fixedIn =
        curve({key(0, 1, kFixed, 2, 0), key(10, 3)}, Extrapolation::Linear);
    EXPECT_FLOAT_EQ(fixedIn.evaluate(-3), -5);

    const AnimationCurve cycle(keys, Extrapolation::Cycle, Extrapolation::Cycle);
    const AnimationCurve osc(keys, Extrapolation::Oscillate, Extrapolation::Oscillate);
    for (float x = 0.1f; x < 10; x += 0.37f) {
        for (int k : {-3, -1, 1, 2})
            EXPECT_NEAR(cycle.evaluate(2 + x + k * 10), cycle.evaluate(2 + x), 1e-3f) << x << k;
        EXPECT_NEAR(osc.evaluate(12 + x), osc.evaluate(12 - x), 1e-3f) << x;
        EXPECT_NEAR(osc.evaluate(2 - x), osc.evaluate(2 + x), 1e-3f) << x;
        EXPECT_NEAR(osc.slopeAt(12 + x), -osc.slopeAt(12 - x), 1e-2f) << x;
        EXPECT_NEAR(osc.evaluate(22 + x), osc.evaluate(2 + x), 1e-3f) << x;
    }
}

TEST(AnimationCurveTest, SamplingStaysWithinTolerances)
{
    std::mt19937 rng(1234);
    const float tolXs[] = {0.01f, 0.1f, 1.0f}, tolYs[] = {0.001f, 0.01f, 0.1f, 1.0f};
    for (int n = 0; n < 200; ++n) {
        const AnimationCurve c = randomCurve(rng);
        const float tolX = tolXs[n % 3], tolY = tolYs[n % 4];
        SCOPED_TRACE(testing::Message() << "curve " << n);
        expectFaithful(c, sampled(c, tolX, tolY), tolX, tolY);
    }
}

TEST(AnimationCurveTest, SamplingSpendsPointsWhereTheCurveBends)
{
    const AnimationCurve line = curve({key(0, 0, kLinear), key(10, 5, kLinear)});
    EXPECT_EQ(sampled(line, 0.01f, 0.001f), (std::vector<VelPoint2D>{{0, 0}, {10, 5}}));
    const AnimationCurve collinear = curve({key(0, 0), key(10, 10), key(30, 30)});
    EXPECT_EQ(sampled(collinear, 0.01f, 0.001f).size(), 3u);

    // Flat from 0 to 40, then a bump.
    const AnimationCurve bump = curve({key(0, 0), key(40, 0), key(50, 10), key(60, 0)});
    const auto pts = sampled(bump, 0.01f, 0.01f);
    const auto within = [&](float from, float to) {
        return std::count_if(pts.begin(), pts.end(),
                             [&](VelPoint2D p) { return p.x > from && p.x < to; });
    };
    EXPECT_EQ(within(0, 40), 0);
    EXPECT_GT(within(40, 60), 10);
    EXPECT_LT(sampled(bump, 0.01f, 0.5f).size(), pts.size());
    EXPECT_EQ(sampled(bump, 100.0f, 0.01f).size(), 4u);

    // Bad tolerances fall back to a small default; tiny ones still finish.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(sampled(bump, 0, nan), pts);
    EXPECT_EQ(sampled(bump, -1, -1), pts);
    EXPECT_LT(sampled(bump, 1e-30f, 1e-30f).size(), 2000000u);
    const auto longFlat = sampled(curve({key(0, 0), key(1e5f, 0)}), 0.1f, 0.1f);
    EXPECT_GT(longFlat.size(), 2u);
    EXPECT_LT(longFlat.size(), 5000u);
}

#include <velscenegraph/AnimationCurve.h>
#include <velscenegraph/CurveMath.h>

#include <algorithm>
#include <cmath>

namespace sg {

using Velutils::VelPoint2D;

namespace {

constexpr float kDefaultTolerance = 0.01f;
constexpr float kMinTolerance = 1e-5f;
// Spans longer than this many frames are always split, whatever the chord says.
constexpr float kMaxSpan = 100.0f;
constexpr int kMaxDepth = 20;
// Probing a cubic at its quarter points can under-read its chord error by up to ~9.4%,
// so probes are held to a slightly tighter bound.
constexpr float kProbeMargin = 0.9f;

float saneTolerance(float tol)
{
    if (!(tol > 0))
        return kDefaultTolerance;
    return std::max(tol, kMinTolerance);
}

// The keys of a curve object, as the curve mathematics reads them.
struct KeyList {
    const std::vector<CurveKey>& keys;
    std::size_t size() const { return keys.size(); }
    float time(std::size_t i) const { return keys[i].time; }
    float value(std::size_t i) const { return keys[i].value; }
    TangentType inType(std::size_t i) const { return keys[i].inType; }
    TangentType outType(std::size_t i) const { return keys[i].outType; }
    float inSlope(std::size_t i) const { return keys[i].inSlope; }
    float outSlope(std::size_t i) const { return keys[i].outSlope; }
};

void appendPoint(std::vector<VelPoint2D>& out, VelPoint2D p)
{
    if (out.empty() || out.back() != p)
        out.push_back(p);
}

}  // namespace

AnimationCurve::AnimationCurve(std::vector<CurveKey> keys, Extrapolation pre, Extrapolation post)
    : m_pre(pre), m_post(post)
{
    keys.erase(std::remove_if(keys.begin(), keys.end(),
                              [](const CurveKey& k) { return !std::isfinite(k.time); }),
               keys.end());
    std::stable_sort(keys.begin(), keys.end(),
                     [](const CurveKey& a, const CurveKey& b) { return a.time < b.time; });
    m_keys.reserve(keys.size());
    for (const CurveKey& k : keys) {
        if (!m_keys.empty() && m_keys.back().time == k.time)
            m_keys.back() = k;
        else
            m_keys.push_back(k);
    }
    resolveSlopes();
}

void AnimationCurve::resolveSlopes()
{
    const KeyList keys{m_keys};
    m_inSlope.resize(m_keys.size());
    m_outSlope.resize(m_keys.size());
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        m_inSlope[i] = curve::resolveSlope(keys, i, true);
        m_outSlope[i] = curve::resolveSlope(keys, i, false);
    }
}

bool AnimationCurve::isStep(std::size_t seg) const
{
    return curve::isStep(KeyList{m_keys}, seg);
}

std::size_t AnimationCurve::segmentAt(float time) const
{
    return curve::segmentAt(KeyList{m_keys}, time);
}

float AnimationCurve::segmentValue(std::size_t seg, float time) const
{
    return curve::segmentValue(KeyList{m_keys}, seg, time, m_outSlope[seg], m_inSlope[seg + 1]);
}

float AnimationCurve::segmentSlope(std::size_t seg, float time) const
{
    if (isStep(seg))
        return 0;
    const CurveKey& k0 = m_keys[seg];
    const CurveKey& k1 = m_keys[seg + 1];
    const float d = k1.time - k0.time;
    const float s = std::clamp((time - k0.time) / d, 0.0f, 1.0f);
    const float s2 = s * s;
    return ((6 * s2 - 6 * s) * (k0.value - k1.value) + (3 * s2 - 4 * s + 1) * d * m_outSlope[seg] +
            (3 * s2 - 2 * s) * d * m_inSlope[seg + 1]) /
           d;
}

float AnimationCurve::foldTime(float time, Extrapolation mode, float& direction) const
{
    return curve::foldTime(KeyList{m_keys}, time, mode, direction);
}

float AnimationCurve::evaluate(float time) const
{
    std::size_t segment = 0;
    return curve::evaluate(KeyList{m_keys}, m_pre, m_post, time, segment);
}

float AnimationCurve::slopeAt(float time) const
{
    if (m_keys.size() < 2)
        return 0;

    float direction = 1;
    if (time < startTime()) {
        if (m_pre == Extrapolation::Constant)
            return 0;
        if (m_pre == Extrapolation::Linear)
            return preGradient();
        time = foldTime(time, m_pre, direction);
    } else if (time > endTime()) {
        if (m_post == Extrapolation::Constant)
            return 0;
        if (m_post == Extrapolation::Linear)
            return postGradient();
        time = foldTime(time, m_post, direction);
    }
    return direction * segmentSlope(segmentAt(time), time);
}

float AnimationCurve::preGradient() const
{
    return m_keys.size() < 2 ? 0.0f : m_inSlope.front();
}

float AnimationCurve::postGradient() const
{
    return m_keys.size() < 2 ? 0.0f : m_outSlope.back();
}

void AnimationCurve::sample(float toleranceX, float toleranceY, std::vector<VelPoint2D>& out) const
{
    out.clear();
    if (m_keys.empty())
        return;
    const float tolX = saneTolerance(toleranceX);
    const float tolY = saneTolerance(toleranceY);

    out.emplace_back(m_keys.front().time, m_keys.front().value);
    for (std::size_t seg = 0; seg + 1 < m_keys.size(); ++seg) {
        const VelPoint2D a(m_keys[seg].time, m_keys[seg].value);
        const VelPoint2D b(m_keys[seg + 1].time, m_keys[seg + 1].value);
        if (isStep(seg))
            appendPoint(out, {b.x, a.y});  // top of the jump
        else
            subdivide(seg, a, b, tolX, tolY, 0, out);
        appendPoint(out, b);
    }
}

// Appends the points strictly between a and b that the span needs, in time order.
void AnimationCurve::subdivide(std::size_t seg, VelPoint2D a, VelPoint2D b, float tolX, float tolY,
                               int depth, std::vector<VelPoint2D>& out) const
{
    const float span = b.x - a.x;
    if (span <= tolX || depth >= kMaxDepth)
        return;
    const float mid = a.x + span * 0.5f;
    if (!(mid > a.x && mid < b.x))
        return;  // float resolution reached

    bool split = span > kMaxSpan;
    for (float f : {0.25f, 0.5f, 0.75f}) {
        if (split)
            break;
        const float chord = a.y + (b.y - a.y) * f;
        split = !(std::fabs(segmentValue(seg, a.x + span * f) - chord) <= tolY * kProbeMargin);
    }
    if (!split)
        return;

    const VelPoint2D m(mid, segmentValue(seg, mid));
    subdivide(seg, a, m, tolX, tolY, depth + 1, out);
    out.push_back(m);
    subdivide(seg, m, b, tolX, tolY, depth + 1, out);
}

}  // namespace sg

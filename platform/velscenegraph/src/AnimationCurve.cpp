#include <velscenegraph/AnimationCurve.h>

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
    m_inSlope.resize(m_keys.size());
    m_outSlope.resize(m_keys.size());
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        m_inSlope[i] = resolveSlope(i, true);
        m_outSlope[i] = resolveSlope(i, false);
    }
}

float AnimationCurve::secant(std::size_t from, std::size_t to) const
{
    return (m_keys[to].value - m_keys[from].value) / (m_keys[to].time - m_keys[from].time);
}

float AnimationCurve::resolveSlope(std::size_t i, bool in) const
{
    const CurveKey& k = m_keys[i];
    const bool hasPrev = i > 0;
    const bool hasNext = i + 1 < m_keys.size();
    if (!hasPrev && !hasNext)
        return 0;
    // The lone secant at either end of the curve.
    const float endSecant = hasPrev ? secant(i - 1, i) : secant(i, i + 1);

    switch (in ? k.inType : k.outType) {
    case TangentType::Fixed:
        return in ? k.inSlope : k.outSlope;
    case TangentType::Flat:
    case TangentType::Step:
        return 0;
    case TangentType::Linear:
        if (in && hasPrev)
            return secant(i - 1, i);
        if (!in && hasNext)
            return secant(i, i + 1);
        return endSecant;  // no key on that side: carry the line on
    case TangentType::Smooth: {
        if (!hasPrev || !hasNext)
            return endSecant;
        const float left = secant(i - 1, i), right = secant(i, i + 1);
        if (!(left * right > 0))
            return 0;  // peak, dip or plateau
        const float slope = (m_keys[i + 1].value - m_keys[i - 1].value) /
                            (m_keys[i + 1].time - m_keys[i - 1].time);
        // Keep both neighbouring segments monotone so the curve cannot overshoot a key.
        const float limit = 3 * std::min(std::fabs(left), std::fabs(right));
        return std::clamp(slope, -limit, limit);
    }
    }
    return 0;
}

bool AnimationCurve::isStep(std::size_t seg) const
{
    return m_keys[seg].outType == TangentType::Step ||
           m_keys[seg + 1].inType == TangentType::Step;
}

std::size_t AnimationCurve::segmentAt(float time) const
{
    const auto it = std::upper_bound(m_keys.begin(), m_keys.end(), time,
                                     [](float t, const CurveKey& k) { return t < k.time; });
    const std::size_t after = static_cast<std::size_t>(it - m_keys.begin());
    return std::min(after > 0 ? after - 1 : 0, m_keys.size() - 2);
}

float AnimationCurve::segmentValue(std::size_t seg, float time) const
{
    const CurveKey& k0 = m_keys[seg];
    const CurveKey& k1 = m_keys[seg + 1];
    if (time >= k1.time)
        return k1.value;
    if (time <= k0.time || isStep(seg))
        return k0.value;

    const float d = k1.time - k0.time;
    const float s = (time - k0.time) / d;
    const float s2 = s * s, s3 = s2 * s;
    return (2 * s3 - 3 * s2 + 1) * k0.value + (s3 - 2 * s2 + s) * d * m_outSlope[seg] +
           (3 * s2 - 2 * s3) * k1.value + (s3 - s2) * d * m_inSlope[seg + 1];
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
    const float start = startTime();
    const float period = endTime() - start;
    direction = 1;
    const bool mirror = mode == Extrapolation::Oscillate;
    const float range = mirror ? 2 * period : period;
    float offset = std::fmod(time - start, range);
    if (offset < 0)
        offset += range;
    // The second half of an oscillation runs backwards.
    if (mirror && offset > period) {
        offset = range - offset;
        direction = -1;
    }
    return start + offset;
}

float AnimationCurve::evaluate(float time) const
{
    if (m_keys.empty())
        return 0;
    if (m_keys.size() == 1)
        return m_keys.front().value;

    float direction = 1;
    if (time < startTime()) {
        if (m_pre == Extrapolation::Constant)
            return m_keys.front().value;
        if (m_pre == Extrapolation::Linear)
            return m_keys.front().value + preGradient() * (time - startTime());
        time = foldTime(time, m_pre, direction);
    } else if (time > endTime()) {
        if (m_post == Extrapolation::Constant)
            return m_keys.back().value;
        if (m_post == Extrapolation::Linear)
            return m_keys.back().value + postGradient() * (time - endTime());
        time = foldTime(time, m_post, direction);
    }
    return segmentValue(segmentAt(time), time);
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

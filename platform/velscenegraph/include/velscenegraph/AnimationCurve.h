#pragma once

#include <velutils/VelPoint2D.h>

#include <cstddef>
#include <vector>

namespace sg {

// How a key's tangent on one side is chosen.
enum class TangentType {
    Fixed = 0,   // the stored slope
    Linear = 1,  // straight at the neighbouring key on that side
    Flat = 2,    // zero slope
    Step = 3,    // as an out-type: hold this key's value until the next key
    Smooth = 4,  // average of the neighbouring secants, zero at a peak or dip
};

// What the curve does before its first key and after its last.
enum class Extrapolation { Constant = 0, Linear = 1, Cycle = 2, Oscillate = 3 };

struct CurveKey {
    float time = 0, value = 0;
    TangentType inType = TangentType::Smooth, outType = TangentType::Smooth;
    float inSlope = 0, outSlope = 0;  // value per frame, used by Fixed tangents
};

// A keyed animation curve: cubic Hermite segments between keys, in frames.
class AnimationCurve {
public:
    AnimationCurve() = default;
    // Keys are sorted by time; of several keys at one time only the last given is kept.
    // Keys with a non-finite time are dropped.
    AnimationCurve(std::vector<CurveKey> keys, Extrapolation pre = Extrapolation::Constant,
                   Extrapolation post = Extrapolation::Constant);

    // Value at any time, extrapolating outside the keys. 0 with no keys.
    float evaluate(float time) const;
    // Derivative of evaluate() in value per frame.
    float slopeAt(float time) const;
    // Resolved in-slope of the first key and out-slope of the last; 0 with fewer than two keys.
    float preGradient() const;
    float postGradient() const;

    // Replaces `out` with points along [startTime, endTime] whose polyline follows the curve within
    // toleranceY, except on spans narrower than toleranceX. Every key is included; a step gives
    // both ends of its jump. Points are sorted by x with no duplicates.
    void sample(float toleranceX, float toleranceY, std::vector<Velutils::VelPoint2D>& out) const;

    const std::vector<CurveKey>& keys() const { return m_keys; }
    Extrapolation preExtrapolation() const { return m_pre; }
    Extrapolation postExtrapolation() const { return m_post; }
    float startTime() const { return m_keys.empty() ? 0.0f : m_keys.front().time; }
    float endTime() const { return m_keys.empty() ? 0.0f : m_keys.back().time; }

private:
    void resolveSlopes();
    bool isStep(std::size_t seg) const;
    std::size_t segmentAt(float time) const;
    float segmentValue(std::size_t seg, float time) const;
    float segmentSlope(std::size_t seg, float time) const;
    float foldTime(float time, Extrapolation mode, float& direction) const;
    void subdivide(std::size_t seg, Velutils::VelPoint2D a, Velutils::VelPoint2D b, float tolX,
                   float tolY, int depth, std::vector<Velutils::VelPoint2D>& out) const;

    std::vector<CurveKey> m_keys;
    std::vector<float> m_inSlope, m_outSlope;  // resolved, one per key
    Extrapolation m_pre = Extrapolation::Constant;
    Extrapolation m_post = Extrapolation::Constant;
};

}  // namespace sg

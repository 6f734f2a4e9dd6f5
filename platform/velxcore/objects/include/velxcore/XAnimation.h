#pragma once

#include <velxcore/XAttribute.h>
#include <velxcore/XKeyframe.h>
#include <velxcore/XObject.h>

#include <velutils/VelPoint2D.h>
#include <velutils/Vector.h>

#include <vector>

namespace VelX {

// The animation curve object that drives one animated attribute.
class XAnimation : public XObject {
public:
    static const std::wstring TypeID;
    XAnimation() = default;
    explicit XAnimation(const XObject& object);

    int KeyframeCount() const;
    XKeyframe Keyframe(int index) const;
    XAttribute PreExtrapolation() const;   // enumeration: constant, linear, cycle, oscillate
    XAttribute PostExtrapolation() const;
    XAttribute PreGradient() const;        // slope used before the first key by linear extrapolation
    XAttribute PostGradient() const;
    XAttribute Keys() const;
    XAttribute Output() const;
    // Points of the curve from its first to its last key, placed where it bends, within both
    // tolerances (frames, value units) of the true curve.
    void CurvePoints(Velutils::Vector<Velutils::VelPoint2D>& out, float toleranceX, float toleranceY) const;
    float Evaluate(float frame) const;
    // Adds a key or replaces the key at the same frame; returns its handle.
    XKeyframe AddKeyframe(float frame, float value);
    // Adds many keys as one edit of the curve (frames and values pair up, finite): a key at a
    // frame that has one replaces its value; the keys end in time order.
    bool AddKeyframes(const std::vector<float>& frames, const std::vector<float>& values);
    bool RemoveKeyframe(int index);
};

}  // namespace VelX

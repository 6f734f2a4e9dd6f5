#pragma once

// The mathematics of a keyed curve, written once over any sequence of keys: the curve object
// (AnimationCurve) and the evaluator that reads keys where the database stores them
// (PackedKeyCurve) call the same code, so both give the same numbers to the last bit.
//
// `Keys` offers size(), time(i), value(i), inType(i), outType(i), inSlope(i) and outSlope(i);
// its times are finite, strictly increasing.

#include <velscenegraph/AnimationCurve.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace sg::curve {

template <class Keys> float secant(const Keys& k, std::size_t from, std::size_t to) {
    return (k.value(to) - k.value(from)) / (k.time(to) - k.time(from));
}

// The slope a key's tangent takes on one side, from its type and its neighbours.
template <class Keys> float resolveSlope(const Keys& k, std::size_t i, bool in) {
    const bool hasPrev = i > 0;
    const bool hasNext = i + 1 < k.size();
    if (!hasPrev && !hasNext) return 0;
    // The lone secant at either end of the curve.
    const float endSecant = hasPrev ? secant(k, i - 1, i) : secant(k, i, i + 1);
    switch (in ? k.inType(i) : k.outType(i)) {
    case TangentType::Fixed: return in ? k.inSlope(i) : k.outSlope(i);
    case TangentType::Flat:
    case TangentType::Step: return 0;
    case TangentType::Linear:
        if (in && hasPrev) return secant(k, i - 1, i);
        if (!in && hasNext) return secant(k, i, i + 1);
        return endSecant;  // no key on that side: carry the line on
    case TangentType::Smooth: {
        if (!hasPrev || !hasNext) return endSecant;
        const float left = secant(k, i - 1, i), right = secant(k, i, i + 1);
        if (!(left * right > 0)) return 0;  // peak, dip or plateau
        const float slope = (k.value(i + 1) - k.value(i - 1)) / (k.time(i + 1) - k.time(i - 1));
        // Keep both neighbouring segments monotone so the curve cannot overshoot a key.
        const float limit = 3 * std::min(std::fabs(left), std::fabs(right));
        return std::clamp(slope, -limit, limit);
    }
    }
    return 0;
}

template <class Keys> bool isStep(const Keys& k, std::size_t seg) {
    return k.outType(seg) == TangentType::Step || k.inType(seg + 1) == TangentType::Step;
}

// The segment (first key) holding `time`: the last key at or before it, kept within the keys.
// Needs two keys or more.
template <class Keys> std::size_t segmentAt(const Keys& k, float time) {
    std::size_t first = 0, count = k.size();
    while (count > 0) {  // upper bound: the first key after `time`
        const std::size_t half = count / 2;
        if (!(time < k.time(first + half))) {
            first += half + 1;
            count -= half + 1;
        } else {
            count = half;
        }
    }
    return std::min(first > 0 ? first - 1 : 0, k.size() - 2);
}

// The same, trying the segment of the previous evaluation and the next one first: playback moves
// from one segment to the next.
template <class Keys> std::size_t segmentNear(const Keys& k, float time, std::size_t hint) {
    const std::size_t last = k.size() - 2;
    for (std::size_t seg = hint; seg <= last && seg <= hint + 1; ++seg) {
        const bool afterStart = seg == 0 || !(time < k.time(seg));
        const bool beforeEnd = seg == last || time < k.time(seg + 1);
        if (afterStart && beforeEnd) return seg;
    }
    return segmentAt(k, time);
}

// The cubic Hermite segment between keys seg and seg + 1, given their resolved slopes.
template <class Keys> float segmentValue(const Keys& k, std::size_t seg, float time, float outSlope, float inSlope) {
    const float t0 = k.time(seg), t1 = k.time(seg + 1);
    if (time >= t1) return k.value(seg + 1);
    if (time <= t0 || isStep(k, seg)) return k.value(seg);
    const float d = t1 - t0;
    const float s = (time - t0) / d;
    const float s2 = s * s, s3 = s2 * s;
    return (2 * s3 - 3 * s2 + 1) * k.value(seg) + (s3 - 2 * s2 + s) * d * outSlope + (3 * s2 - 2 * s3) * k.value(seg + 1) +
           (s3 - s2) * d * inSlope;
}

// Where a time outside the keys falls inside them when the curve cycles or oscillates;
// `direction` is -1 on the backward half of an oscillation.
template <class Keys> float foldTime(const Keys& k, float time, Extrapolation mode, float& direction) {
    const float start = k.time(0);
    const float period = k.time(k.size() - 1) - start;
    direction = 1;
    const bool mirror = mode == Extrapolation::Oscillate;
    const float range = mirror ? 2 * period : period;
    float offset = std::fmod(time - start, range);
    if (offset < 0) offset += range;
    // The second half of an oscillation runs backwards.
    if (mirror && offset > period) {
        offset = range - offset;
        direction = -1;
    }
    return start + offset;
}

// The curve's value at any time, extrapolating outside its keys; `segment` is the segment the
// previous call used and receives the one this call used.
template <class Keys> float evaluate(const Keys& k, Extrapolation pre, Extrapolation post, float time, std::size_t& segment) {
    const std::size_t n = k.size();
    if (n == 0) return 0;
    if (n == 1) return k.value(0);
    float direction = 1;
    if (time < k.time(0)) {
        if (pre == Extrapolation::Constant) return k.value(0);
        if (pre == Extrapolation::Linear) return k.value(0) + resolveSlope(k, 0, true) * (time - k.time(0));
        time = foldTime(k, time, pre, direction);
    } else if (time > k.time(n - 1)) {
        if (post == Extrapolation::Constant) return k.value(n - 1);
        if (post == Extrapolation::Linear) return k.value(n - 1) + resolveSlope(k, n - 1, false) * (time - k.time(n - 1));
        time = foldTime(k, time, post, direction);
    }
    segment = segmentNear(k, time, segment);
    return segmentValue(k, segment, time, resolveSlope(k, segment, false), resolveSlope(k, segment + 1, true));
}

}  // namespace sg::curve

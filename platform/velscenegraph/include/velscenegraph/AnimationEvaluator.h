#pragma once

#include <velscenegraph/AnimationCurve.h>

namespace db {
class Database;
}

namespace sg {

// Reads an animation node's keys and extrapolation into a curve.
class AnimationEvaluator {
public:
    static AnimationCurve curve(const db::Database& database, int animationNode);
    // The current time of the database, in frames (0 when no time attribute is set).
    static float currentTime(const db::Database& database);
};

}  // namespace sg

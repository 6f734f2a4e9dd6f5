#pragma once

#include <velscenegraph/AnimationCurve.h>

namespace db {
class Database;
class Node;
}

namespace sg {

// Reads an animation node's keys and extrapolation into a curve.
class AnimationEvaluator {
public:
    static AnimationCurve curve(const db::Database& database, int animationNode);
    // The animation node's value at the current time: the same number as curve().evaluate(),
    // read from the keys where they are stored when nothing drives them.
    static float output(const db::Database& database, const db::Node& animationNode);
    // The current time of the database, in frames (0 when no time attribute is set).
    static float currentTime(const db::Database& database);
};

}  // namespace sg

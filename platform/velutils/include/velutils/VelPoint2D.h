#pragma once

namespace Velutils {

// A point on a 2-D plot, such as a sampled animation curve (x = time, y = value).
struct VelPoint2D {
    float x = 0, y = 0;

    VelPoint2D() = default;
    VelPoint2D(float x_, float y_) : x(x_), y(y_) {}

    bool operator==(const VelPoint2D& o) const { return x == o.x && y == o.y; }
    bool operator!=(const VelPoint2D& o) const { return !(*this == o); }
};

}  // namespace Velutils

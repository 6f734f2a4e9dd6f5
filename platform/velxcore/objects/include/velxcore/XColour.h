#pragma once

namespace VelX {

// A colour as four floats in 0..1.
struct XColour {
    float r = 0.0f, g = 0.0f, b = 0.0f, a = 1.0f;
    XColour() = default;
    XColour(float red, float green, float blue, float alpha = 1.0f) : r(red), g(green), b(blue), a(alpha) {}
    bool operator==(const XColour& o) const { return r == o.r && g == o.g && b == o.b && a == o.a; }
};

}  // namespace VelX

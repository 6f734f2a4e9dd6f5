#pragma once

#include <wx/colour.h>

namespace wxUtils {

// Colour arithmetic shared by the custom-drawn controls. All helpers are static; getInstance() is
// there for code that prefers to reach them through an object.
class GUIServices {
public:
    static GUIServices* getInstance();

    // foreground * alpha + background * (1 - alpha), alpha clamped to 0..1 (NaN counts as 0); the
    // result is opaque. An invalid colour gives the other one (black when both are invalid).
    static wxColour alphaBlend(const wxColour& foreground, const wxColour& background, float alpha);

    // Relative luminance 0 (black) .. 1 (white), with the sRGB transfer curve.
    static double luminance(const wxColour& colour);
    // Contrast ratio of two colours, 1 .. 21.
    static double contrastRatio(const wxColour& first, const wxColour& second);
    // Black or white, whichever reads better on the background.
    static wxColour contrastingTextColour(const wxColour& background);

private:
    GUIServices() = default;
};

}  // namespace wxUtils

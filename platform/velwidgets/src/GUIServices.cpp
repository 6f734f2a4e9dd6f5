#include <velwidgets/GUIServices.h>

#include <algorithm>
#include <cmath>

namespace wxUtils {

namespace {

unsigned char mix(unsigned char foreground, unsigned char background, float alpha) {
    const float value = foreground * alpha + background * (1.0f - alpha);
    return static_cast<unsigned char>(std::clamp(std::lround(value), 0L, 255L));
}

double linearChannel(unsigned char channel) {
    const double c = channel / 255.0;
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

}  // namespace

GUIServices* GUIServices::getInstance() {
    static GUIServices instance;
    return &instance;
}

wxColour GUIServices::alphaBlend(const wxColour& foreground, const wxColour& background, float alpha) {
    if (!foreground.IsOk() && !background.IsOk()) return wxColour(0, 0, 0);
    if (!foreground.IsOk()) return wxColour(background.Red(), background.Green(), background.Blue());
    if (!background.IsOk()) return wxColour(foreground.Red(), foreground.Green(), foreground.Blue());
    alpha = (alpha >= 0.0f) ? std::min(alpha, 1.0f) : 0.0f;  // also sends NaN to 0
    return wxColour(mix(foreground.Red(), background.Red(), alpha), mix(foreground.Green(), background.Green(), alpha),
                    mix(foreground.Blue(), background.Blue(), alpha));
}

double GUIServices::luminance(const wxColour& colour) {
    if (!colour.IsOk()) return 0.0;
    return 0.2126 * linearChannel(colour.Red()) + 0.7152 * linearChannel(colour.Green()) +
           0.0722 * linearChannel(colour.Blue());
}

double GUIServices::contrastRatio(const wxColour& first, const wxColour& second) {
    const double a = luminance(first);
    const double b = luminance(second);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

wxColour GUIServices::contrastingTextColour(const wxColour& background) {
    const wxColour black(0, 0, 0);
    const wxColour white(255, 255, 255);
    return contrastRatio(background, black) >= contrastRatio(background, white) ? black : white;
}

}  // namespace wxUtils

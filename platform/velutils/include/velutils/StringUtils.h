#pragma once

#include <string>

namespace Velutils {

// Text conversions shared by the core: wide strings at the API, UTF-8 inside.
class StringUtils {
public:
    static std::string toUtf8(const std::wstring& text);
    static std::wstring toWide(const std::string& utf8);

    // "translateX" -> "Translate X", "playbackStartFrame" -> "Playback Start Frame".
    static std::string displayNameFromInternal(const std::string& internal);
    // "Translate X" -> "translateX"; characters other than letters, digits and '_' are dropped.
    static std::string internalNameFromDisplay(const std::string& display);

    // Shortest decimal text of a number with at least minDecimals and at most maxDecimals places.
    static std::string formatNumber(double value, int minDecimals, int maxDecimals);
};

}  // namespace Velutils

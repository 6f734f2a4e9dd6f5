#include <velutils/StringUtils.h>

#include <cctype>
#include <cstdint>
#include <cmath>
#include <cstdio>

namespace Velutils {

std::string StringUtils::toUtf8(const std::wstring& text) {
    std::string out;
    out.reserve(text.size());
    for (wchar_t wc : text) {
        auto c = static_cast<std::uint32_t>(wc);
        if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

std::wstring StringUtils::toWide(const std::string& utf8) {
    std::wstring out;
    out.reserve(utf8.size());
    std::size_t i = 0;
    while (i < utf8.size()) {
        auto b = static_cast<unsigned char>(utf8[i]);
        int extra = b < 0x80 ? 0 : (b >> 5) == 0x6 ? 1 : (b >> 4) == 0xE ? 2 : (b >> 3) == 0x1E ? 3 : -1;
        if (extra < 0 || i + static_cast<std::size_t>(extra) >= utf8.size() + (extra == 0 ? 1 : 0)) {
            out += L'\uFFFD';
            ++i;
            continue;
        }
        std::uint32_t c = extra == 0 ? b : extra == 1 ? (b & 0x1F) : extra == 2 ? (b & 0x0F) : (b & 0x07);
        bool ok = true;
        for (int k = 1; k <= extra; ++k) {
            auto cb = static_cast<unsigned char>(utf8[i + static_cast<std::size_t>(k)]);
            if ((cb & 0xC0) != 0x80) {
                ok = false;
                break;
            }
            c = (c << 6) | (cb & 0x3F);
        }
        if (!ok) {
            out += L'\uFFFD';
            ++i;
            continue;
        }
        out += static_cast<wchar_t>(c);
        i += static_cast<std::size_t>(extra) + 1;
    }
    return out;
}

std::string StringUtils::displayNameFromInternal(const std::string& internal) {
    std::string out;
    for (std::size_t i = 0; i < internal.size(); ++i) {
        char c = internal[i];
        if (c == '_') {
            if (!out.empty() && out.back() != ' ') out += ' ';
            continue;
        }
        bool upper = std::isupper(static_cast<unsigned char>(c)) != 0;
        bool digit = std::isdigit(static_cast<unsigned char>(c)) != 0;
        bool prevLower = i > 0 && (std::islower(static_cast<unsigned char>(internal[i - 1])) != 0);
        bool prevDigit = i > 0 && (std::isdigit(static_cast<unsigned char>(internal[i - 1])) != 0);
        bool nextLower = i + 1 < internal.size() && std::islower(static_cast<unsigned char>(internal[i + 1]));
        bool prevUpper = i > 0 && std::isupper(static_cast<unsigned char>(internal[i - 1]));
        if (!out.empty() && out.back() != ' ' &&
            ((upper && (prevLower || prevDigit || (prevUpper && nextLower))) || (digit && !prevDigit)))
            out += ' ';
        out += out.empty() || out.back() == ' ' ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c;
    }
    return out;
}

std::string StringUtils::internalNameFromDisplay(const std::string& display) {
    std::string out;
    bool upperNext = false;
    for (char c : display) {
        auto u = static_cast<unsigned char>(c);
        if (c == ' ') {
            upperNext = !out.empty();
            continue;
        }
        if (!std::isalnum(u) && c != '_') continue;
        if (out.empty()) out += static_cast<char>(std::tolower(u));
        else out += upperNext ? static_cast<char>(std::toupper(u)) : c;
        upperNext = false;
    }
    return out;
}

std::string StringUtils::formatNumber(double value, int minDecimals, int maxDecimals) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    if (maxDecimals < minDecimals) maxDecimals = minDecimals;
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", maxDecimals, value);
    std::string text = buffer;
    std::size_t dot = text.find('.');
    if (dot != std::string::npos) {
        std::size_t keep = dot + 1 + static_cast<std::size_t>(minDecimals);
        while (text.size() > keep && text.back() == '0') text.pop_back();
        if (text.back() == '.') text.pop_back();
    }
    if (text == "-0" || text.rfind("-0.", 0) == 0) {
        bool allZero = text.find_first_not_of("-0.") == std::string::npos;
        if (allZero) text.erase(0, 1);
    }
    return text;
}

}  // namespace Velutils

#pragma once

#include <velxcore/XApplication.h>

#include <initializer_list>
#include <string>

// True when a log line written since `from` contains every one of the parts.
inline bool loggedSince(std::size_t from, std::initializer_list<std::wstring> parts) {
    const auto& lines = VelX::XApplication::Instance().LogLines();
    for (std::size_t i = from; i < lines.size(); ++i) {
        bool all = true;
        for (const std::wstring& part : parts) all = all && lines[i].find(part) != std::wstring::npos;
        if (all) return true;
    }
    return false;
}

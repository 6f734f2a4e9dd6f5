#pragma once

#include <functional>
#include <string>
#include <vector>

namespace VelX {

// The core's log: every service writes its messages for the user here, and the application passes
// them on to what it shows (its sink).
class XLog {
public:
    static void Write(const std::wstring& text);
    static void Write(const std::string& utf8Text);
    static const std::vector<std::wstring>& Lines();
    static void SetSink(std::function<void(const std::wstring&)> sink);
};

}  // namespace VelX

#pragma once

#include <functional>
#include <string>
#include <vector>

namespace VelX {

// The core's log: every service writes its messages for the user here, and the application passes
// them on to what it shows (its sink).
class XLog {
public:
    enum class Level { Information, Warning, Error };
    using Sink = std::function<void(const std::wstring& text, Level level)>;

    static void Write(const std::wstring& text, Level level = Level::Information);
    static void Write(const std::string& utf8Text, Level level = Level::Information);
    // Something the user asked for did not happen (a script failed, a file was refused).
    static void Error(const std::wstring& text) { Write(text, Level::Error); }
    static void Error(const std::string& utf8Text) { Write(utf8Text, Level::Error); }
    static const std::vector<std::wstring>& Lines();
    static void SetSink(Sink sink);
};

}  // namespace VelX

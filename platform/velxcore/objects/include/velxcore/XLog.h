#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace VelX {

// The core's log: every service writes its messages for the user here, and the application passes
// them on to what it shows (its sink). A line longer than LongestLine is cut, saying how much was
// left out; the history keeps the latest lines within HistoryLines and HistoryCharacters, so that
// nothing a script or a file writes can grow it without end.
class XLog {
public:
    static constexpr std::size_t LongestLine = 16 * 1024;
    static constexpr std::size_t HistoryLines = 10000;
    static constexpr std::size_t HistoryCharacters = 4 * 1024 * 1024;

    enum class Level { Information, Warning, Error };
    using Sink = std::function<void(const std::wstring& text, Level level)>;

    static void Write(const std::wstring& text, Level level = Level::Information);
    static void Write(const std::string& utf8Text, Level level = Level::Information);
    // Something the user asked for did not happen (a script failed, a file was refused).
    static void Error(const std::wstring& text) { Write(text, Level::Error); }
    static void Error(const std::string& utf8Text) { Write(utf8Text, Level::Error); }
    // The history, oldest first.
    static const std::vector<std::wstring>& Lines();
    static void SetSink(Sink sink);
};

}  // namespace VelX

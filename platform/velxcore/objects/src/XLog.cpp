#include <velxcore/XLog.h>

#include <velutils/StringUtils.h>

#include <algorithm>

namespace VelX {

namespace {

struct LogState {
    std::vector<std::wstring> lines;
    std::size_t characters = 0;  // in lines
    XLog::Sink sink;
};

LogState& state() {
    static LogState log;
    return log;
}

// Cuts a line past the longest allowed, saying how much was left out.
std::wstring bounded(const std::wstring& text) {
    if (text.size() <= XLog::LongestLine) return text;
    return text.substr(0, XLog::LongestLine) + L"... (" + std::to_wstring(text.size() - XLog::LongestLine) +
           L" more characters left out)";
}

// Drops the oldest quarter of the history at once once it is past either cap, so that keeping the
// history costs a constant time per line.
void trim(LogState& log) {
    if (log.lines.size() <= XLog::HistoryLines && log.characters <= XLog::HistoryCharacters) return;
    std::size_t drop = 0, dropped = 0;
    while (drop < log.lines.size() &&
           (log.lines.size() - drop > XLog::HistoryLines * 3 / 4 || log.characters - dropped > XLog::HistoryCharacters * 3 / 4))
        dropped += log.lines[drop++].size();
    log.lines.erase(log.lines.begin(), log.lines.begin() + static_cast<std::ptrdiff_t>(drop));
    log.characters -= dropped;
}

}  // namespace

void XLog::Write(const std::wstring& text, Level level) {
    LogState& log = state();
    const std::wstring line = bounded(text);
    log.lines.push_back(line);
    log.characters += line.size();
    trim(log);
    if (log.sink) log.sink(line, level);
}

void XLog::Write(const std::string& utf8Text, Level level) {
    // Cut before converting, so that a huge text is never copied whole.
    constexpr std::size_t MostBytes = LongestLine * 4 + 4;
    if (utf8Text.size() <= MostBytes) {
        Write(Velutils::StringUtils::toWide(utf8Text), level);
        return;
    }
    std::size_t cut = MostBytes;
    while (cut > 0 && (static_cast<unsigned char>(utf8Text[cut]) & 0xC0) == 0x80) --cut;  // whole characters
    std::wstring head = Velutils::StringUtils::toWide(utf8Text.substr(0, cut));
    head.resize(std::min(head.size(), LongestLine));
    Write(head + L"... (" + std::to_wstring(utf8Text.size() - cut) + L" more bytes left out)", level);
}

const std::vector<std::wstring>& XLog::Lines() { return state().lines; }

void XLog::SetSink(Sink sink) { state().sink = std::move(sink); }

}  // namespace VelX

#include <velxcore/XLog.h>

#include <velutils/StringUtils.h>

namespace VelX {

namespace {
struct LogState {
    std::vector<std::wstring> lines;
    XLog::Sink sink;
};

LogState& state() {
    static LogState log;
    return log;
}
}  // namespace

void XLog::Write(const std::wstring& text, Level level) {
    LogState& log = state();
    log.lines.push_back(text);
    if (log.sink) log.sink(text, level);
}

void XLog::Write(const std::string& utf8Text, Level level) { Write(Velutils::StringUtils::toWide(utf8Text), level); }

const std::vector<std::wstring>& XLog::Lines() { return state().lines; }

void XLog::SetSink(Sink sink) { state().sink = std::move(sink); }

}  // namespace VelX

#include <velxcore/XLog.h>

#include <velutils/StringUtils.h>

namespace VelX {

namespace {
struct LogState {
    std::vector<std::wstring> lines;
    std::function<void(const std::wstring&)> sink;
};

LogState& state() {
    static LogState log;
    return log;
}
}  // namespace

void XLog::Write(const std::wstring& text) {
    LogState& log = state();
    log.lines.push_back(text);
    if (log.sink) log.sink(text);
}

void XLog::Write(const std::string& utf8Text) { Write(Velutils::StringUtils::toWide(utf8Text)); }

const std::vector<std::wstring>& XLog::Lines() { return state().lines; }

void XLog::SetSink(std::function<void(const std::wstring&)> sink) { state().sink = std::move(sink); }

}  // namespace VelX

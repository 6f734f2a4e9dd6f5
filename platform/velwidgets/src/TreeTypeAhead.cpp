#include <velwidgets/TreeTypeAhead.h>

#include <chrono>

namespace wxUtils {

namespace {
long long steadyMilliseconds() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}
}  // namespace

TreeTypeAhead::TreeTypeAhead() : m_clock(steadyMilliseconds) {}

void TreeTypeAhead::setClock(Clock clock) { m_clock = clock ? std::move(clock) : Clock(steadyMilliseconds); }

const wxString& TreeTypeAhead::type(wxChar c) {
    const long long now = m_clock();
    if (!m_typed || now - m_lastKey > PauseMs) m_word.clear();
    m_typed = true;
    m_lastKey = now;
    m_word += c;
    return m_word;
}

}  // namespace wxUtils

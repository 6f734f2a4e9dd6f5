#include <velxcore/XLog.h>
#include <velxcore/XScriptLogAllowance.h>

#include <algorithm>

namespace VelX {

void XScriptLogAllowance::Start(const Limits& limits, std::string droppedNote) {
    m_limits = limits;
    m_droppedNote = std::move(droppedNote);
    m_linesLeft = limits.lines;
    m_bytesLeft = limits.bytes;
    m_usedUp = false;
}

std::size_t XScriptLogAllowance::Write(const std::string& text) {
    if (m_usedUp) return 0;
    std::size_t keep = text.size();
    if (m_limits.longestLine > 0) keep = std::min(keep, m_limits.longestLine);
    if (m_limits.bytes > 0) keep = std::min(keep, m_bytesLeft);
    while (keep > 0 && keep < text.size() && (static_cast<unsigned char>(text[keep]) & 0xC0) == 0x80) --keep;  // whole characters
    if (keep < text.size()) XLog::Write(text.substr(0, keep) + "...");
    else XLog::Write(text);
    if (m_limits.bytes > 0) m_bytesLeft -= std::min(m_bytesLeft, std::max<std::size_t>(keep, 1));
    if (m_linesLeft > 0) --m_linesLeft;
    if (m_linesLeft == 0 || (m_limits.bytes > 0 && m_bytesLeft == 0)) {
        m_usedUp = true;
        XLog::Write(m_droppedNote);
    }
    return keep;
}

}  // namespace VelX

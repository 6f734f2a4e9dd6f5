#include "XTextCursor.h"

#include <algorithm>

namespace VelX {

std::string XTextCursor::where(std::size_t byte) const {
    const std::size_t at = std::min(byte, m_text.size());
    const std::size_t line = 1 + static_cast<std::size_t>(std::count(m_text.begin(), m_text.begin() + at, '\n'));
    const std::size_t lineStart = at == 0 ? 0 : m_text.rfind('\n', at - 1);
    const std::size_t column = lineStart == std::string_view::npos ? at + 1 : at - lineStart;
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

// Inside a JSON string every quote is escaped by an odd run of backslashes; the opening quote is
// the first one back from the end that is not.
std::size_t XTextCursor::stringStart(std::size_t end) const {
    if (end < 2 || end > m_text.size()) return 0;
    for (std::size_t q = end - 1; q-- > 0;) {
        if (m_text[q] != '"') continue;
        std::size_t slashes = 0;
        while (slashes < q && m_text[q - 1 - slashes] == '\\') ++slashes;
        if (slashes % 2 == 0) return q;
    }
    return 0;
}

// Counts the elements at the list's own depth; an empty one (",,") is no JSON, and then nothing is
// promised, so that a text of commas cannot ask for room.
std::size_t XTextCursor::elementsAhead() const {
    std::size_t elements = 0, depth = 0;
    bool inElement = false;
    for (std::size_t k = offset(); k < m_text.size(); ++k) {
        const char c = m_text[k];
        switch (c) {
        case ' ':
        case '\n':
        case '\r':
        case '\t': continue;
        case ',':
            if (depth > 0) continue;
            if (!inElement) return 0;
            inElement = false;
            continue;
        case ']':
        case '}':
            if (depth > 0) {
                --depth;
                continue;
            }
            return elements;
        default: break;
        }
        if (!inElement && depth == 0) ++elements;
        inElement = true;
        if (c == '[' || c == '{') ++depth;
        if (c == '"')
            for (++k; k < m_text.size() && m_text[k] != '"'; ++k)
                if (m_text[k] == '\\') ++k;
    }
    return elements;
}

}  // namespace VelX

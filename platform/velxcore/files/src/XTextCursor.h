#pragma once

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

namespace VelX {

// Walks a text for the JSON parser and keeps how far it has read, so that whoever handles the
// parse events can name the line and column of what it refuses.
class XTextCursor {
public:
    explicit XTextCursor(std::string_view text) : m_text(text), m_at(text.data()) {}

    // The parser's view of the text: each step forward is recorded in the cursor.
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = char;
        using difference_type = std::ptrdiff_t;
        using pointer = const char*;
        using reference = const char&;

        Iterator(const char* at, const char** mirror) : m_at(at), m_mirror(mirror) {}
        reference operator*() const { return *m_at; }
        Iterator& operator++() {
            *m_mirror = ++m_at;
            return *this;
        }
        bool operator==(const Iterator& other) const { return m_at == other.m_at; }
        bool operator!=(const Iterator& other) const { return m_at != other.m_at; }

    private:
        const char* m_at;
        const char** m_mirror;
    };

    Iterator begin() { return Iterator(m_text.data(), &m_at); }
    Iterator end() { return Iterator(m_text.data() + m_text.size(), &m_at); }

    std::string_view text() const { return m_text; }
    std::size_t offset() const { return static_cast<std::size_t>(m_at - m_text.data()); }
    // "line 12, column 5" for the byte at that offset (columns count bytes, from 1).
    std::string where(std::size_t byte) const;
    // The offset of the opening quote of the string whose closing quote is just before `end`.
    std::size_t stringStart(std::size_t end) const;
    // How many elements the JSON list whose '[' was just read has, counted in the text ahead (a
    // list's room can then be made once); a guess when the text is not JSON.
    std::size_t elementsAhead() const;

private:
    std::string_view m_text;
    const char* m_at;
};

}  // namespace VelX

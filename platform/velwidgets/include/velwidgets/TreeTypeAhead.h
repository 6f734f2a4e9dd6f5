#pragma once

#include <wx/string.h>

#include <functional>

namespace wxUtils {

// The prefix typed so far to find a row by its label. Keys typed within a second of each other
// make one word; a longer pause starts a new one. The clock is the steady clock in milliseconds
// unless another is given (tests advance their own).
class TreeTypeAhead {
public:
    using Clock = std::function<long long()>;
    static constexpr long long PauseMs = 1000;

    TreeTypeAhead();
    void setClock(Clock clock);

    // Adds the key to the word (starting a new word after a pause) and returns the word.
    const wxString& type(wxChar c);
    // Whether the word is one key long: a new search, which starts after the focus row.
    bool isNewWord() const { return m_word.length() == 1; }

private:
    Clock m_clock;
    wxString m_word;
    long long m_lastKey = 0;
    bool m_typed = false;
};

}  // namespace wxUtils

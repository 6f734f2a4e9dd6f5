#pragma once

#include <cstddef>
#include <string>

namespace VelX {

// What one script run may write to the application log: a number of lines and of bytes, each line
// at most so long (cut with "..."). The write that uses the allowance up is followed by one line
// that says the rest of the run's lines are dropped. Without limits every line is written whole.
class XScriptLogAllowance {
public:
    struct Limits {
        int lines = -1;               // negative: no limit
        std::size_t bytes = 0;        // 0: no limit
        std::size_t longestLine = 0;  // 0: no limit
    };

    // Starts a run with the limits; droppedNote is the line written once the allowance is used up.
    void Start(const Limits& limits, std::string droppedNote);
    // Writes the line to the log when the run may still write; returns the bytes written.
    std::size_t Write(const std::string& text);
    bool IsUsedUp() const { return m_usedUp; }

private:
    Limits m_limits;
    std::string m_droppedNote;
    int m_linesLeft = -1;
    std::size_t m_bytesLeft = 0;
    bool m_usedUp = false;
};

}  // namespace VelX

#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace VelX {

// Reads a whole file that a stranger may have named: only a regular file is read (a FIFO would
// block for ever, a device may never end), and only up to a size the caller allows, checked
// before the text is read and again while it is, since the file may grow meanwhile.
class XRegularFile {
public:
    // Told the bytes read so far and the size the file had when it was opened.
    using Progress = std::function<void(std::size_t done, std::size_t total)>;

    // On failure the message names the file and the reason ("cannot open '/x/a.velx': No such file
    // or directory", "'/x/pipe' is not a regular file (it is a FIFO)").
    static bool Read(const std::string& path, std::size_t maxBytes, std::string& text, std::string& error,
                     const Progress& progress = nullptr);
};

}  // namespace VelX

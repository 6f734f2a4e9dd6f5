#include "XRegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace VelX {

namespace {

const char* kindOf(mode_t mode) {
    if (S_ISDIR(mode)) return "a folder";
    if (S_ISFIFO(mode)) return "a FIFO";
    if (S_ISCHR(mode)) return "a character device";
    if (S_ISBLK(mode)) return "a block device";
    if (S_ISSOCK(mode)) return "a socket";
    return "not a file";
}

std::string tooLarge(const std::string& path, std::size_t size, std::size_t maxBytes) {
    return "'" + path + "' is too large: " + std::to_string(size) + " bytes, more than the " + std::to_string(maxBytes) +
           " a file may have";
}

// Closes the descriptor however the read ends.
struct Descriptor {
    int fd;
    ~Descriptor() {
        if (fd >= 0) ::close(fd);
    }
};

}  // namespace

bool XRegularFile::Read(const std::string& path, std::size_t maxBytes, std::string& text, std::string& error,
                        const Progress& progress) {
    text.clear();
    // Not blocking: opening a FIFO for reading would otherwise wait for a writer.
    Descriptor file{::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK)};
    if (file.fd < 0) {
        error = "cannot open '" + path + "': " + std::strerror(errno);
        return false;
    }
    struct stat info {};
    if (::fstat(file.fd, &info) != 0) {
        error = "cannot read '" + path + "': " + std::strerror(errno);
        return false;
    }
    if (!S_ISREG(info.st_mode)) {
        error = "'" + path + "' is not a regular file (it is " + kindOf(info.st_mode) + ")";
        return false;
    }
    const std::size_t size = info.st_size > 0 ? static_cast<std::size_t>(info.st_size) : 0;
    if (size > maxBytes) {
        error = tooLarge(path, size, maxBytes);
        return false;
    }
    const int flags = ::fcntl(file.fd, F_GETFL);
    if (flags >= 0) (void)::fcntl(file.fd, F_SETFL, flags & ~O_NONBLOCK);

    text.reserve(size);
    constexpr std::size_t ProgressStep = std::size_t(1) << 22;  // bytes between two progress reports
    std::size_t reported = 0;
    if (progress) progress(0, size);
    char buffer[1 << 16];
    for (;;) {
        const ssize_t n = ::read(file.fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            error = "cannot read '" + path + "': " + std::strerror(errno);
            return false;
        }
        if (n == 0) break;
        // The file may grow while it is read.
        if (static_cast<std::size_t>(n) > maxBytes - text.size()) {
            error = tooLarge(path, text.size() + static_cast<std::size_t>(n), maxBytes);
            text = std::string();
            return false;
        }
        text.append(buffer, static_cast<std::size_t>(n));
        if (progress && text.size() - reported >= ProgressStep) {
            reported = text.size();
            progress(reported, size);
        }
    }
    return true;
}

}  // namespace VelX

#include <velxcore/XAtomicFile.h>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace VelX {

namespace {

std::string osError(const char* step, const std::string& path, int code) {
    return std::string(step) + " '" + path + "': " + std::strerror(code);
}

bool writeAll(int fd, std::string_view text) {
    std::size_t done = 0;
    while (done < text.size()) {
        ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n == 0) errno = EIO;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

constexpr std::string_view TempMark = ".tmp-";

// Reads the digits at text[from]; false when there are none or too many for a pid.
bool readNumber(std::string_view text, std::size_t& from, long& value) {
    const std::size_t start = from;
    value = 0;
    while (from < text.size() && text[from] >= '0' && text[from] <= '9' && from - start < 10)
        value = value * 10 + (text[from++] - '0');
    return from > start && (from == text.size() || text[from] < '0' || text[from] > '9');
}

// "<target>.tmp-<pid>-<n>" or, from earlier builds, "<target>.tmp-<pid>": the pid, or 0 when the
// name is not one of ours. An empty target accepts any.
long writerOf(std::string_view name, std::string_view target) {
    const std::size_t mark = target.empty() ? name.rfind(TempMark) : target.size();
    if (mark == std::string_view::npos || mark == 0 || mark + TempMark.size() > name.size()) return 0;
    if ((!target.empty() && name.substr(0, mark) != target) || name.substr(mark, TempMark.size()) != TempMark) return 0;
    std::size_t at = mark + TempMark.size();
    long pid = 0, sequence = 0;
    if (!readNumber(name, at, pid)) return 0;
    if (at < name.size() && (name[at] != '-' || !readNumber(name, ++at, sequence) || at != name.size())) return 0;
    return pid;
}

bool runsHere(long pid) { return pid > 0 && (::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM); }

// Removes the file when nobody holds its lock, and only the file that was checked: the lock is
// taken on what was opened, and the name must still lead there.
bool removeIfUnlocked(int dir, const char* name) {
    const int fd = ::openat(dir, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) return false;
    struct stat opened {}, named {};
    bool removed = false;
    if (::fstat(fd, &opened) == 0 && S_ISREG(opened.st_mode) && ::flock(fd, LOCK_EX | LOCK_NB) == 0 &&
        ::fstatat(dir, name, &named, AT_SYMLINK_NOFOLLOW) == 0 && named.st_dev == opened.st_dev &&
        named.st_ino == opened.st_ino)
        removed = ::unlinkat(dir, name, 0) == 0;
    ::close(fd);
    return removed;
}

// Removes the stale temporary files of `target` in the folder, or of every file when it is empty.
int removeStale(const std::string& folder, std::string_view target) {
    DIR* listing = ::opendir(folder.c_str());
    if (!listing) return 0;
    int removed = 0;
    while (const dirent* entry = ::readdir(listing)) {
        const long pid = writerOf(entry->d_name, target);
        if (pid > 0 && !runsHere(pid) && removeIfUnlocked(::dirfd(listing), entry->d_name)) ++removed;
    }
    ::closedir(listing);
    return removed;
}

// A new temporary file beside the target, locked for as long as it stays open.
int createTemporary(const std::string& path, std::string& temp) {
    static std::atomic<unsigned> sequence{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        temp = path + std::string(TempMark) + std::to_string(::getpid()) + "-" + std::to_string(++sequence);
        const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (fd < 0 && errno == EEXIST) continue;
        // A file system without locks still gets the save; the pid in the name protects it here.
        if (fd >= 0) (void)::flock(fd, LOCK_EX | LOCK_NB);
        return fd;
    }
    errno = EEXIST;
    return -1;
}

}  // namespace

int XAtomicFile::RemoveStaleTemporaries(const std::string& folder) { return removeStale(folder, {}); }

bool XAtomicFile::Write(const std::string& path, const std::string& text, std::string& error, Folders folders) {
    return WriteInPieces(path, [&](const Piece& write) { write(text); }, error, folders);
}

bool XAtomicFile::WriteInPieces(const std::string& path, const Producer& produce, std::string& error, Folders folders) {
    // Only a regular file is replaced: renaming over a device, a pipe or a folder would put a file
    // where the system keeps something else (as root, saving to /dev/null would replace the device).
    struct stat existing {};
    if (::stat(path.c_str(), &existing) == 0 && !S_ISREG(existing.st_mode)) {
        error = "'" + path + "' is not a regular file (" +
                (S_ISDIR(existing.st_mode) ? "a folder" : S_ISFIFO(existing.st_mode) ? "a pipe" : "a device or special file") +
                "); only a file can be saved over";
        return false;
    }
    const std::string folder = folderOf(path);
    std::error_code ec;
    if (folders == Folders::Make) std::filesystem::create_directories(folder, ec);
    if (ec) {
        error = "cannot create the folder '" + folder + "': " + ec.message();
        return false;
    }
    const std::string name = path.substr(path.rfind('/') + 1);
    if (!name.empty()) removeStale(folder, name);
    std::string temp;
    int fd = createTemporary(path, temp);
    if (fd < 0) {
        error = osError("cannot create", temp, errno);
        return false;
    }
    struct stat old {};
    if (::stat(path.c_str(), &old) == 0 && S_ISREG(old.st_mode)) (void)::fchmod(fd, old.st_mode & 07777);
    const char* step = nullptr;
    std::string stepPath = temp;
    int code = 0;
    try {
        produce([&](std::string_view piece) {
            if (!step && !writeAll(fd, piece)) {
                step = "cannot write";
                code = errno;
            }
            return !step;
        });
    } catch (...) {
        ::close(fd);
        ::unlink(temp.c_str());
        throw;
    }
    if (!step && ::fsync(fd) != 0) {
        step = "cannot flush";
        code = errno;
    }
    // A network or full file system may report a lost write only at close.
    if (::close(fd) != 0 && !step) {
        step = "cannot close";
        code = errno;
    }
    if (!step && ::rename(temp.c_str(), path.c_str()) != 0) {
        step = "cannot replace";
        stepPath = path;
        code = errno;
    }
    if (step) {
        ::unlink(temp.c_str());
        error = osError(step, stepPath, code);
        return false;
    }
    int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        // File systems that cannot flush a folder say so; that is no failure of the save.
        const bool synced = ::fsync(dir) == 0 || errno == EINVAL || errno == ENOTSUP;
        code = errno;
        ::close(dir);
        if (!synced) {
            error = osError("saved, but cannot flush the folder", folder, code);
            return false;
        }
    }
    return true;
}

}  // namespace VelX

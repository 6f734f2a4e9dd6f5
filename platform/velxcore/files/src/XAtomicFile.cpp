#include <velxcore/XAtomicFile.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace VelX {

namespace {

std::string osError(const char* step, const std::string& path, int code) {
    return std::string(step) + " '" + path + "': " + std::strerror(code);
}

bool writeAll(int fd, const std::string& text) {
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

}  // namespace

bool XAtomicFile::Write(const std::string& path, const std::string& text, std::string& error, Folders folders) {
    const std::string folder = folderOf(path);
    std::error_code ec;
    if (folders == Folders::Make) std::filesystem::create_directories(folder, ec);
    if (ec) {
        error = "cannot create the folder '" + folder + "': " + ec.message();
        return false;
    }
    const std::string temp = path + ".tmp-" + std::to_string(::getpid());
    int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) {
        error = osError("cannot create", temp, errno);
        return false;
    }
    struct stat old {};
    if (::stat(path.c_str(), &old) == 0 && S_ISREG(old.st_mode)) (void)::fchmod(fd, old.st_mode & 07777);
    const char* step = nullptr;
    std::string stepPath = temp;
    if (!writeAll(fd, text)) step = "cannot write";
    else if (::fsync(fd) != 0) step = "cannot flush";
    int code = errno;
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

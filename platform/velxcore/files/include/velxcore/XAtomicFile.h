#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace VelX {

// Writes a whole file so that a crash or a full disk at any moment leaves either the complete old
// file or the complete new one: the text goes to a temporary file beside the target, is flushed
// to disk, renamed over the target, and the folder is flushed so that the rename survives too.
// Scenes, autosaved copies and the settings all go through here.
class XAtomicFile {
public:
    // Missing folders on the way are made only when asked (the settings' own folder; a scene's
    // folder is the user's choice and must exist). A file being replaced keeps its permissions; a new one
    // gets the usual ones (0666 less the umask). On failure the target is untouched, no temporary
    // file is left behind and the message says which step failed on which path and why
    // ("cannot flush '/x/scene.json.tmp-42-1': No space left on device").
    // Temporary files left beside the target by saves that were killed are removed first (see
    // RemoveStaleTemporaries).
    enum class Folders { MustExist, Make };
    static bool Write(const std::string& path, const std::string& text, std::string& error,
                      Folders folders = Folders::MustExist);

    // The same with the text handed over in pieces as it is made, so that a large file is never
    // held whole: `produce` passes each piece to `write` in order, and stops when `write` returns
    // false (the file could not take it; WriteInPieces then says why). Should `produce` throw,
    // the temporary file is removed and the target untouched.
    using Piece = std::function<bool(std::string_view piece)>;
    using Producer = std::function<void(const Piece& write)>;
    static bool WriteInPieces(const std::string& path, const Producer& produce, std::string& error,
                              Folders folders = Folders::MustExist);

    // A temporary file is named "<target>.tmp-<pid>-<n>" and its writer holds an exclusive lock
    // (flock) on it until it is renamed. The kernel drops the lock when the writer dies, however
    // it dies, so a temporary file whose lock can be taken is stale; the pid in the name keeps a
    // file that its writer on this machine has just made and not yet locked, and the files of
    // earlier builds ("<target>.tmp-<pid>"), which took no lock. Write removes the stale ones of
    // its own target; this removes those of every file in a folder that holds only files written
    // here (the autosave folder). Returns how many were removed.
    static int RemoveStaleTemporaries(const std::string& folder);
};

}  // namespace VelX

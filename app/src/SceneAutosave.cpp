#include <velxstudio/SceneAutosave.h>

#include <velxcore/XApplication.h>
#include <velxcore/XAtomicFile.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneFile.h>

#include <wx/dir.h>
#include <wx/filefn.h>
#include <wx/filename.h>
#include <wx/textfile.h>
#include <wx/wfstream.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace {

const char* const LockPrefix = "session-";
const char* const LockExtension = ".lock";

wxString autosaveNameFor(const wxString& folder, long pid) {
    return wxFileName(folder, wxString::Format("autosave-%ld.velx", pid)).GetFullPath();
}

bool processRuns(long pid) {
    if (pid <= 0) return false;
    return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
}

}  // namespace

SceneAutosave::SceneAutosave(VelX::XScene& scene, const wxString& folder, int intervalSeconds)
    : m_scene(scene), m_folder(folder), m_timer(this) {
    const long pid = static_cast<long>(::getpid());
    wxFileName::Mkdir(m_folder, wxS_DIR_DEFAULT, wxPATH_MKDIR_FULL);
    // A crashed session's last autosave may have been cut short: its temporary file is of no use.
    VelX::XAtomicFile::RemoveStaleTemporaries(std::string(m_folder.utf8_str()));
    m_lockFile = wxFileName(m_folder, wxString::Format("%s%ld%s", LockPrefix, pid, LockExtension)).GetFullPath();
    m_autosaveFile = autosaveNameFor(m_folder, pid);
    writeLock();
    Bind(wxEVT_TIMER, &SceneAutosave::onTimer, this);
    if (intervalSeconds > 0) m_timer.Start(intervalSeconds * 1000);
}

SceneAutosave::~SceneAutosave() {
    m_timer.Stop();
    if (wxFileExists(m_autosaveFile)) wxRemoveFile(m_autosaveFile);
    if (wxFileExists(m_lockFile)) wxRemoveFile(m_lockFile);
}

bool SceneAutosave::writeLock() {
    // The lock names the scene file, written whole through a temporary file and a rename.
    wxTempFileOutputStream out(m_lockFile);
    const wxScopedCharBuffer text = m_sceneFile.utf8_str();
    out.Write(text.data(), text.length());
    return out.IsOk() && out.Commit();
}

void SceneAutosave::setSceneFile(const wxString& fileName) {
    if (fileName == m_sceneFile) return;
    m_sceneFile = fileName;
    writeLock();
}

bool SceneAutosave::writeNow() {
    if (!m_hasUnsavedChanges || !m_hasUnsavedChanges()) return false;
    std::string error;
    // The scene file writer goes through a temporary file, fsync and rename: never a torn copy.
    if (!VelX::XSceneFile::save(m_scene.Database().db(), std::string(m_autosaveFile.utf8_str()), error)) {
        const wxString message = wxString::Format("Autosave failed: %s", wxString::FromUTF8(error.c_str()));
        VelX::XApplication::Instance().LogInformation(message.wc_str());
        return false;
    }
    ++m_writes;
    return true;
}

void SceneAutosave::discard() {
    if (wxFileExists(m_autosaveFile)) wxRemoveFile(m_autosaveFile);
}

void SceneAutosave::onTimer(wxTimerEvent&) { writeNow(); }

std::vector<SceneAutosave::CrashedSession> SceneAutosave::findCrashedSessions(const wxString& folder) {
    std::vector<CrashedSession> sessions;
    if (!wxDirExists(folder)) return sessions;
    wxArrayString locks;
    wxDir::GetAllFiles(folder, &locks, wxString(LockPrefix) + "*" + LockExtension, wxDIR_FILES);
    for (const wxString& lock : locks) {
        wxString number = wxFileName(lock).GetName().Mid(wcslen(L"session-"));
        long pid = 0;
        if (!number.ToLong(&pid) || processRuns(pid)) continue;
        CrashedSession session;
        session.processId = pid;
        session.lockFile = lock;
        wxTextFile text;
        if (text.Open(lock) && text.GetLineCount() > 0) session.sceneFile = text.GetFirstLine();
        const wxString autosave = autosaveNameFor(folder, pid);
        if (wxFileExists(autosave)) {
            session.autosaveFile = autosave;
            session.savedAt = wxFileName(autosave).GetModificationTime();
        }
        sessions.push_back(session);
    }
    std::sort(sessions.begin(), sessions.end(), [](const CrashedSession& a, const CrashedSession& b) {
        if (a.autosaveFile.empty() != b.autosaveFile.empty()) return !a.autosaveFile.empty();
        return a.savedAt.IsValid() && b.savedAt.IsValid() && a.savedAt > b.savedAt;
    });
    return sessions;
}

void SceneAutosave::forget(const CrashedSession& session) {
    if (!session.autosaveFile.empty() && wxFileExists(session.autosaveFile)) wxRemoveFile(session.autosaveFile);
    if (wxFileExists(session.lockFile)) wxRemoveFile(session.lockFile);
}

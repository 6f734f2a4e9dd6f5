#pragma once

#include <wx/datetime.h>
#include <wx/event.h>
#include <wx/string.h>
#include <wx/timer.h>

#include <functional>
#include <vector>

namespace VelX {
class XScene;
}

// Keeps a copy of the open scene beside the user's settings while it has unsaved changes, so that a
// crash loses at most one interval of work. Each running studio owns a session lock file and an
// autosave file named after its process; a lock whose process is gone marks a crashed session whose
// autosave the next start offers back. A clean exit removes both files.
class SceneAutosave : public wxEvtHandler {
public:
    struct CrashedSession {
        long processId = 0;
        wxString lockFile;
        wxString autosaveFile;  // empty when the session crashed before its first autosave
        wxString sceneFile;     // the file the user was working on ("" for an unsaved scene)
        wxDateTime savedAt;
    };

    SceneAutosave(VelX::XScene& scene, const wxString& folder, int intervalSeconds = 60);
    ~SceneAutosave() override;

    // Asked at each interval whether the scene has changes the user has not saved.
    void setUnsavedChangesQuery(std::function<bool()> query) { m_hasUnsavedChanges = std::move(query); }
    // Writes the autosave now when there are unsaved changes; returns whether it wrote.
    bool writeNow();
    // The user saved, opened or started a scene: the old copy is of no use any more.
    void discard();
    // Records which file the user works on, for the recovery offer.
    void setSceneFile(const wxString& fileName);

    wxString autosaveFile() const { return m_autosaveFile; }
    wxString lockFile() const { return m_lockFile; }
    unsigned writeCount() const { return m_writes; }

    // Sessions in the folder whose process no longer runs, newest autosave first.
    static std::vector<CrashedSession> findCrashedSessions(const wxString& folder);
    // Removes a crashed session's files once the user has decided.
    static void forget(const CrashedSession& session);

private:
    void onTimer(wxTimerEvent& event);
    bool writeLock();

    VelX::XScene& m_scene;
    wxString m_folder;
    wxString m_lockFile;
    wxString m_autosaveFile;
    wxString m_sceneFile;
    wxTimer m_timer;
    std::function<bool()> m_hasUnsavedChanges;
    unsigned m_writes = 0;
};

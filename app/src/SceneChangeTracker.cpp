#include <velxstudio/SceneChangeTracker.h>

#include <velxcore/XApplication.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneChange.h>

SceneChangeTracker::SceneChangeTracker(VelX::XScene& scene) : m_scene(scene) {
    m_savedPosition = m_scene.Database().HistoryPosition();
    VelX::XApplication::Instance().AddSceneObserver(this);
}

SceneChangeTracker::~SceneChangeTracker() { VelX::XApplication::Instance().RemoveSceneObserver(this); }

void SceneChangeTracker::markSaved() {
    m_savedPosition = m_scene.Database().HistoryPosition();
    set(false);
}

void SceneChangeTracker::markUnsaved() {
    m_savedPosition = NoSavedPosition;
    set(true);
}

void SceneChangeTracker::OnSceneChanged(const VelX::XSceneChange& change, bool transient) {
    if (&change.Scene() != &m_scene || transient) return;
    if (m_scene.Database().HistoryPosition() == m_savedPosition) {
        set(false);
        return;
    }
    // Simulation playback and its revert on Stop are not edits, nor are frame moves and selecting.
    const VelX::XDatabaseChange& database = change.DatabaseChange();
    if (change.IsTimeChange() || database.IsPlaybackChange() || !database.HasEdits()) return;
    set(true);
}

void SceneChangeTracker::set(bool unsaved) {
    if (m_unsaved == unsaved) return;
    m_unsaved = unsaved;
    if (m_changed) m_changed(unsaved);
}

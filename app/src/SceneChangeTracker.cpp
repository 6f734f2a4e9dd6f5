#include <velxstudio/SceneChangeTracker.h>

#include <velxcore/XApplication.h>
#include <velxcore/XSceneChange.h>

SceneChangeTracker::SceneChangeTracker() { VelX::XApplication::Instance().AddSceneObserver(this); }

SceneChangeTracker::~SceneChangeTracker() { VelX::XApplication::Instance().RemoveSceneObserver(this); }

void SceneChangeTracker::OnSceneChanged(const VelX::XSceneChange& change, bool transient) {
    if (!transient && !change.IsTimeChange()) markUnsaved();
}

void SceneChangeTracker::set(bool unsaved) {
    if (m_unsaved == unsaved) return;
    m_unsaved = unsaved;
    if (m_changed) m_changed(unsaved);
}

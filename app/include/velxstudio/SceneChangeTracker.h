#pragma once

#include <velxcore/XSceneObserver.h>

#include <functional>

// Knows whether the open scene has changes the user has not saved. Every committed edit counts
// (undo and redo too); moving the current frame and changing the selection do not, and a drag
// still in progress counts once it is committed.
class SceneChangeTracker : public VelX::XSceneObserver {
public:
    SceneChangeTracker();
    ~SceneChangeTracker() override;
    SceneChangeTracker(const SceneChangeTracker&) = delete;
    SceneChangeTracker& operator=(const SceneChangeTracker&) = delete;

    bool hasUnsavedChanges() const { return m_unsaved; }
    void markSaved() { set(false); }
    void markUnsaved() { set(true); }
    // Called whenever the answer flips.
    void setChangedHandler(std::function<void(bool unsaved)> handler) { m_changed = std::move(handler); }

    void OnSceneCreated(VelX::XScene&) override { markSaved(); }
    void OnSceneLoaded(VelX::XScene&) override { markSaved(); }
    void OnSceneChanged(const VelX::XSceneChange& change, bool transient) override;

private:
    void set(bool unsaved);

    bool m_unsaved = false;
    std::function<void(bool)> m_changed;
};

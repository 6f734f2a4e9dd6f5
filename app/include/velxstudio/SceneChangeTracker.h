#pragma once

#include <velxcore/XSceneObserver.h>

#include <cstdint>
#include <functional>

namespace VelX {
class XScene;
}

// Knows whether the open scene has changes the user has not saved. Every committed edit counts;
// moving the current frame, changing the selection and simulation playback do not, and a drag
// still in progress counts once it is committed. Undo or redo back to the saved place in the
// history makes the scene saved again.
class SceneChangeTracker : public VelX::XSceneObserver {
public:
    explicit SceneChangeTracker(VelX::XScene& scene);
    ~SceneChangeTracker() override;
    SceneChangeTracker(const SceneChangeTracker&) = delete;
    SceneChangeTracker& operator=(const SceneChangeTracker&) = delete;

    bool hasUnsavedChanges() const { return m_unsaved; }
    // The scene as it is now is what its file holds.
    void markSaved();
    // The scene is unsaved work (a recovered autosave) until it is saved.
    void markUnsaved();
    // Called whenever the answer flips.
    void setChangedHandler(std::function<void(bool unsaved)> handler) { m_changed = std::move(handler); }

    void OnSceneCreated(VelX::XScene&) override { markSaved(); }
    void OnSceneLoaded(VelX::XScene&) override { markSaved(); }
    void OnSceneChanged(const VelX::XSceneChange& change, bool transient) override;

private:
    void set(bool unsaved);
    static constexpr std::uint64_t NoSavedPosition = ~std::uint64_t(0);

    VelX::XScene& m_scene;
    std::uint64_t m_savedPosition = 0;
    bool m_unsaved = false;
    std::function<void(bool)> m_changed;
};

#pragma once

namespace VelX {

class XScene;
class XSceneChange;

// Scene notifications, on the user-interface thread. The trailing flag is true for transient
// rounds (an interactive drag still going); the final round after the drag carries everything.
class XSceneObserver {
public:
    virtual ~XSceneObserver() = default;
    // The scene whose notifications this observer hears; null hears every scene.
    virtual const XScene* ObservedScene() const { return nullptr; }
    virtual void OnSceneRegistered(XScene&) {}
    virtual void OnSceneCreated(XScene&) {}
    virtual void OnSceneLoaded(XScene&) {}
    virtual void OnSceneSelectionChanged(XScene&, bool) {}
    virtual void OnSceneTimeChanged(XScene&, bool) {}
    virtual void OnSceneChanged(const XSceneChange&, bool) {}
};

}  // namespace VelX

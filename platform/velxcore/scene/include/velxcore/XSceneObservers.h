#pragma once

#include <vector>

namespace VelX {

class XScene;
class XSceneObserver;

// The registered scene observers of the running program. A scene notifies those bound to it (see
// XSceneObserver::ObservedScene) and those bound to none, in the order they registered; an
// observer removed during a round is skipped for the rest of it.
class XSceneObservers {
public:
    static XSceneObservers& Shared();

    void Add(XSceneObserver* observer);
    void Remove(XSceneObserver* observer);
    bool Contains(const XSceneObserver* observer) const;
    const std::vector<XSceneObserver*>& All() const { return m_observers; }

    // Calls the observers of this scene that are still registered when their turn comes.
    template <class Call> void Notify(const XScene& scene, Call&& call) const;

private:
    bool hears(const XSceneObserver* observer, const XScene& scene) const;
    std::vector<XSceneObserver*> m_observers;
};

template <class Call> void XSceneObservers::Notify(const XScene& scene, Call&& call) const {
    const std::vector<XSceneObserver*> round = m_observers;  // observers may come and go meanwhile
    for (XSceneObserver* o : round)
        if (Contains(o) && hears(o, scene)) call(o);
}

}  // namespace VelX

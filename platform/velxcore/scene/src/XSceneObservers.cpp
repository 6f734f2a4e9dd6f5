#include <velxcore/XSceneObserver.h>
#include <velxcore/XSceneObservers.h>

#include <algorithm>

namespace VelX {

XSceneObservers& XSceneObservers::Shared() {
    static XSceneObservers observers;
    return observers;
}

void XSceneObservers::Add(XSceneObserver* observer) {
    if (observer && !Contains(observer)) m_observers.push_back(observer);
}

void XSceneObservers::Remove(XSceneObserver* observer) {
    m_observers.erase(std::remove(m_observers.begin(), m_observers.end(), observer), m_observers.end());
}

bool XSceneObservers::Contains(const XSceneObserver* observer) const {
    return std::find(m_observers.begin(), m_observers.end(), observer) != m_observers.end();
}

bool XSceneObservers::hears(const XSceneObserver* observer, const XScene& scene) const {
    const XScene* bound = observer->ObservedScene();
    return !bound || bound == &scene;
}

}  // namespace VelX

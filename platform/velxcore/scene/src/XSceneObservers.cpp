#include <velxcore/XSceneObservers.h>

namespace VelX {

XSceneObservers& XSceneObservers::Shared() {
    static XSceneObservers observers;
    return observers;
}

bool XSceneObservers::hears(const XSceneObserver* observer, const XScene& scene) {
    const XScene* bound = observer->ObservedScene();
    return !bound || bound == &scene;
}

}  // namespace VelX

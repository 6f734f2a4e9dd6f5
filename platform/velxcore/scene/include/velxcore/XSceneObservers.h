#pragma once

#include <velxcore/XObserverList.h>
#include <velxcore/XSceneObserver.h>

namespace VelX {

// The registered scene observers of the running program. A scene notifies those bound to it (see
// XSceneObserver::ObservedScene) and those bound to none.
class XSceneObservers : public XObserverList<XSceneObserver> {
public:
    static XSceneObservers& Shared();

    template <class Call> void Notify(const XScene& scene, Call&& call) const {
        NotifyWhere([&scene](const XSceneObserver* o) { return hears(o, scene); }, call);
    }

private:
    static bool hears(const XSceneObserver* observer, const XScene& scene);
};

}  // namespace VelX

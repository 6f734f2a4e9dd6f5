#pragma once

#include <velxcore/XObserverList.h>
#include <velxcore/XSettingsObserver.h>

namespace VelX {

// The registered settings observers of the running program.
class XSettingsObservers : public XObserverList<XSettingsObserver> {
public:
    static XSettingsObservers& Shared();

    template <class Call> void Notify(Call&& call) const {
        NotifyWhere([](const XSettingsObserver*) { return true; }, call);
    }
};

}  // namespace VelX

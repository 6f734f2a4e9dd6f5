#include <velxcore/XSettingsObservers.h>

namespace VelX {

XSettingsObservers& XSettingsObservers::Shared() {
    static XSettingsObservers observers;
    return observers;
}

}  // namespace VelX

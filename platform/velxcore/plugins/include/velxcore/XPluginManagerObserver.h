#pragma once

namespace VelX {

// Told after every change of the plug-in list: a load, an unload, a refresh or a change of which
// plug-ins load on start-up. Called with the manager locked, on the thread that made the change.
class XPluginManagerObserver {
public:
    virtual ~XPluginManagerObserver() = default;
    virtual void OnPluginManagerChanged() = 0;
};

}  // namespace VelX

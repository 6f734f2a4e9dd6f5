#pragma once

namespace VelX {

class XSettings;
class XSettingsChange;

// Application settings notifications. OnSettingsChanged comes once per outermost change block of
// the settings; the trailing flag is true for transient rounds (a drag still going).
class XSettingsObserver {
public:
    virtual ~XSettingsObserver() = default;
    // The settings object was made, or its values went back to the defaults.
    virtual void OnSettingsCreated(XSettings&) {}
    // The settings were read from disk (defaults when the file is missing or damaged).
    virtual void OnSettingsLoaded(XSettings&) {}
    virtual void OnSettingsChanged(const XSettingsChange& change, bool transient) = 0;
    // The observer was added while the application's settings already existed.
    virtual void OnSettingsRegistered(XSettings&) {}
};

}  // namespace VelX

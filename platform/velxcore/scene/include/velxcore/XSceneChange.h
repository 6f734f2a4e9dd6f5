#pragma once

#include <velxcore/XDatabaseChange.h>

namespace VelX {

class XScene;

// One scene change as delivered to scene observers.
class XSceneChange {
public:
    XSceneChange(XScene& scene, XDatabaseChange change, bool timeChange, bool settingsChange)
        : m_scene(scene), m_change(std::move(change)), m_timeChange(timeChange), m_settingsChange(settingsChange) {}

    XScene& Scene() const { return m_scene; }
    bool IsTimeChange() const { return m_timeChange; }  // only the current frame moved
    bool IsSceneSettingsChange() const { return m_settingsChange; }
    const XDatabaseChange& DatabaseChange() const { return m_change; }

private:
    XScene& m_scene;
    XDatabaseChange m_change;
    bool m_timeChange;
    bool m_settingsChange;
};

}  // namespace VelX

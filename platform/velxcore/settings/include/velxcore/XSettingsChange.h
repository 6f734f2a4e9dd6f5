#pragma once

#include <velxcore/XDatabaseChange.h>

namespace VelX {

class XSettings;

// One change of the application settings: the questions of a database change about the
// settings database, and shortcuts for the groups of settings that parts of the application follow.
class XSettingsChange : public XDatabaseChange {
public:
    XSettingsChange(XSettings& settings, std::shared_ptr<const db::DatabaseChange> change);

    XSettings& Settings() const { return m_settings; }
    bool IsTransient() const;
    bool IsUnitsChange() const;         // length, mass or angle unit
    bool IsScriptLimitsChange() const;  // script time or memory budget
    bool IsPluginsChange() const;       // the plug-in list or the plug-in folders
    bool IsTrustChange() const;         // the trusted scripts

private:
    XSettings& m_settings;
};

}  // namespace VelX

#include <velxcore/XSettings.h>
#include <velxcore/XSettingsChange.h>

#include <veldatabase/DatabaseChange.h>

namespace VelX {

XSettingsChange::XSettingsChange(XSettings& settings, std::shared_ptr<const db::DatabaseChange> change)
    : XDatabaseChange(&settings.Database(), std::move(change)), m_settings(settings) {}

bool XSettingsChange::IsTransient() const { return raw().isTransient(); }

bool XSettingsChange::IsUnitsChange() const {
    return IsAttributeChanged(m_settings.LengthUnit()) || IsAttributeChanged(m_settings.MassUnit()) ||
           IsAttributeChanged(m_settings.AngleUnit());
}

bool XSettingsChange::IsScriptLimitsChange() const {
    return IsAttributeChanged(m_settings.ScriptTimeBudget()) || IsAttributeChanged(m_settings.ScriptMemoryBudget());
}

// An edit of an array element or field is recorded on the whole array too.
bool XSettingsChange::IsPluginsChange() const {
    return IsAttributeChanged(m_settings.Plugins()) || IsAttributeChanged(m_settings.PluginFolders());
}

bool XSettingsChange::IsTrustChange() const { return IsAttributeChanged(m_settings.TrustedScripts()); }

}  // namespace VelX

#pragma once

#include <velxcore/XAttribute.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XSceneSettings.h>

#include <veldatabase/DatabaseObserver.h>

#include <memory>
#include <string>

namespace VelX {

// The application's settings, kept in a small database of their own with one SceneSettings object
// (default scene settings and the plug-in list) and one ApplicationSettings object (units, script
// limits, plug-in folders, trusted scripts, recent files, autosave).
//
// They are stored as JSON in <folder>/settings.json, where the folder is the one given to the
// constructor or else $XDG_CONFIG_HOME/velx (fallback $HOME/.config/velx), read when Load() runs.
// Every outermost non-transient change block saves the file (atomically) and every change round
// brings the application's display units and script limits in line and reaches the application's
// settings observers.
class XSettings : private db::DatabaseObserver {
public:
    static const char* const FileName;  // "settings.json"
    static constexpr int MaxRecentFiles = 10;

    XSettings();
    explicit XSettings(const std::wstring& folder);
    ~XSettings() override;
    XSettings(const XSettings&) = delete;
    XSettings& operator=(const XSettings&) = delete;

    // Tells observers the settings exist, then loads them.
    void Open();
    // Reads the file. A missing file gives the defaults; a damaged one is logged, kept beside as
    // settings.json.damaged-<timestamp> and replaced by the defaults. False when the file was
    // damaged or unreadable.
    bool Load();
    // Writes the file through a temporary file, flushed and renamed over the old one. False (and a
    // log line naming the file) on failure.
    bool Save();
    // Every setting back to its default (saved, observers hear OnSettingsCreated).
    void ResetToDefaults();
    // The folder and file in use ("" before the first Load() when no folder was given and neither
    // XDG_CONFIG_HOME nor HOME is set).
    std::wstring Folder() const;
    std::wstring FilePath() const;

    XDatabase& Database() { return *m_database; }
    XSceneSettings SceneSettings() const;
    XObject ApplicationSettings() const;

    // Handles to the settings.
    XAttribute Plugins() const;  // elements: path, loadOnStartup
    XAttribute LengthUnit() const;
    XAttribute MassUnit() const;
    XAttribute AngleUnit() const;
    XAttribute ScriptTimeBudget() const;    // seconds
    XAttribute ScriptMemoryBudget() const;  // MiB
    XAttribute PluginFolders() const;
    XAttribute TrustedScripts() const;      // "file-path|sha256-hex"
    XAttribute RecentFiles() const;         // most recent first
    XAttribute AutosaveMinutes() const;

    // Trust: one hash per script path; trusting a path again replaces its older hash.
    bool IsTrusted(const std::wstring& path, const std::wstring& sha256Hex) const;
    bool Trust(const std::wstring& path, const std::wstring& sha256Hex);  // false for a malformed hash
    bool Untrust(const std::wstring& path);
    // Puts the file first in the recent files, once, keeping at most MaxRecentFiles.
    void AddRecentFile(const std::wstring& path);

    // Brings the display units of the settings' database (the shared ones) and the shared script
    // limits in line with the settings.
    void Apply() const;

private:
    void onDatabaseChanged(db::Database& database, const std::shared_ptr<const db::DatabaseChange>& change) override;
    void build();
    void resolveFolder();
    void writeDefaults();
    bool readFile(const std::string& path, std::string& text, std::string& problem) const;
    std::string keepDamaged(const std::string& path) const;
    XAttribute attribute(int objectId, int index) const;

    std::unique_ptr<XDatabase> m_database;
    std::string m_fixedFolder;  // given to the constructor
    std::string m_folder;       // in use
    int m_sceneId = -1;
    int m_applicationId = -1;
    bool m_loading = false;
};

}  // namespace VelX

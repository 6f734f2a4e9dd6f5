#pragma once

#include <velxcore/VelXPluginApi.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace db {
class NodeDef;
}

namespace VelX {

class XObjectDef;
class XSettings;
class XPluginManagerObserver;

// The plug-ins: shared objects (*.so) found in the plug-in folders of the settings and of
// VELX_PLUGIN_PATH (colon-separated folders), and the explicit paths of the settings' plug-in
// list. Loading calls the plug-in's velx_plugin_entry (see VelXPluginApi.h); its script functions
// join the application's and its object types can be created in the active scene. Unloading
// removes its functions; its types can no longer be created while objects of them keep their data.
//
// A plug-in that cannot be loaded (missing, not a shared object, no entry point, another interface
// version, a failing entry point) is reported in the log with the file and the reason; nothing
// else changes. Every call locks the manager; Lock() makes a sequence of calls one step.
class XPluginManager {
public:
    // Plug-in folders and choices are read from, and remembered in, these settings.
    explicit XPluginManager(XSettings& settings);
    ~XPluginManager();
    XPluginManager(const XPluginManager&) = delete;
    XPluginManager& operator=(const XPluginManager&) = delete;

    // Looks for plug-ins again. Loaded plug-ins stay listed; indices may change.
    void Refresh();
    unsigned PluginCount() const;
    // -1 when the file is not listed.
    int Find(const std::wstring& filename) const;
    // Lists a plug-in file by path in the settings' plug-in list; returns its index (PluginCount()
    // when the name is empty).
    unsigned AddPlugin(const std::wstring& filename, bool loadOnStartup = false);

    std::wstring Filename(unsigned index) const;
    std::wstring Name(unsigned index) const;     // as the plug-in gave it, once loaded
    std::wstring Version(unsigned index) const;  // as the plug-in gave it, once loaded
    std::wstring Error(unsigned index) const;    // why the last load failed ("" when it did not)
    bool IsLoaded(unsigned index) const;
    bool LoadOnStartup(unsigned index) const;
    // Records the choice in the settings' plug-in list.
    bool SetLoadOnStartup(unsigned index, bool load);

    bool LoadPlugin(unsigned index);
    bool UnloadPlugin(unsigned index);
    // Loads every plug-in marked to load on start-up; returns how many are loaded now.
    unsigned LoadStartupPlugins();
    // What the application does at start: looks for plug-ins, then loads each one found in a
    // plug-in folder (unless the settings' list says not to load it at start-up) and each listed
    // one marked to load; failures are logged with the file and the reason, and one line sums up.
    // Returns how many are loaded.
    unsigned LoadAtStart();

    // A recursive lock: the same thread may take it again.
    void Lock() { m_mutex.lock(); }
    bool TryLock() { return m_mutex.try_lock(); }
    void Unlock() { m_mutex.unlock(); }

    void AddObserver(XPluginManagerObserver& observer);
    void RemoveObserver(XPluginManagerObserver& observer);

private:
    friend class XPluginHostApi;  // the C host functions check against the registered types
    struct Plugin;
    struct Session;
    struct TypeRecord;

    Plugin* at(unsigned index, const char* action) const;

    std::wstring text(unsigned index, std::string Plugin::*field) const;  // one text field, locked
    void notify();
    bool load(Plugin& plugin);
    bool refuse(Plugin& plugin, void* handle, const std::string& reason);
    bool commit(Plugin& plugin, Session& session, std::string& reason);
    void retireTypes(Plugin& plugin);
    std::string settingsPath(const std::string& filename) const;

    XSettings& m_settings;
    mutable std::recursive_mutex m_mutex;
    std::vector<std::unique_ptr<Plugin>> m_plugins;
    std::map<std::string, std::unique_ptr<TypeRecord>> m_types;  // every type a plug-in registered
    std::vector<XPluginManagerObserver*> m_observers;
};

}  // namespace VelX

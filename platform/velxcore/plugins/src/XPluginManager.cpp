// Plug-ins: the list, loading through the C entry point, and keeping what they register (script
// functions, object types) only once the whole load has succeeded.
#include "XPluginHostApi.h"
#include "XPluginRecords.h"
#include "XPluginSearch.h"

#include <velxcore/XActiveScene.h>
#include <velxcore/XLog.h>
#include <velxcore/XObjectDefRegistry.h>
#include <velxcore/XScriptFunctions.h>
#include <velxcore/XObjectDef.h>
#include <velxcore/XPluginManager.h>
#include <velxcore/XPluginManagerObserver.h>
#include <velxcore/XScene.h>
#include <velxcore/XScriptApi.h>
#include <velxcore/XSettings.h>

#include <veldatabase/Database.h>
#include <velscenegraph/SceneGraphNodes.h>
#include <velutils/StringUtils.h>

#include <dlfcn.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace VelX {

using Velutils::StringUtils;

namespace {

void log(const std::string& text) { XLog::Write(text); }

// Node types outlive plug-ins and the manager: databases refer to them until the very end.
const db::NodeDef* keep(std::unique_ptr<db::NodeDef> def) {
    static auto* kept = new std::vector<std::unique_ptr<db::NodeDef>>();
    kept->push_back(std::move(def));
    return kept->back().get();
}




}  // namespace

XPluginManager::XPluginManager(XSettings& settings) : m_settings(settings) { Refresh(); }

// The application is ending: plug-ins stay mapped until the process goes (their static objects may
// already be gone), and their node types outlive this manager anyway.
XPluginManager::~XPluginManager() = default;

// ---------------------------------------------------------------- the list

void XPluginManager::Refresh() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    XSettings& settings = m_settings;
    std::vector<std::string> candidates = XPluginSearch::Candidates(settings);

    std::vector<std::unique_ptr<Plugin>> next;
    auto take = [&](const std::string& filename) {
        for (const auto& p : next)
            if (p->filename == filename) return;
        for (auto& p : m_plugins)
            if (p && p->filename == filename) {
                next.push_back(std::move(p));
                return;
            }
        next.push_back(std::make_unique<Plugin>());
        next.back()->filename = filename;
    };
    for (const std::string& c : candidates) take(c);
    for (auto& p : m_plugins)
        if (p && p->handle) next.push_back(std::move(p));  // loaded, though no longer found
    m_plugins = std::move(next);
    notify();
}

unsigned XPluginManager::PluginCount() const {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return static_cast<unsigned>(m_plugins.size());
}

int XPluginManager::Find(const std::wstring& filename) const {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    const std::string wanted = XPluginSearch::Normalise(StringUtils::toUtf8(filename));
    for (std::size_t i = 0; i < m_plugins.size(); ++i)
        if (m_plugins[i]->filename == wanted) return static_cast<int>(i);
    return -1;
}

XPluginManager::Plugin* XPluginManager::at(unsigned index, const char* action) const {
    if (index < m_plugins.size()) return m_plugins[index].get();
    if (action)
        log(std::string("Cannot ") + action + " plug-in number " + std::to_string(index) + ": there are " +
            std::to_string(m_plugins.size()) + " plug-ins.");
    return nullptr;
}

std::wstring XPluginManager::text(unsigned index, std::string Plugin::*field) const {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    Plugin* p = at(index, nullptr);
    return p ? StringUtils::toWide(p->*field) : std::wstring();
}

std::wstring XPluginManager::Filename(unsigned index) const { return text(index, &Plugin::filename); }
std::wstring XPluginManager::Name(unsigned index) const { return text(index, &Plugin::name); }
std::wstring XPluginManager::Version(unsigned index) const { return text(index, &Plugin::version); }
std::wstring XPluginManager::Error(unsigned index) const { return text(index, &Plugin::error); }

bool XPluginManager::IsLoaded(unsigned index) const {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    Plugin* p = at(index, nullptr);
    return p && p->handle;
}

bool XPluginManager::LoadOnStartup(unsigned index) const {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    Plugin* p = at(index, nullptr);
    if (!p) return false;
    for (const auto& [path, load] : XPluginSearch::Entries(m_settings))
        if (XPluginSearch::Normalise(path) == p->filename) return load;
    return false;
}

bool XPluginManager::SetLoadOnStartup(unsigned index, bool load) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    Plugin* p = at(index, "change the start-up loading of");
    if (!p) return false;
    XSettings& settings = m_settings;
    db::Database& d = settings.Database().db();
    const db::AttrKey key = settings.Plugins().key();
    db::Value stored = d.storedValue(key);
    db::ValueList list = stored.is<db::ValueList>() ? stored.get<db::ValueList>() : db::ValueList{};
    bool found = false;
    for (db::Value& element : list) {
        if (!element.is<db::ValueList>()) continue;
        db::ValueList& fields = element.get<db::ValueList>();
        if (fields.size() > static_cast<std::size_t>(sg::Index::PluginLoadOnStartup) &&
            XPluginSearch::Normalise(fields[sg::Index::PluginPath].asString()) == p->filename) {
            fields[sg::Index::PluginLoadOnStartup] = load;
            found = true;
        }
    }
    if (!found) list.push_back(db::ValueList{db::Value(p->filename), db::Value(load)});
    if (!d.setValue(key, db::Value(std::move(list)))) return false;
    notify();
    return true;
}

unsigned XPluginManager::AddPlugin(const std::wstring& filename, bool loadOnStartup) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    const std::string path = XPluginSearch::Normalise(StringUtils::toUtf8(filename));
    if (path.empty()) {
        log("Cannot add a plug-in without a file name.");
        return static_cast<unsigned>(m_plugins.size());
    }
    XSettings& settings = m_settings;
    bool listed = false;
    for (const auto& entry : XPluginSearch::Entries(settings)) listed = listed || XPluginSearch::Normalise(entry.first) == path;
    if (!listed) {
        db::Database& d = settings.Database().db();
        const db::AttrKey key = settings.Plugins().key();
        db::Value stored = d.storedValue(key);
        db::ValueList list = stored.is<db::ValueList>() ? stored.get<db::ValueList>() : db::ValueList{};
        list.push_back(db::ValueList{db::Value(path), db::Value(loadOnStartup)});
        d.setValue(key, db::Value(std::move(list)));
    }
    Refresh();
    const int index = Find(filename);
    return index >= 0 ? static_cast<unsigned>(index) : static_cast<unsigned>(m_plugins.size());
}

// ---------------------------------------------------------------- loading

bool XPluginManager::LoadPlugin(unsigned index) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    Plugin* p = at(index, "load");
    if (!p) return false;
    if (p->handle) return true;
    bool loaded = load(*p);
    notify();
    return loaded;
}

unsigned XPluginManager::LoadStartupPlugins() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    unsigned count = 0;
    for (unsigned i = 0; i < m_plugins.size(); ++i) {
        if (!LoadOnStartup(i)) continue;
        if (m_plugins[i]->handle || load(*m_plugins[i])) ++count;
    }
    notify();
    return count;
}

unsigned XPluginManager::LoadAtStart() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    Refresh();
    const auto entries = XPluginSearch::Entries(m_settings);
    unsigned loaded = 0, failed = 0;
    for (const auto& plugin : m_plugins) {
        // A listed plug-in follows its choice; one found in a plug-in folder is installed by being there.
        bool wanted = true;
        for (const auto& [path, load] : entries)
            if (XPluginSearch::Normalise(path) == plugin->filename) wanted = load;
        if (!wanted) continue;
        if (plugin->handle || load(*plugin)) ++loaded;
        else ++failed;
    }
    notify();
    if (!m_plugins.empty())
        log("Plug-ins: " + std::to_string(loaded) + " loaded, " + std::to_string(failed) + " failed, " +
            std::to_string(m_plugins.size() - loaded - failed) + " not chosen to load at start.");
    return loaded;
}

bool XPluginManager::refuse(Plugin& plugin, void* handle, const std::string& reason) {
    plugin.error = reason;
    plugin.session.reset();
    if (handle) ::dlclose(handle);
    log("Plug-in '" + plugin.filename + "' was not loaded: " + reason + ".");
    return false;
}

bool XPluginManager::load(Plugin& plugin) {
    plugin.error.clear();
    struct stat st;
    if (::stat(plugin.filename.c_str(), &st) != 0)
        return refuse(plugin, nullptr, std::string("cannot find the file (") + std::strerror(errno) + ")");
    if (!S_ISREG(st.st_mode)) return refuse(plugin, nullptr, "it is not a regular file");

    ::dlerror();
    void* handle = ::dlopen(plugin.filename.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = ::dlerror();
        return refuse(plugin, nullptr, std::string("it is not a loadable shared object (") + (why ? why : "unknown") + ")");
    }
    auto entry = reinterpret_cast<VelXPluginEntry>(::dlsym(handle, VELX_PLUGIN_ENTRY_NAME));
    if (!entry) return refuse(plugin, handle, std::string("it has no ") + VELX_PLUGIN_ENTRY_NAME + " function");
    auto exitFunction = reinterpret_cast<VelXPluginExit>(::dlsym(handle, VELX_PLUGIN_EXIT_NAME));

    plugin.session = std::make_unique<Session>();
    Session& session = *plugin.session;
    session.manager = this;
    session.plugin = &plugin;
    session.host.api_version = VELX_PLUGIN_API_VERSION;
    session.host.context = &session;
    session.host.log = &XPluginHostApi::Log;
    session.host.register_script_function = &XPluginHostApi::RegisterFunction;
    session.host.register_object_type = &XPluginHostApi::RegisterType;

    VelXPluginInfo info{0, nullptr, nullptr};
    int code = VELX_ERROR;
    bool threw = false;
    XPluginHostApi::RunAs(plugin.filename, [&] {
        try {
            code = entry(&session.host, &info);
        } catch (...) {
            threw = true;
        }
    });
    session.open = false;
    if (threw) return refuse(plugin, handle, "its entry point threw an exception");

    std::string reason;
    if (info.api_version != VELX_PLUGIN_API_VERSION)
        reason = "it was built for plug-in interface version " + std::to_string(info.api_version) +
                 "; this application offers version " + std::to_string(VELX_PLUGIN_API_VERSION);
    else if (code != VELX_OK)
        return refuse(plugin, handle, "its entry point reported failure (code " + std::to_string(code) + ")");
    else
        commit(plugin, session, reason);
    if (!reason.empty()) {
        // The plug-in believes it is loaded: let it tidy up before it goes.
        if (exitFunction)
            XPluginHostApi::RunAs(plugin.filename, [&] {
                try {
                    exitFunction();
                } catch (...) {
                }
            });
        return refuse(plugin, handle, reason);
    }

    plugin.handle = handle;
    plugin.exit = exitFunction;
    plugin.name = info.name ? info.name : std::filesystem::path(plugin.filename).stem().string();
    plugin.version = info.version ? info.version : "";
    session.functions.clear();
    session.types.clear();
    log("Plug-in '" + plugin.filename + "' loaded: " + plugin.name + (plugin.version.empty() ? "" : " " + plugin.version) + ".");
    return true;
}

// Makes what the plug-in registered take effect, all of it or (with a reason) none of it.
bool XPluginManager::commit(Plugin& plugin, Session& session, std::string& reason) {
    XScriptFunctions& functions = XScriptFunctions::Shared();
    db::Database& scene = XPluginHostApi::SceneDatabase();
    for (const auto& [name, callback] : session.functions)
        if (functions.has(name)) {
            reason = "the script function name '" + name + "' is taken";
            return false;
        }
    for (const auto& [name, callback] : session.functions)
        functions.add(name, XPluginHostApi::Wrap(callback, name, plugin.filename), plugin.filename);

    plugin.types.clear();
    for (Session::StagedType& staged : session.types) {
        const db::NodeDef* def = staged.made ? keep(std::move(staged.made)) : staged.def;
        scene.registerType(*def);
        std::unique_ptr<TypeRecord>& record = m_types[staged.name];
        if (!record) record = std::make_unique<TypeRecord>();
        if (record->live != def) record->retired = nullptr;
        record->owner = plugin.filename;
        record->attributes = staged.attributes;
        record->live = def;
        if (!record->objectDef) {
            const std::wstring name = StringUtils::toWide(staged.name);
            record->objectDef = std::make_unique<XObjectDef>(name, name);
        }
        XObjectDefRegistry::Shared().Register(record->objectDef.get());
        XActiveScene::Get().ensureSettingsObjects();
        plugin.types.push_back(staged.name);
    }
    return true;
}

// ---------------------------------------------------------------- unloading

void XPluginManager::retireTypes(Plugin& plugin) {
    db::Database& scene = XPluginHostApi::SceneDatabase();
    for (const std::string& name : plugin.types) {
        TypeRecord& record = *m_types[name];
        XObjectDefRegistry::Shared().Unregister(record.objectDef.get());
        if (!record.retired) {
            const db::NodeDef& live = *record.live;
            record.retired = keep(std::make_unique<db::NodeDef>(live.typeName(), live.base(), record.attributes,
                                                                live.typeFlags() | db::Abstract,
                                                                live.displayTypeName() + " (plug-in not loaded)"));
        }
        // New objects are refused; existing ones keep the live type and their values.
        scene.registerType(*record.retired);
    }
    plugin.types.clear();
}

bool XPluginManager::UnloadPlugin(unsigned index) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    Plugin* p = at(index, "unload");
    if (!p) return false;
    if (!p->handle) {
        log("Plug-in '" + p->filename + "' is not loaded.");
        return false;
    }
    if (p->exit) {
        VelXPluginExit exitFunction = p->exit;
        XPluginHostApi::RunAs(p->filename, [&] {
            try {
                exitFunction();
            } catch (...) {
                log("Plug-in '" + p->filename + "': its exit function threw an exception.");
            }
        });
    }
    XScriptFunctions::Shared().removeOwnedBy(p->filename);
    retireTypes(*p);
    ::dlclose(p->handle);
    p->handle = nullptr;
    p->exit = nullptr;
    p->session.reset();
    log("Plug-in '" + p->filename + "' unloaded.");
    notify();
    return true;
}

// ---------------------------------------------------------------- observers

void XPluginManager::AddObserver(XPluginManagerObserver& observer) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (std::find(m_observers.begin(), m_observers.end(), &observer) == m_observers.end())
        m_observers.push_back(&observer);
}

void XPluginManager::RemoveObserver(XPluginManagerObserver& observer) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_observers.erase(std::remove(m_observers.begin(), m_observers.end(), &observer), m_observers.end());
}

void XPluginManager::notify() {
    const std::vector<XPluginManagerObserver*> observers = m_observers;
    for (XPluginManagerObserver* o : observers)
        if (std::find(m_observers.begin(), m_observers.end(), o) != m_observers.end()) o->OnPluginManagerChanged();
}

}  // namespace VelX

// Plug-ins: finding shared objects, loading them through their C entry point, and keeping what
// they register (script functions, object types) only once the whole load has succeeded.
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

#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace VelX {

using Velutils::StringUtils;

namespace {

// The plug-in whose code runs on this thread, named in its log lines.
thread_local const std::string* tl_current = nullptr;

void log(const std::string& text) { XLog::Write(text); }

// Runs plug-in code with its log lines named after it. The call must not throw.
template <class Call> void runAs(const std::string& filename, Call&& call) {
    const std::string* saved = tl_current;
    tl_current = &filename;
    call();
    tl_current = saved;
}

// Node types outlive plug-ins and the manager: databases refer to them until the very end.
const db::NodeDef* keep(std::unique_ptr<db::NodeDef> def) {
    static auto* kept = new std::vector<std::unique_ptr<db::NodeDef>>();
    kept->push_back(std::move(def));
    return kept->back().get();
}

bool isIdentifier(const char* name) {
    if (!name || !*name || std::isdigit(static_cast<unsigned char>(name[0]))) return false;
    for (const char* c = name; *c; ++c)
        if (!std::isalnum(static_cast<unsigned char>(*c)) && *c != '_') return false;
    return true;
}

// An absolute path without symbolic links where the file exists, so that one file is listed once.
std::string normalise(const std::string& path) {
    if (path.empty()) return path;
    char resolved[PATH_MAX];
    if (::realpath(path.c_str(), resolved)) return resolved;
    std::error_code ec;
    std::filesystem::path p = std::filesystem::absolute(path, ec);
    return ec ? path : p.lexically_normal().string();
}

bool endsWithSo(const std::string& name) { return name.size() > 3 && name.compare(name.size() - 3, 3, ".so") == 0; }

// The *.so files of a folder, by name.
void scanFolder(const std::string& folder, std::vector<std::string>& out) {
    DIR* dir = ::opendir(folder.c_str());
    if (!dir) return;
    std::vector<std::string> found;
    while (dirent* entry = ::readdir(dir)) {
        std::string name = entry->d_name;
        if (!endsWithSo(name)) continue;
        std::string path = folder + "/" + name;
        struct stat st;
        if (::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode)) found.push_back(path);
    }
    ::closedir(dir);
    std::sort(found.begin(), found.end());
    out.insert(out.end(), found.begin(), found.end());
}

std::vector<std::string> splitPath(const char* text) {
    std::vector<std::string> out;
    if (!text) return out;
    std::string all = text;
    std::size_t start = 0;
    while (start <= all.size()) {
        std::size_t colon = all.find(':', start);
        if (colon == std::string::npos) colon = all.size();
        if (colon > start) out.push_back(all.substr(start, colon - start));
        start = colon + 1;
    }
    return out;
}

std::vector<std::string> stringList(const db::Value& stored) {
    std::vector<std::string> out;
    if (const db::ValueList* list = stored.tryGet<db::ValueList>())
        for (const db::Value& v : *list) out.push_back(v.asString());
    return out;
}

// The settings' plug-in list as (path, load on start-up) pairs.
std::vector<std::pair<std::string, bool>> pluginEntries(XSettings& settings) {
    std::vector<std::pair<std::string, bool>> out;
    const db::Value stored = settings.Database().db().storedValue(settings.Plugins().key());
    if (const db::ValueList* list = stored.tryGet<db::ValueList>())
        for (const db::Value& element : *list) {
            const db::ValueList* fields = element.tryGet<db::ValueList>();
            if (!fields || fields->size() <= static_cast<std::size_t>(sg::Index::PluginLoadOnStartup)) continue;
            out.emplace_back((*fields)[sg::Index::PluginPath].asString(), (*fields)[sg::Index::PluginLoadOnStartup].asBool());
        }
    return out;
}

bool sameAttributes(const db::NodeDef& def, const std::vector<db::AttributeDef>& attributes) {
    const int first = def.base() ? def.base()->topLevelCount() : 0;
    if (def.topLevelCount() - first != static_cast<int>(attributes.size())) return false;
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        const db::AttributeDef& a = *def.slot(def.topLevelSlot(first + static_cast<int>(i))).def;
        if (a.name != attributes[i].name || a.type != attributes[i].type || a.defaultValue != attributes[i].defaultValue)
            return false;
    }
    return true;
}

// Script values in both directions.
bool toC(const db::Value& v, VelXValue& out, std::string& text) {
    out = VelXValue{VELX_VALUE_NIL, 0, 0.0, nullptr};
    if (v.isNone()) return true;
    if (v.is<bool>()) {
        out.type = VELX_VALUE_BOOL;
        out.boolean = v.get<bool>() ? 1 : 0;
    } else if (v.is<std::int32_t>() || v.is<float>() || v.is<double>()) {
        out.type = VELX_VALUE_NUMBER;
        out.number = v.asDouble();
    } else if (v.is<std::string>()) {
        text = v.asString();
        out.type = VELX_VALUE_STRING;
        out.string = text.c_str();
    } else {
        return false;
    }
    return true;
}

db::Value fromC(const VelXValue& v) {
    switch (v.type) {
    case VELX_VALUE_BOOL: return v.boolean != 0;
    case VELX_VALUE_NUMBER: return v.number;
    case VELX_VALUE_STRING: return std::string(v.string ? v.string : "");
    default: return {};
    }
}

XScriptFunctions::Function wrap(VelXScriptFunction callback, const std::string& name, const std::string& owner) {
    return [callback, name, owner](const std::vector<db::Value>& arguments) -> db::Value {
        std::vector<VelXValue> in(arguments.size());
        std::vector<std::string> strings(arguments.size());
        for (std::size_t i = 0; i < arguments.size(); ++i)
            if (!toC(arguments[i], in[i], strings[i]))
                throw XScriptError(name + ": argument " + std::to_string(i + 1) +
                                   " must be nil, a boolean, a number or a string");
        VelXValue out{VELX_VALUE_NIL, 0, 0.0, nullptr};
        int code = VELX_ERROR;
        runAs(owner, [&] {
            try {
                code = callback(in.data(), static_cast<int>(in.size()), &out);
            } catch (...) {
                out = VelXValue{VELX_VALUE_STRING, 0, 0.0, "the plug-in function threw an exception"};
            }
        });
        if (code != VELX_OK)
            throw XScriptError(name + ": " +
                               (out.type == VELX_VALUE_STRING && out.string ? out.string : "the plug-in function failed"));
        return fromC(out);
    };
}

db::Database& sceneDatabase() { return XActiveScene::Get().Database().db(); }

}  // namespace

// One listed plug-in file.
struct XPluginManager::Plugin {
    std::string filename;
    void* handle = nullptr;
    VelXPluginExit exit = nullptr;
    std::string name, version, error;
    std::vector<std::string> types;     // names of the types it registered
    std::unique_ptr<Session> session;   // its host table, while loaded
};

// An object type a plug-in registered. The record stays after unloading: the name remains the
// plug-in's and existing objects keep using the live node type.
struct XPluginManager::TypeRecord {
    std::string owner;
    std::vector<db::AttributeDef> attributes;
    const db::NodeDef* live = nullptr;
    const db::NodeDef* retired = nullptr;  // an abstract twin that stands in the scene while unloaded
    std::unique_ptr<XObjectDef> objectDef;
};

// One call of a plug-in's entry point: the host table and what the plug-in asked for, kept aside
// until the load succeeds.
struct XPluginManager::Session {
    struct StagedType {
        std::string name;
        std::vector<db::AttributeDef> attributes;
        std::unique_ptr<db::NodeDef> made;  // a new node type (null when an identical one is reused)
        const db::NodeDef* def = nullptr;
    };

    XPluginManager* manager = nullptr;
    Plugin* plugin = nullptr;
    bool open = true;
    VelXPluginHost host{};
    std::vector<std::pair<std::string, VelXScriptFunction>> functions;
    std::vector<StagedType> types;

    const StagedType* staged(const std::string& typeName) const {
        for (const StagedType& t : types)
            if (t.name == typeName) return &t;
        return nullptr;
    }
};

XPluginManager::XPluginManager(XSettings& settings) : m_settings(settings) { Refresh(); }

// The application is ending: plug-ins stay mapped until the process goes (their static objects may
// already be gone), and their node types outlive this manager anyway.
XPluginManager::~XPluginManager() = default;

// ---------------------------------------------------------------- the list

void XPluginManager::Refresh() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    XSettings& settings = m_settings;
    std::vector<std::string> candidates;
    for (const auto& entry : pluginEntries(settings))
        if (!entry.first.empty()) candidates.push_back(entry.first);
    for (const std::string& folder : stringList(settings.Database().db().storedValue(settings.PluginFolders().key())))
        if (!folder.empty()) scanFolder(folder, candidates);
    for (const std::string& part : splitPath(std::getenv("VELX_PLUGIN_PATH"))) {
        struct stat st;
        if (::stat(part.c_str(), &st) == 0 && S_ISREG(st.st_mode)) candidates.push_back(part);
        else scanFolder(part, candidates);
    }

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
    for (const std::string& c : candidates) take(normalise(c));
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
    const std::string wanted = normalise(StringUtils::toUtf8(filename));
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
    for (const auto& [path, load] : pluginEntries(m_settings))
        if (normalise(path) == p->filename) return load;
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
            normalise(fields[sg::Index::PluginPath].asString()) == p->filename) {
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
    const std::string path = normalise(StringUtils::toUtf8(filename));
    if (path.empty()) {
        log("Cannot add a plug-in without a file name.");
        return static_cast<unsigned>(m_plugins.size());
    }
    XSettings& settings = m_settings;
    bool listed = false;
    for (const auto& entry : pluginEntries(settings)) listed = listed || normalise(entry.first) == path;
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
    session.host.log = &XPluginManager::hostLog;
    session.host.register_script_function = &XPluginManager::hostRegisterFunction;
    session.host.register_object_type = &XPluginManager::hostRegisterType;

    VelXPluginInfo info{0, nullptr, nullptr};
    int code = VELX_ERROR;
    bool threw = false;
    runAs(plugin.filename, [&] {
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
            runAs(plugin.filename, [&] {
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
    db::Database& scene = sceneDatabase();
    for (const auto& [name, callback] : session.functions)
        if (functions.has(name)) {
            reason = "the script function name '" + name + "' is taken";
            return false;
        }
    for (const auto& [name, callback] : session.functions)
        functions.add(name, wrap(callback, name, plugin.filename), plugin.filename);

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
    db::Database& scene = sceneDatabase();
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
        runAs(p->filename, [&] {
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

// ---------------------------------------------------------------- host functions

void XPluginManager::hostLog(const char* message) {
    if (!message) return;
    try {
        log("Plug-in '" + (tl_current ? *tl_current : std::string("?")) + "': " + message);
    } catch (...) {
    }
}

int XPluginManager::hostRegisterFunction(void* context, const char* name, VelXScriptFunction callback) {
    auto* session = static_cast<Session*>(context);
    if (!session) return VELX_ERROR;
    try {
        std::string reason;
        const std::string text = name ? name : "";
        if (!session->open) reason = "registering is only possible during " VELX_PLUGIN_ENTRY_NAME;
        else if (!isIdentifier(name)) reason = "'" + text + "' is not a valid script function name";
        else if (!callback) reason = "script function '" + text + "' has no callback";
        else if (XScriptFunctions::Shared().has(text) ||
                 std::any_of(session->functions.begin(), session->functions.end(),
                             [&](const auto& f) { return f.first == text; }))
            reason = "the script function name '" + text + "' is taken";
        if (!reason.empty()) {
            log("Plug-in '" + session->plugin->filename + "': " + reason + ".");
            return VELX_ERROR;
        }
        session->functions.emplace_back(text, callback);
        return VELX_OK;
    } catch (...) {
        return VELX_ERROR;
    }
}

int XPluginManager::hostRegisterType(void* context, const char* typeName, const char* baseTypeName,
                                     const VelXAttributeSpec* attributes, int count) {
    auto* session = static_cast<Session*>(context);
    if (!session) return VELX_ERROR;
    XPluginManager& manager = *session->manager;
    const std::string& owner = session->plugin->filename;
    const std::string name = typeName ? typeName : "";
    auto fail = [&](const std::string& reason) {
        log("Plug-in '" + owner + "': object type '" + name + "' refused: " + reason + ".");
        return VELX_ERROR;
    };
    try {
        if (!session->open) return fail("registering is only possible during " VELX_PLUGIN_ENTRY_NAME);
        if (!isIdentifier(typeName)) return fail("the type name must be letters, digits and '_'");
        db::Database& scene = sceneDatabase();
        auto record = manager.m_types.find(name);
        const bool ours = record != manager.m_types.end() && record->second->owner == owner;
        if (session->staged(name) || (scene.findType(name) && !ours) ||
            (record != manager.m_types.end() && !ours))
            return fail("the name is taken by another type");

        // The base: a type staged earlier in this load, or one the scene knows.
        const std::string baseName = baseTypeName && *baseTypeName ? baseTypeName : "Object";
        const db::NodeDef* base = nullptr;
        if (const Session::StagedType* s = session->staged(baseName)) base = s->def;
        else base = scene.findType(baseName);
        if (!base) return fail("there is no base type '" + baseName + "'");
        if (base->hasFlag(db::SettingsType)) return fail("'" + baseName + "' is a settings type");
        auto baseRecord = manager.m_types.find(baseName);
        if (baseRecord != manager.m_types.end() && base == baseRecord->second->retired)
            return fail("the plug-in of base type '" + baseName + "' is not loaded");

        if (count < 0 || count > 1000) return fail("the attribute count " + std::to_string(count) + " is out of range");
        if (count > 0 && !attributes) return fail("the attribute list is missing");
        std::vector<db::AttributeDef> own;
        for (int i = 0; i < count; ++i) {
            const VelXAttributeSpec& given = attributes[i];
            const std::string attributeName = given.name ? given.name : "";
            if (!isIdentifier(given.name)) return fail("attribute " + std::to_string(i + 1) + " has no valid name");
            if (base->findTopLevel(attributeName) >= 0 ||
                std::any_of(own.begin(), own.end(), [&](const db::AttributeDef& a) { return a.name == attributeName; }))
                return fail("attribute '" + attributeName + "' is defined twice");
            if (!std::isfinite(given.default_number)) return fail("attribute '" + attributeName + "' has no finite default");
            db::AttributeDef a;
            a.name = attributeName;
            a.displayName = StringUtils::displayNameFromInternal(attributeName);
            a.conciseName = attributeName;
            a.flags = db::DefaultFlags;
            switch (given.type) {
            case VELX_ATTRIBUTE_FLOAT:
                a.type = db::ValueType::Float;
                a.defaultValue = static_cast<float>(given.default_number);
                a.flags |= db::Animatable;
                break;
            case VELX_ATTRIBUTE_INT:
                if (std::fabs(given.default_number) > 2147483647.0)
                    return fail("the default of attribute '" + attributeName + "' is out of range");
                a.type = db::ValueType::Int;
                a.defaultValue = static_cast<std::int32_t>(given.default_number);
                break;
            case VELX_ATTRIBUTE_BOOL:
                a.type = db::ValueType::Bool;
                a.defaultValue = given.default_number != 0.0;
                break;
            case VELX_ATTRIBUTE_STRING:
                a.type = db::ValueType::String;
                a.defaultValue = std::string(given.default_string ? given.default_string : "");
                break;
            default: return fail("attribute '" + attributeName + "' has unknown kind " + std::to_string(given.type));
            }
            own.push_back(std::move(a));
        }

        Session::StagedType staged;
        staged.name = name;
        staged.attributes = own;
        // Loading the same plug-in again reuses its node type when nothing changed, so that old and
        // new objects share one type.
        if (ours && record->second->live && record->second->live->base() == base &&
            sameAttributes(*record->second->live, own)) {
            staged.def = record->second->live;
        } else {
            const std::uint32_t flags = base->typeFlags() & ~static_cast<std::uint32_t>(db::Abstract | db::SettingsType |
                                                                                         db::HiddenFromExplorer);
            staged.made = std::make_unique<db::NodeDef>(name, base, std::move(own), flags,
                                                        StringUtils::displayNameFromInternal(name));
            staged.def = staged.made.get();
        }
        session->types.push_back(std::move(staged));
        return VELX_OK;
    } catch (const std::exception& e) {
        return fail(e.what());
    } catch (...) {
        return VELX_ERROR;
    }
}

}  // namespace VelX

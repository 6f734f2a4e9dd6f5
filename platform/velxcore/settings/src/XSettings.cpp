// Application settings: a small database of their own, stored as JSON in the user's configuration
// folder, validated completely before any of it is used.
#include <velxcore/XLog.h>
#include <velxcore/XScriptLimits.h>
#include <velxcore/XSettings.h>
#include <velxcore/XSettingsChange.h>
#include <velxcore/XSettingsObserver.h>
#include <velxcore/XSettingsObservers.h>
#include <velxcore/XUnits.h>

#include <veldatabase/Database.h>
#include <veldatabase/DatabaseChange.h>
#include <velscenegraph/ApplicationSettingsNode.h>
#include <velscenegraph/SceneGraphNodes.h>
#include <velutils/StringUtils.h>

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

namespace VelX {

using Velutils::StringUtils;
using Json = nlohmann::ordered_json;
using db::AttributeDef;
using db::ValueType;

namespace {

constexpr const char* FormatName = "velx-settings";
constexpr int FormatVersion = 1;
constexpr int FirstOwnIndex = 8;  // the attributes every type shares come first
constexpr std::size_t HashLength = 64;

using Values = std::vector<std::pair<db::AttrKey, db::Value>>;

void log(const std::string& text) { XLog::Write(text); }

template <class Call> void notifyObservers(Call&& call) { XSettingsObservers::Shared().Notify(call); }

// Attributes that the file holds: the type's own, stored, of a kind the file can write.
bool isStoredSetting(const AttributeDef& a, int index) {
    if (index < FirstOwnIndex || a.has(db::Computed) || a.has(db::Internal)) return false;
    if (a.type == ValueType::Compound) return a.isArray;
    return a.type == ValueType::Float || a.type == ValueType::Double || a.type == ValueType::Int ||
           a.type == ValueType::Bool || a.type == ValueType::Enum || a.type == ValueType::String;
}

// ---------------------------------------------------------------- writing

// The shortest decimal that reads back as the same float, so 0.0333333 is not written with
// seventeen digits.
double shortestDouble(float f) {
    if (!std::isfinite(f)) return 0.0;
    char text[48];
    char* end = std::to_chars(text, text + sizeof text, f).ptr;
    *end = '\0';
    return std::strtod(text, nullptr);
}

Json writeScalar(const AttributeDef& a, const db::Value& v) {
    switch (a.type) {
    case ValueType::Float: return shortestDouble(static_cast<float>(v.asDouble()));
    case ValueType::Double: return v.asDouble();
    case ValueType::Int: return v.asInt();
    case ValueType::Bool: return v.asBool();
    case ValueType::Enum: {
        int i = v.asInt();
        return i >= 0 && i < static_cast<int>(a.enumNames.size()) ? Json(a.enumNames[static_cast<std::size_t>(i)])
                                                                    : Json(i);
    }
    case ValueType::String: return v.is<std::string>() ? v.asString() : std::string();
    default: return nullptr;
    }
}

Json writeAttribute(const AttributeDef& a, const db::Value& stored) {
    if (!a.isArray) return writeScalar(a, stored);
    Json out = Json::array();
    const db::ValueList* list = stored.tryGet<db::ValueList>();
    if (!list) return out;
    for (const db::Value& element : *list) {
        if (a.children.empty()) {
            out.push_back(writeScalar(a, element));
            continue;
        }
        const db::ValueList* fields = element.tryGet<db::ValueList>();
        Json object = Json::object();
        for (std::size_t c = 0; c < a.children.size(); ++c) {
            const AttributeDef& field = a.children[c];
            object[field.name] = writeScalar(field, fields && c < fields->size() ? (*fields)[c] : field.defaultValue);
        }
        out.push_back(std::move(object));
    }
    return out;
}

Json writeObject(const db::Database& d, int id) {
    Json out = Json::object();
    const db::NodeDef& def = d.node(id)->def();
    for (int i = 0; i < def.topLevelCount(); ++i) {
        int slot = def.topLevelSlot(i);
        const AttributeDef& a = *def.slot(slot).def;
        if (isStoredSetting(a, i)) out[a.name] = writeAttribute(a, d.storedValue(db::AttrKey{id, slot}));
    }
    return out;
}

// ---------------------------------------------------------------- reading

std::string shown(const Json& j) {
    std::string text = j.dump();
    return text.size() > 60 ? text.substr(0, 57) + "..." : text;
}

[[noreturn]] void expected(const std::string& place, const std::string& what, const Json& found) {
    throw std::runtime_error(place + ": expected " + what + ", found " + shown(found));
}

std::string choices(const AttributeDef& a) {
    std::string out;
    for (const std::string& n : a.enumNames) out += (out.empty() ? "" : ", ") + n;
    return out;
}

db::Value readScalar(const AttributeDef& a, const Json& j, const std::string& place) {
    switch (a.type) {
    case ValueType::Float:
    case ValueType::Double: {
        if (!j.is_number()) expected(place, "a number", j);
        double d = j.get<double>();
        if (a.type == ValueType::Float && std::fabs(d) > FLT_MAX) expected(place, "a number within float range", j);
        return a.type == ValueType::Float ? db::Value(static_cast<float>(d)) : db::Value(d);
    }
    case ValueType::Int: {
        if (!j.is_number_integer()) expected(place, "a whole number", j);
        if (j.is_number_unsigned() ? j.get<std::uint64_t>() > static_cast<std::uint64_t>(INT32_MAX)
                                   : (j.get<std::int64_t>() > INT32_MAX || j.get<std::int64_t>() < INT32_MIN))
            expected(place, "a whole number within 32-bit range", j);
        return static_cast<std::int32_t>(j.get<std::int64_t>());
    }
    case ValueType::Bool:
        if (!j.is_boolean()) expected(place, "true or false", j);
        return j.get<bool>();
    case ValueType::Enum: {
        if (j.is_string()) {
            const std::string name = j.get<std::string>();
            for (std::size_t i = 0; i < a.enumNames.size(); ++i)
                if (a.enumNames[i] == name) return static_cast<std::int32_t>(i);
        } else if (j.is_number_integer() && j.get<std::int64_t>() >= 0 &&
                   j.get<std::int64_t>() < static_cast<std::int64_t>(a.enumNames.size())) {
            return static_cast<std::int32_t>(j.get<std::int64_t>());
        }
        expected(place, "one of " + choices(a), j);
    }
    case ValueType::String:
        if (!j.is_string()) expected(place, "a string", j);
        return j.get<std::string>();
    default: expected(place, "a supported value", j);
    }
}

db::Value readElement(const AttributeDef& a, const Json& j, const std::string& place,
                      std::vector<std::string>& ignored) {
    if (a.children.empty()) return readScalar(a, j, place);
    if (!j.is_object()) expected(place, "an object", j);
    db::ValueList fields;
    for (const AttributeDef& field : a.children) {
        auto it = j.find(field.name);
        fields.push_back(it == j.end() ? field.defaultValue : readScalar(field, *it, place + "." + field.name));
    }
    for (auto it = j.begin(); it != j.end(); ++it) {
        bool known = std::any_of(a.children.begin(), a.children.end(),
                                 [&](const AttributeDef& f) { return f.name == it.key(); });
        if (!known) ignored.push_back(place + "." + it.key());
    }
    return db::Value(std::move(fields));
}

db::Value readAttribute(const AttributeDef& a, const Json& j, const std::string& place,
                        std::vector<std::string>& ignored) {
    if (!a.isArray) return readScalar(a, j, place);
    if (!j.is_array()) expected(place, "a list", j);
    db::ValueList list;
    for (std::size_t i = 0; i < j.size(); ++i)
        list.push_back(readElement(a, j[i], place + "[" + std::to_string(i) + "]", ignored));
    return db::Value(std::move(list));
}

bool isHexHash(const std::string& hash) {
    return hash.size() == HashLength && std::all_of(hash.begin(), hash.end(), [](char c) {
               return std::isxdigit(static_cast<unsigned char>(c)) != 0;
           });
}

std::string lowercase(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// Checks that the type alone cannot express.
void checkRange(int index, db::Value& v, const std::string& place) {
    switch (index) {
    case sg::Index::ScriptTimeBudget:
        if (!(v.asDouble() > 0.0)) throw std::runtime_error(place + ": must be more than 0 seconds");
        break;
    case sg::Index::ScriptMemoryBudget:
        if (v.asInt() < 1) throw std::runtime_error(place + ": must be at least 1 MiB");
        break;
    case sg::Index::AutosaveMinutes:
        if (v.asInt() < 0) throw std::runtime_error(place + ": must not be negative");
        break;
    case sg::Index::TrustedScripts: {
        db::ValueList& list = v.get<db::ValueList>();
        for (std::size_t i = 0; i < list.size(); ++i) {
            const std::string& entry = list[i].asString();
            std::size_t bar = entry.rfind('|');
            if (bar == std::string::npos || bar == 0 || !isHexHash(entry.substr(bar + 1)))
                throw std::runtime_error(place + "[" + std::to_string(i) +
                                         "]: expected \"file-path|sha256-hex\", found \"" + entry + "\"");
        }
        break;
    }
    case sg::Index::RecentFiles: {
        db::ValueList& list = v.get<db::ValueList>();
        if (list.size() > static_cast<std::size_t>(XSettings::MaxRecentFiles)) list.resize(XSettings::MaxRecentFiles);
        break;
    }
    default: break;
    }
}

void readSection(const db::Database& d, int id, const Json& section, const std::string& name, bool application,
                 Values& out, std::vector<std::string>& ignored) {
    if (!section.is_object()) expected(name, "an object", section);
    const db::NodeDef& def = d.node(id)->def();
    for (auto it = section.begin(); it != section.end(); ++it) {
        const std::string place = name + "." + it.key();
        int index = def.findTopLevel(it.key());
        int slot = index >= 0 ? def.topLevelSlot(index) : -1;
        if (slot < 0 || !isStoredSetting(*def.slot(slot).def, index)) {
            ignored.push_back(place);
            continue;
        }
        db::Value v = readAttribute(*def.slot(slot).def, it.value(), place, ignored);
        if (application) checkRange(index, v, place);
        out.emplace_back(db::AttrKey{id, slot}, std::move(v));
    }
}

// "[json.exception.parse_error.101] parse error at line 1, ..." -> "parse error at line 1, ...".
std::string jsonMessage(const std::exception& e) {
    std::string text = e.what();
    if (!text.empty() && text[0] == '[') {
        std::size_t close = text.find("] ");
        if (close != std::string::npos) text = text.substr(close + 2);
    }
    return text;
}

std::string osError(const std::string& what, const std::string& file, int code) {
    return what + " '" + file + "': " + std::strerror(code);
}

// Writes through a temporary file beside the target, flushed to disk and renamed over it; the folder
// is flushed too so that the rename survives a crash.
bool writeAtomically(const std::string& folder, const std::string& path, const std::string& text, std::string& error) {
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    if (ec) {
        error = "cannot create the folder '" + folder + "': " + ec.message();
        return false;
    }
    const std::string temp = path + ".tmp-" + std::to_string(::getpid());
    int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        error = osError("cannot create", temp, errno);
        return false;
    }
    std::size_t done = 0;
    while (done < text.size()) {
        ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            error = osError("cannot write", temp, n < 0 ? errno : ENOSPC);
            ::close(fd);
            ::unlink(temp.c_str());
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    if (::fsync(fd) != 0) {
        error = osError("cannot flush", temp, errno);
        ::close(fd);
        ::unlink(temp.c_str());
        return false;
    }
    ::close(fd);
    if (::rename(temp.c_str(), path.c_str()) != 0) {
        error = osError("cannot replace", path, errno);
        ::unlink(temp.c_str());
        return false;
    }
    int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return true;
}

}  // namespace

const char* const XSettings::FileName = "settings.json";

XSettings::XSettings() : m_database(std::make_unique<XDatabase>(nullptr)) { build(); }

XSettings::XSettings(const std::wstring& folder) : XSettings() {
    m_fixedFolder = StringUtils::toUtf8(folder);
    while (m_fixedFolder.size() > 1 && m_fixedFolder.back() == '/') m_fixedFolder.pop_back();
    m_folder = m_fixedFolder;
}

XSettings::~XSettings() { m_database->db().removeObserver(this); }

void XSettings::build() {
    db::Database& d = m_database->db();
    d.registerType(sg::ApplicationSettingsNode::Def());
    m_sceneId = d.create(sg::SceneSettingsNode::Def, sg::SceneSettingsNode::Def.typeName());
    m_applicationId = d.create(sg::ApplicationSettingsNode::Def(), sg::ApplicationSettingsNode::Def().typeName());
    d.clearUndo();
    d.setUndoLimit(100);
    d.addObserver(this);
}

void XSettings::resolveFolder() {
    if (!m_fixedFolder.empty()) {
        m_folder = m_fixedFolder;
        return;
    }
    // A relative XDG_CONFIG_HOME is invalid and ignored.
    const char* config = std::getenv("XDG_CONFIG_HOME");
    const char* home = std::getenv("HOME");
    if (config && config[0] == '/') m_folder = std::string(config) + "/velx";
    else if (home && home[0]) m_folder = std::string(home) + "/.config/velx";
    else m_folder.clear();
}

std::wstring XSettings::Folder() const { return StringUtils::toWide(m_folder); }

std::wstring XSettings::FilePath() const {
    return m_folder.empty() ? std::wstring() : StringUtils::toWide(m_folder + "/" + FileName);
}

XSceneSettings XSettings::SceneSettings() const { return XSceneSettings(m_database->Object(m_sceneId)); }
XObject XSettings::ApplicationSettings() const { return m_database->Object(m_applicationId); }

XAttribute XSettings::attribute(int objectId, int index) const {
    const db::Node* n = m_database->db().node(objectId);
    if (!n || index < 0 || index >= n->def().topLevelCount()) return {};
    return XAttribute(m_database.get(), db::AttrKey{objectId, n->def().topLevelSlot(index)});
}

XAttribute XSettings::Plugins() const { return attribute(m_sceneId, sg::Index::Plugins); }
XAttribute XSettings::LengthUnit() const { return attribute(m_applicationId, sg::Index::LengthUnit); }
XAttribute XSettings::MassUnit() const { return attribute(m_applicationId, sg::Index::MassUnit); }
XAttribute XSettings::AngleUnit() const { return attribute(m_applicationId, sg::Index::AngleUnit); }
XAttribute XSettings::ScriptTimeBudget() const { return attribute(m_applicationId, sg::Index::ScriptTimeBudget); }
XAttribute XSettings::ScriptMemoryBudget() const { return attribute(m_applicationId, sg::Index::ScriptMemoryBudget); }
XAttribute XSettings::PluginFolders() const { return attribute(m_applicationId, sg::Index::PluginFolders); }
XAttribute XSettings::TrustedScripts() const { return attribute(m_applicationId, sg::Index::TrustedScripts); }
XAttribute XSettings::RecentFiles() const { return attribute(m_applicationId, sg::Index::RecentFiles); }
XAttribute XSettings::AutosaveMinutes() const { return attribute(m_applicationId, sg::Index::AutosaveMinutes); }

void XSettings::writeDefaults() {
    db::Database& d = m_database->db();
    for (int id : {m_sceneId, m_applicationId}) {
        const db::NodeDef& def = d.node(id)->def();
        for (int i = FirstOwnIndex; i < def.topLevelCount(); ++i) {
            const int slot = def.topLevelSlot(i);
            const AttributeDef& a = *def.slot(slot).def;
            if (!isStoredSetting(a, i)) continue;
            d.setValue(db::AttrKey{id, slot}, a.isArray ? db::Value(db::ValueList{}) : a.defaultValue);
        }
    }
}

bool XSettings::readFile(const std::string& path, std::string& text, std::string& problem) const {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        problem = std::string("cannot open it: ") + std::strerror(errno);
        return false;
    }
    char buffer[16384];
    for (;;) {
        ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            problem = std::string("cannot read it: ") + std::strerror(errno);
            ::close(fd);
            return false;
        }
        if (n == 0) break;
        text.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return true;
}

// Moves the damaged file aside as settings.json.damaged-<timestamp> ("" when that fails).
std::string XSettings::keepDamaged(const std::string& path) const {
    std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &local);
    std::string copy = path + ".damaged-" + stamp;
    struct stat st;
    for (int n = 2; ::lstat(copy.c_str(), &st) == 0 && n < 1000; ++n)
        copy = path + ".damaged-" + stamp + "-" + std::to_string(n);
    return ::rename(path.c_str(), copy.c_str()) == 0 ? copy : std::string();
}

bool XSettings::Load() {
    resolveFolder();
    db::Database& d = m_database->db();
    if (d.blockDepth() > 0) {
        log("Settings were not loaded: a settings change block is open.");
        return false;
    }
    const std::string path = m_folder.empty() ? std::string() : m_folder + "/" + FileName;
    Values values;
    std::string problem;
    bool damaged = false;
    if (path.empty()) {
        log("Settings: neither XDG_CONFIG_HOME nor HOME is set; the defaults are used.");
    } else {
        struct stat st;
        if (::stat(path.c_str(), &st) != 0 && (errno == ENOENT || errno == ENOTDIR)) {
            // No file yet: the defaults.
        } else {
            std::string text;
            damaged = !readFile(path, text, problem);
            if (!damaged) {
                try {
                    Json root = Json::parse(text);
                    if (!root.is_object()) expected("the file", "an object", root);
                    std::vector<std::string> ignored;
                    for (auto it = root.begin(); it != root.end(); ++it) {
                        const std::string& key = it.key();
                        if (key == "format") {
                            if (!it->is_string() || it->get<std::string>() != FormatName)
                                expected("format", std::string("\"") + FormatName + "\"", *it);
                        } else if (key == "version") {
                            if (!it->is_number_integer()) expected("version", "a whole number", *it);
                            if (it->get<std::int64_t>() > FormatVersion)
                                throw std::runtime_error("version: written by a newer version (" +
                                                         std::to_string(it->get<std::int64_t>()) + ")");
                        } else if (key == "application") {
                            readSection(d, m_applicationId, *it, key, true, values, ignored);
                        } else if (key == "scene") {
                            readSection(d, m_sceneId, *it, key, false, values, ignored);
                        } else {
                            ignored.push_back(key);
                        }
                    }
                    if (!ignored.empty()) {
                        std::string list;
                        for (const std::string& s : ignored) list += (list.empty() ? "" : ", ") + s;
                        log("Settings file '" + path + "': unknown settings ignored: " + list);
                    }
                } catch (const nlohmann::json::exception& e) {
                    damaged = true;
                    problem = jsonMessage(e);
                } catch (const std::runtime_error& e) {
                    damaged = true;
                    problem = e.what();
                }
            }
        }
    }

    // Defaults, then the file's values, in one round that neither saves nor notifies; a value the
    // database refuses counts as damage and leaves the defaults.
    m_loading = true;
    d.beginChangeBlock();
    writeDefaults();
    for (const auto& [key, value] : values) {
        if (damaged) break;
        if (!d.setValue(key, value)) {
            damaged = true;
            problem = "the value of " + d.node(key.node)->def().slot(key.slot).def->name + " was refused";
        }
    }
    if (damaged) {
        d.cancelChangeBlock();
        d.beginChangeBlock();
        writeDefaults();
    }
    d.endChangeBlock("Load Settings");
    m_loading = false;
    d.clearUndo();

    if (damaged) {
        std::string copy = keepDamaged(path);
        if (!copy.empty()) {
            log("Settings file '" + path + "' is damaged (" + problem +
                "); the defaults are used and the damaged file was kept as '" + copy + "'.");
            Save();
        } else {
            log("Settings file '" + path + "' is damaged or unreadable (" + problem +
                "); the defaults are used. It could not be moved aside and is overwritten at the next save.");
        }
    }
    Apply();
    notifyObservers([&](XSettingsObserver* o) { o->OnSettingsLoaded(*this); });
    return !damaged;
}

bool XSettings::Save() {
    if (m_folder.empty()) resolveFolder();
    if (m_folder.empty()) {
        log("Settings were not saved: neither XDG_CONFIG_HOME nor HOME is set.");
        return false;
    }
    const db::Database& d = m_database->db();
    Json root = Json::object();
    root["format"] = FormatName;
    root["version"] = FormatVersion;
    root["application"] = writeObject(d, m_applicationId);
    root["scene"] = writeObject(d, m_sceneId);
    const std::string path = m_folder + "/" + FileName;
    std::string error;
    if (!writeAtomically(m_folder, path, root.dump(2) + "\n", error)) {
        log("Settings were not saved to '" + path + "': " + error);
        return false;
    }
    return true;
}

void XSettings::Open() {
    notifyObservers([&](XSettingsObserver* o) { o->OnSettingsCreated(*this); });
    Load();
}

void XSettings::ResetToDefaults() {
    db::Database& d = m_database->db();
    d.beginChangeBlock();
    writeDefaults();
    d.endChangeBlock("Reset Settings");
    notifyObservers([&](XSettingsObserver* o) { o->OnSettingsCreated(*this); });
}

bool XSettings::IsTrusted(const std::wstring& path, const std::wstring& sha256Hex) const {
    const std::string file = StringUtils::toUtf8(path);
    const std::string hash = lowercase(StringUtils::toUtf8(sha256Hex));
    const db::Value list = m_database->db().storedValue(TrustedScripts().key());
    if (const db::ValueList* entries = list.tryGet<db::ValueList>())
        for (const db::Value& e : *entries) {
            const std::string& text = e.asString();
            std::size_t bar = text.rfind('|');
            if (bar != std::string::npos && text.compare(0, bar, file) == 0 && bar == file.size() &&
                lowercase(text.substr(bar + 1)) == hash)
                return true;
        }
    return false;
}

namespace {
// The entries of a string array without those of one path.
db::ValueList withoutPath(const db::Value& stored, const std::string& path) {
    db::ValueList out;
    if (const db::ValueList* entries = stored.tryGet<db::ValueList>())
        for (const db::Value& e : *entries) {
            const std::string& text = e.asString();
            std::size_t bar = text.rfind('|');
            if (bar == std::string::npos || text.compare(0, bar, path) != 0 || bar != path.size()) out.push_back(e);
        }
    return out;
}
}  // namespace

bool XSettings::Trust(const std::wstring& path, const std::wstring& sha256Hex) {
    const std::string file = StringUtils::toUtf8(path);
    const std::string hash = lowercase(StringUtils::toUtf8(sha256Hex));
    if (file.empty() || !isHexHash(hash)) {
        log("Not trusted: '" + file + "' needs a 64-digit SHA-256 hex hash, got '" + hash + "'.");
        return false;
    }
    db::Database& d = m_database->db();
    const db::AttrKey key = TrustedScripts().key();
    db::ValueList entries = withoutPath(d.storedValue(key), file);
    entries.emplace_back(file + "|" + hash);
    d.setValue(key, db::Value(std::move(entries)));
    return true;
}

bool XSettings::Untrust(const std::wstring& path) {
    db::Database& d = m_database->db();
    const db::AttrKey key = TrustedScripts().key();
    const db::Value stored = d.storedValue(key);
    db::ValueList entries = withoutPath(stored, StringUtils::toUtf8(path));
    const db::ValueList* before = stored.tryGet<db::ValueList>();
    if (before && before->size() == entries.size()) return false;
    d.setValue(key, db::Value(std::move(entries)));
    return true;
}

void XSettings::AddRecentFile(const std::wstring& path) {
    const std::string file = StringUtils::toUtf8(path);
    if (file.empty()) return;
    db::Database& d = m_database->db();
    const db::AttrKey key = RecentFiles().key();
    db::ValueList files{db::Value(file)};
    const db::Value stored = d.storedValue(key);
    if (const db::ValueList* old = stored.tryGet<db::ValueList>())
        for (const db::Value& f : *old)
            if (f.asString() != file && files.size() < static_cast<std::size_t>(MaxRecentFiles)) files.push_back(f);
    d.setValue(key, db::Value(std::move(files)));
}

void XSettings::Apply() const {
    auto index = [](const XAttribute& a, int count, int fallback) {
        int i = a.Enumeration();
        return i >= 0 && i < count ? i : fallback;
    };
    XDisplayUnits& units = m_database->DisplayUnits();
    units.length = index(LengthUnit(), XUnits::LengthUnitCount, XUnits::DefaultLengthUnit);
    units.mass = index(MassUnit(), XUnits::MassUnitCount, XUnits::DefaultMassUnit);
    units.angle = index(AngleUnit(), XUnits::AngleUnitCount, XUnits::DefaultAngleUnit);
    // Values the file could not hold but a script or editor might have set fall back to the defaults.
    XScriptLimits& limits = XScriptLimits::Shared();
    const double seconds = ScriptTimeBudget().Float();
    limits.timeBudgetSeconds = std::isfinite(seconds) && seconds > 0 ? seconds : XScriptLimits().timeBudgetSeconds;
    const int mebibytes = ScriptMemoryBudget().Integer();
    limits.memoryBudgetBytes =
        mebibytes > 0 ? static_cast<std::size_t>(mebibytes) * 1024u * 1024u : XScriptLimits().memoryBudgetBytes;
}

void XSettings::onDatabaseChanged(db::Database&, const std::shared_ptr<const db::DatabaseChange>& change) {
    if (m_loading || !change->hasEdits()) return;
    const bool transient = change->isTransient();
    Apply();
    if (!transient) Save();
    XSettingsChange settingsChange(*this, change);
    notifyObservers([&](XSettingsObserver* o) { o->OnSettingsChanged(settingsChange, transient); });
}

}  // namespace VelX

// Application settings: a small database of their own, stored as JSON in the user's configuration
// folder, validated completely before any of it is used.
#include "XSettingsFile.h"
#include "XTrustStore.h"

#include <velxcore/XAtomicFile.h>
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

#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace VelX {

using Velutils::StringUtils;
using db::AttributeDef;
using db::ValueType;

namespace {

void log(const std::string& text) { XLog::Write(text); }

template <class Call> void notifyObservers(Call&& call) { XSettingsObservers::Shared().Notify(call); }

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
        for (int i = XSettingsFile::FirstOwnIndex; i < def.topLevelCount(); ++i) {
            const int slot = def.topLevelSlot(i);
            const AttributeDef& a = *def.slot(slot).def;
            if (!XSettingsFile::IsStored(a, i)) continue;
            d.setValue(db::AttrKey{id, slot}, a.isArray ? db::Value(db::ValueList{}) : a.defaultValue);
        }
    }
}

bool XSettings::Load() {
    resolveFolder();
    db::Database& d = m_database->db();
    if (d.blockDepth() > 0) {
        log("Settings were not loaded: a settings change block is open.");
        return false;
    }
    const std::string path = m_folder.empty() ? std::string() : m_folder + "/" + FileName;
    XSettingsFile::Values values;
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
            damaged = !XSettingsFile::ReadFile(path, text, problem);
            std::vector<std::string> ignored;
            if (!damaged) damaged = !XSettingsFile::Read(d, m_applicationId, m_sceneId, text, values, ignored, problem);
            if (!ignored.empty()) {
                std::string list;
                for (const std::string& s : ignored) list += (list.empty() ? "" : ", ") + s;
                log("Settings file '" + path + "': unknown settings ignored: " + list);
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
        std::string copy = XSettingsFile::KeepDamaged(path);
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
    const std::string path = m_folder + "/" + FileName;
    std::string error;
    if (!XAtomicFile::Write(path, XSettingsFile::Write(m_database->db(), m_applicationId, m_sceneId), error,
                            XAtomicFile::Folders::Make)) {
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
    return XTrustStore::Contains(m_database->db().storedValue(TrustedScripts().key()), StringUtils::toUtf8(path),
                                 StringUtils::toUtf8(sha256Hex));
}

bool XSettings::Trust(const std::wstring& path, const std::wstring& sha256Hex) {
    const std::string file = StringUtils::toUtf8(path);
    const std::string hash = StringUtils::toUtf8(sha256Hex);
    if (file.empty() || !XTrustStore::IsHexHash(hash)) {
        log("Not trusted: '" + file + "' needs a 64-digit SHA-256 hex hash, got '" + hash + "'.");
        return false;
    }
    db::Database& d = m_database->db();
    const db::AttrKey key = TrustedScripts().key();
    d.setValue(key, db::Value(XTrustStore::With(d.storedValue(key), file, hash)));
    return true;
}

bool XSettings::Untrust(const std::wstring& path) {
    db::Database& d = m_database->db();
    const db::AttrKey key = TrustedScripts().key();
    const db::Value stored = d.storedValue(key);
    db::ValueList entries = XTrustStore::Without(stored, StringUtils::toUtf8(path));
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

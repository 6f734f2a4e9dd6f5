// The settings file: written in the values' shared JSON form, read and checked completely.
#include "XSettingsFile.h"
#include "XTrustStore.h"

#include <velxcore/XJsonValueCodec.h>

#include <veldatabase/Database.h>
#include <velscenegraph/ApplicationSettingsNode.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <stdexcept>

namespace VelX {

using Codec = XJsonValueCodec;
using Json = XJsonValueCodec::Json;
using db::AttributeDef;
using db::ValueType;

namespace {

constexpr const char* FormatName = "velx-settings";
constexpr int MaxRecentFiles = 10;
constexpr int SectionDepth = 1;

void writeSection(std::string& out, const db::Database& d, int id) {
    const db::NodeDef& def = d.node(id)->def();
    bool any = false;
    out += '{';
    for (int i = 0; i < def.topLevelCount(); ++i) {
        const int slot = def.topLevelSlot(i);
        const AttributeDef& a = *def.slot(slot).def;
        if (!XSettingsFile::IsStored(a, i)) continue;
        out += any ? "," : "";
        any = true;
        Codec::newLine(out, SectionDepth + 1);
        Codec::writeKey(out, a.name);
        const db::Value v = d.storedValue(db::AttrKey{id, slot});
        if (a.isArray) Codec::writeArray(out, a, v.tryGet<db::ValueList>(), SectionDepth + 1);
        else Codec::writeValue(out, a, v);
    }
    if (any) Codec::newLine(out, SectionDepth);
    out += '}';
}

// A newer version may add fields to a list's elements: they are ignored (and listed), not damage.
Json withoutUnknownFields(const AttributeDef& a, const Json& element, const std::string& place,
                          std::vector<std::string>& ignored) {
    if (a.children.empty() || !element.is_object()) return element;
    Json known = Json::object();
    for (auto it = element.begin(); it != element.end(); ++it) {
        const bool isField = std::any_of(a.children.begin(), a.children.end(),
                                         [&](const AttributeDef& f) { return f.name == it.key(); });
        if (isField) known[it.key()] = it.value();
        else ignored.push_back(Codec::keyPlace(place, it.key()));
    }
    return known;
}

db::Value readAttribute(const AttributeDef& a, const Json& j, const std::string& place, std::vector<std::string>& ignored) {
    if (!a.isArray) return Codec::readValue(a, j, place);
    if (!j.is_array()) Codec::expected(place, "a list", j);
    db::ValueList list;
    for (std::size_t i = 0; i < j.size(); ++i) {
        const std::string here = Codec::at(place, i);
        list.push_back(Codec::readValue(a, withoutUnknownFields(a, j[i], here, ignored), here));
    }
    return db::Value(std::move(list));
}

// Checks that the type alone cannot express.
void checkRange(int index, db::Value& v, const std::string& place) {
    switch (index) {
    case sg::Index::ScriptTimeBudget:
        if (!(v.asDouble() > 0.0)) Codec::fail(place, "must be more than 0 seconds");
        break;
    case sg::Index::ScriptMemoryBudget:
        if (v.asInt() < 1) Codec::fail(place, "must be at least 1 MiB");
        break;
    case sg::Index::AutosaveMinutes:
        if (v.asInt() < 0) Codec::fail(place, "must not be negative");
        break;
    case sg::Index::TrustedScripts: {
        db::ValueList& list = v.get<db::ValueList>();
        for (std::size_t i = 0; i < list.size(); ++i) {
            const std::string& entry = list[i].asString();
            if (!XTrustStore::IsEntry(entry))
                Codec::fail(Codec::at(place, i), "expected \"file-path|sha256-hex\", found \"" + Codec::excerpt(entry) + "\"");
        }
        break;
    }
    case sg::Index::RecentFiles: {
        db::ValueList& list = v.get<db::ValueList>();
        if (list.size() > static_cast<std::size_t>(MaxRecentFiles)) list.resize(MaxRecentFiles);
        break;
    }
    default: break;
    }
}

void readSection(const db::Database& d, int id, const Json& section, const std::string& name, bool application,
                 XSettingsFile::Values& out, std::vector<std::string>& ignored) {
    if (!section.is_object()) Codec::expected(name, "an object", section);
    const db::NodeDef& def = d.node(id)->def();
    for (auto it = section.begin(); it != section.end(); ++it) {
        const std::string place = Codec::keyPlace(name, it.key());
        int index = def.findTopLevel(it.key());
        int slot = index >= 0 ? def.topLevelSlot(index) : -1;
        if (slot < 0 || !XSettingsFile::IsStored(*def.slot(slot).def, index)) {
            ignored.push_back(place);
            continue;
        }
        db::Value v = readAttribute(*def.slot(slot).def, it.value(), place, ignored);
        if (application) checkRange(index, v, place);
        out.emplace_back(db::AttrKey{id, slot}, std::move(v));
    }
}

// "[json.exception.parse_error.101] parse error at line 1, ..." -> "parse error at line 1, ...", with
// the text it quotes cut short.
std::string jsonMessage(const std::exception& e) {
    std::string text = e.what();
    if (!text.empty() && text[0] == '[') {
        std::size_t close = text.find("] ");
        if (close != std::string::npos) text = text.substr(close + 2);
    }
    return Codec::parserMessage(text);
}

}  // namespace

bool XSettingsFile::IsStored(const AttributeDef& a, int index) {
    if (index < FirstOwnIndex || a.has(db::Computed) || a.has(db::Internal)) return false;
    if (a.type == ValueType::Compound) return a.isArray;
    return a.type == ValueType::Float || a.type == ValueType::Double || a.type == ValueType::Int ||
           a.type == ValueType::Bool || a.type == ValueType::Enum || a.type == ValueType::String;
}

std::string XSettingsFile::Write(const db::Database& database, int applicationId, int sceneId) {
    std::string out = "{";
    Codec::newLine(out, SectionDepth);
    Codec::writeKey(out, "format");
    Codec::writeString(out, FormatName);
    out += ',';
    Codec::newLine(out, SectionDepth);
    Codec::writeKey(out, "version");
    Codec::writeInt(out, FormatVersion);
    out += ',';
    Codec::newLine(out, SectionDepth);
    Codec::writeKey(out, "application");
    writeSection(out, database, applicationId);
    out += ',';
    Codec::newLine(out, SectionDepth);
    Codec::writeKey(out, "scene");
    writeSection(out, database, sceneId);
    out += "\n}\n";
    return out;
}

bool XSettingsFile::Read(const db::Database& d, int applicationId, int sceneId, const std::string& text,
                         Values& values, std::vector<std::string>& ignored, std::string& problem) {
    try {
        const Json root = Json::parse(text);
        if (!root.is_object()) Codec::expected("the file", "an object", root);
        for (auto it = root.begin(); it != root.end(); ++it) {
            const std::string& key = it.key();
            if (key == "format") {
                if (!it->is_string() || it->get<std::string>() != FormatName)
                    Codec::expected("format", std::string("\"") + FormatName + "\"", *it);
            } else if (key == "version") {
                std::int64_t version = 0;
                if (!Codec::readInteger(*it, version)) Codec::expected("version", "a whole number", *it);
                if (version > FormatVersion)
                    Codec::fail("version", "written by a newer version (" + std::to_string(version) + ")");
            } else if (key == "application") {
                readSection(d, applicationId, *it, key, true, values, ignored);
            } else if (key == "scene") {
                readSection(d, sceneId, *it, key, false, values, ignored);
            } else {
                ignored.push_back(Codec::excerpt(key));
            }
        }
        return true;
    } catch (const nlohmann::json::exception& e) {
        problem = jsonMessage(e);
    } catch (const Codec::Error& e) {
        problem = e.place.empty() ? e.problem : e.place + ": " + e.problem;
    }
    return false;
}

bool XSettingsFile::ReadFile(const std::string& path, std::string& text, std::string& problem) {
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

std::string XSettingsFile::KeepDamaged(const std::string& path) {
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

}  // namespace VelX

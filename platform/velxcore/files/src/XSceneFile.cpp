// Scene files: writing the database as JSON, validating a file completely before loading it, and
// saving through a temporary file so that the old file survives any failure.
#include <velxcore/XSceneFile.h>

#include <veldatabase/Database.h>

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace VelX {

namespace {

using Json = nlohmann::json;
using db::AttributeDef;
using db::ValueType;

constexpr const char* FormatName = "velx-scene";

// ---------------------------------------------------------------- writing

// The text is appended piece by piece: no document is built. Objects, attributes (in the order
// of their type) and connections always come in the same order, so equal scenes give equal text.

void writeInt(std::string& out, std::int64_t i) {
    char text[24];
    out.append(text, std::to_chars(text, text + sizeof text, i).ptr);
}

// A whole number gets ".0" so that it reads back as a number with a fraction.
void writeNumberText(std::string& out, const char* text, const char* end) {
    out.append(text, end);
    if (std::none_of(text, end, [](char c) { return c == '.' || c == 'e'; })) out += ".0";
}

// Non-finite numbers have no JSON form and are written as strings.
bool writeNonFinite(std::string& out, double d) {
    if (std::isnan(d)) out += "\"nan\"";
    else if (std::isinf(d)) out += d > 0 ? "\"inf\"" : "\"-inf\"";
    else return false;
    return true;
}

// The shortest decimal that reads back as the same float ("0.6", not "0.60000002384185791"). It is
// read as a double first, so the rare text that would round differently that way gets the
// double's digits instead.
void writeFloat(std::string& out, float f) {
    if (writeNonFinite(out, f)) return;
    char text[48];
    char* end = std::to_chars(text, text + sizeof text, f).ptr;
    double d = 0;
    if (std::from_chars(text, end, d).ec != std::errc() || static_cast<float>(d) != f)
        end = std::to_chars(text, text + sizeof text, static_cast<double>(f)).ptr;
    writeNumberText(out, text, end);
}

void writeDouble(std::string& out, double d) {
    if (writeNonFinite(out, d)) return;
    char text[48];
    writeNumberText(out, text, std::to_chars(text, text + sizeof text, d).ptr);
}

// Plain ASCII is copied; anything else is escaped by the JSON library, which also replaces
// invalid UTF-8.
void writeString(std::string& out, const std::string& s) {
    const bool plain = std::all_of(s.begin(), s.end(), [](char ch) {
        unsigned char c = static_cast<unsigned char>(ch);
        return c >= 0x20 && c < 0x7F && c != '"' && c != '\\';
    });
    if (!plain) {
        out += nlohmann::json(s).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
        return;
    }
    out += '"';
    out += s;
    out += '"';
}

void writeKey(std::string& out, const std::string& name) {
    writeString(out, name);
    out += ": ";
}

void newLine(std::string& out, int depth) {
    out += '\n';
    out.append(static_cast<std::size_t>(depth) * 2, ' ');
}

void writeFloats(std::string& out, const float* f, int count) {
    out += '[';
    for (int i = 0; i < count; ++i) {
        if (i) out += ", ";
        writeFloat(out, f[i]);
    }
    out += ']';
}

bool isSaved(const AttributeDef& a) {
    if (a.has(db::Computed) || a.has(db::Internal)) return false;
    return a.type != ValueType::ObjectRef || a.isArray;  // single references live in connections
}

// One value of the attribute's element type (a whole element for compound arrays), on one line.
void writeScalar(std::string& out, const AttributeDef& a, const db::Value& v) {
    switch (a.type) {
    case ValueType::Int: writeInt(out, v.asInt()); return;
    case ValueType::Bool: out += v.asBool() ? "true" : "false"; return;
    case ValueType::Enum: {
        int i = v.asInt();
        if (i >= 0 && i < static_cast<int>(a.enumNames.size())) writeString(out, a.enumNames[static_cast<std::size_t>(i)]);
        else writeInt(out, i);
        return;
    }
    case ValueType::Float: writeFloat(out, static_cast<float>(v.asDouble())); return;
    case ValueType::Double: writeDouble(out, v.asDouble()); return;
    case ValueType::String: writeString(out, v.asString()); return;
    case ValueType::Vector: {
        Velutils::Vec3 x = v.is<Velutils::Vec3>() ? v.get<Velutils::Vec3>() : Velutils::Vec3{};
        const float f[] = {x.x, x.y, x.z};
        writeFloats(out, f, 3);
        return;
    }
    case ValueType::Quaternion: {
        Velutils::Quat q = v.is<Velutils::Quat>() ? v.get<Velutils::Quat>() : Velutils::Quat{};
        const float f[] = {q.x, q.y, q.z, q.w};
        writeFloats(out, f, 4);
        return;
    }
    case ValueType::Matrix: {
        Velutils::Matrix4 m = v.is<Velutils::Matrix4>() ? v.get<Velutils::Matrix4>() : Velutils::Matrix4{};
        float f[16];
        for (int i = 0; i < 16; ++i) f[i] = m.m[i / 4][i % 4];
        writeFloats(out, f, 16);
        return;
    }
    case ValueType::ObjectRef: out += "null"; return;  // the target is a connection
    case ValueType::Compound: {
        const db::ValueList* fields = v.tryGet<db::ValueList>();
        out += '{';
        for (std::size_t c = 0; c < a.children.size(); ++c) {
            const AttributeDef& f = a.children[c];
            if (c) out += ", ";
            writeKey(out, f.name);
            writeScalar(out, f, fields && c < fields->size() ? (*fields)[c] : f.defaultValue);
        }
        out += '}';
        return;
    }
    }
    out += "null";
}

// An array puts elements that hold several numbers one to a line, at `depth` + 1; a negative
// depth keeps the whole array on one line.
void writeArray(std::string& out, const AttributeDef& a, const db::ValueList* list, int depth) {
    if (!list || list->empty()) {
        out += "[]";
        return;
    }
    const bool lines = depth >= 0 && (a.type == ValueType::Compound || a.type == ValueType::Vector ||
                                      a.type == ValueType::Quaternion || a.type == ValueType::Matrix);
    out += '[';
    for (std::size_t e = 0; e < list->size(); ++e) {
        if (e) out += ',';
        if (lines) newLine(out, depth + 1);
        else if (e) out += ' ';
        writeScalar(out, a, (*list)[e]);
    }
    if (lines) newLine(out, depth);
    out += ']';
}

// What a type saves, with the value a new object of the type holds: only other values are written
// (the loader starts from these defaults).
struct SavedField {
    int slot;
    const AttributeDef* def;
    db::Value fallback;
};

struct SavedAttribute {
    int slot;
    const AttributeDef* def;
    db::Value fallback;               // plain attributes; arrays default to empty
    std::vector<SavedField> fields;   // compounds
    bool compound = false;
};

struct SavedType {
    std::vector<SavedAttribute> attributes;
};

SavedType savedType(const db::NodeDef& def) {
    const db::Node fresh(-1, def, std::string());
    SavedType type;
    for (int i = 0; i < def.topLevelCount(); ++i) {
        const int s = def.topLevelSlot(i);
        const db::SlotInfo& info = def.slot(s);
        if (!isSaved(*info.def)) continue;
        SavedAttribute saved{s, info.def, {}, {}, false};
        if (info.def->type == ValueType::Compound && !info.def->isArray) {
            saved.compound = true;
            for (int c = info.firstChild; c < info.firstChild + info.childCount; ++c)
                if (isSaved(*def.slot(c).def)) saved.fields.push_back({c, def.slot(c).def, fresh.stored(c)});
        } else if (!info.def->isArray) {
            saved.fallback = fresh.stored(s);
        }
        type.attributes.push_back(std::move(saved));
    }
    return type;
}

constexpr int ObjectDepth = 2;     // inside "objects"
constexpr int AttributeDepth = 4;  // inside an object's "attributes"

// Opens the next entry of an object's "attributes", the first one opening the block itself.
void nextAttribute(std::string& out, bool& any, const std::string& name) {
    out += any ? "," : ",\n      \"attributes\": {";
    any = true;
    newLine(out, AttributeDepth);
    writeKey(out, name);
}

void writeAttributes(std::string& out, const db::Node& n, const SavedType& type) {
    bool any = false;
    for (const SavedAttribute& a : type.attributes) {
        if (a.compound) {
            bool open = false;
            for (const SavedField& f : a.fields) {
                db::Value v = n.stored(f.slot);
                if (v == f.fallback) continue;
                if (!open) nextAttribute(out, any, a.def->name);
                out += open ? ", " : "{";
                open = true;
                writeKey(out, f.def->name);
                writeScalar(out, *f.def, v);
            }
            if (open) out += '}';
        } else if (a.def->isArray) {
            const db::ValueList* list = n.array(a.slot);
            if (!list || list->empty()) continue;
            nextAttribute(out, any, a.def->name);
            writeArray(out, *a.def, list, AttributeDepth);
        } else {
            db::Value v = n.stored(a.slot);
            if (v == a.fallback) continue;
            nextAttribute(out, any, a.def->name);
            writeScalar(out, *a.def, v);
        }
    }
    if (any) {
        newLine(out, ObjectDepth + 1);
        out += '}';
    }
}

// User-added attributes keep their value even when it is the default: the file does not record
// the default itself.
void writeCustom(std::string& out, const db::Database& database, const db::Node& n) {
    bool any = false;
    for (int c = 0; c < n.customCount(); ++c) {
        const int slot = n.def().slotCount() + c;
        if (database.isRemovedCustomSlot(n.id(), slot)) continue;
        const AttributeDef& a = *n.slotDef(slot);
        out += any ? "," : ",\n      \"custom\": [";
        any = true;
        newLine(out, AttributeDepth);
        out += "{\"name\": ";
        writeString(out, a.name);
        out += ", \"type\": ";
        writeInt(out, static_cast<int>(a.type));
        out += ", \"isArray\": ";
        out += a.isArray ? "true" : "false";
        if (!a.enumNames.empty()) {
            out += ", \"enumNames\": [";
            for (std::size_t e = 0; e < a.enumNames.size(); ++e) {
                if (e) out += ", ";
                writeString(out, a.enumNames[e]);
            }
            out += ']';
        }
        if (!a.refType.empty()) {
            out += ", \"refType\": ";
            writeString(out, a.refType);
        }
        db::Value v = n.stored(slot);
        if (isSaved(a) && !v.isNone()) {
            out += ", \"value\": ";
            if (a.isArray) writeArray(out, a, v.tryGet<db::ValueList>(), -1);
            else writeScalar(out, a, v);
        }
        out += '}';
    }
    if (any) {
        newLine(out, ObjectDepth + 1);
        out += ']';
    }
}

void writeObject(std::string& out, const db::Database& database, const db::Node& n, int fileId, int parentFileId,
                 const SavedType& type) {
    newLine(out, ObjectDepth);
    out += "{\n      \"id\": ";
    writeInt(out, fileId);
    out += ",\n      \"type\": ";
    writeString(out, n.def().typeName());
    out += ",\n      \"name\": ";
    writeString(out, n.name());
    out += ",\n      \"parent\": ";
    if (parentFileId > 0) writeInt(out, parentFileId);
    else out += "null";
    writeAttributes(out, n, type);
    writeCustom(out, database, n);
    newLine(out, ObjectDepth);
    out += '}';
}

// A list of one-line entries, one to a line.
template <class List, class WriteEntry>
void writeList(std::string& out, const char* key, const List& list, WriteEntry&& entry) {
    out += ",\n  \"";
    out += key;
    out += "\": [";
    for (std::size_t i = 0; i < list.size(); ++i) {
        out += i ? ",\n    " : "\n    ";
        entry(list[i]);
    }
    out += list.empty() ? "]" : "\n  ]";
}

// "translateX", "colour.r", "keys[2].value", "message".
std::string attributePath(const db::Node& n, const db::AttrKey& key) {
    const AttributeDef* a = n.slotDef(key.slot);
    if (!a) return "?";
    std::string out;
    if (!n.isCustomSlot(key.slot) && n.def().slot(key.slot).parent >= 0)
        out = n.def().slot(n.def().slot(key.slot).parent).def->name + ".";
    out += a->name;
    if (key.element >= 0) {
        out += "[" + std::to_string(key.element) + "]";
        if (key.child >= 0 && key.child < static_cast<int>(a->children.size()))
            out += "." + a->children[static_cast<std::size_t>(key.child)].name;
    }
    return out;
}

// ---------------------------------------------------------------- reading

struct LoadError {
    std::string place;
    std::string problem;
};

[[noreturn]] void fail(const std::string& place, const std::string& problem) { throw LoadError{place, problem}; }

std::string shown(const Json& j) {
    if (j.is_array()) return "an array";
    if (j.is_object()) return "an object";
    std::string text = j.dump(-1, ' ', false, Json::error_handler_t::replace);
    return text.size() > 40 ? text.substr(0, 37) + "..." : text;
}

[[noreturn]] void expected(const std::string& place, const std::string& what, const Json& j) {
    fail(place, "expected " + what + ", found " + shown(j));
}

std::string at(const std::string& place, std::size_t index) { return place + "[" + std::to_string(index) + "]"; }

const Json* member(const Json& object, const char* key) {
    auto it = object.find(key);
    return it == object.end() ? nullptr : &*it;
}

void onlyKeys(const Json& object, std::initializer_list<const char*> keys, const std::string& place) {
    for (auto it = object.begin(); it != object.end(); ++it)
        if (std::none_of(keys.begin(), keys.end(), [&](const char* k) { return it.key() == k; }))
            fail(place.empty() ? it.key() : place + "." + it.key(), "unknown key");
}

bool readInteger(const Json& j, std::int64_t& out) {
    if (j.is_number_unsigned()) {
        std::uint64_t u = j.get<std::uint64_t>();
        if (u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return false;
        out = static_cast<std::int64_t>(u);
        return true;
    }
    if (!j.is_number_integer()) return false;
    out = j.get<std::int64_t>();
    return true;
}

bool readNumber(const Json& j, double& out) {
    if (j.is_number()) {
        out = j.get<double>();
        return true;
    }
    if (!j.is_string()) return false;
    const std::string& s = j.get_ref<const std::string&>();
    if (s == "nan") out = std::numeric_limits<double>::quiet_NaN();
    else if (s == "inf") out = std::numeric_limits<double>::infinity();
    else if (s == "-inf") out = -std::numeric_limits<double>::infinity();
    else return false;
    return true;
}

float readFloat(const Json& j, const std::string& place) {
    double d = 0;
    if (!readNumber(j, d)) expected(place, "a number", j);
    // Up to half a step past the largest float rounds to it; beyond that the number does not fit.
    constexpr double FloatLimit = 0x1.ffffffp127;
    if (std::isfinite(d) && std::fabs(d) >= FloatLimit) fail(place, "number out of range: " + shown(j));
    if (std::isfinite(d) && std::fabs(d) > FLT_MAX) return std::copysign(FLT_MAX, static_cast<float>(d));
    return static_cast<float>(d);
}

std::vector<float> readFloats(const Json& j, std::size_t count, const std::string& place) {
    if (!j.is_array() || j.size() != count) expected(place, std::to_string(count) + " numbers", j);
    std::vector<float> out;
    for (std::size_t i = 0; i < count; ++i) out.push_back(readFloat(j[i], at(place, i)));
    return out;
}

std::string joined(const std::vector<std::string>& names) {
    std::string out;
    for (const std::string& n : names) out += (out.empty() ? "" : ", ") + n;
    return out;
}

// One value of the attribute's element type, converted as the database stores it.
db::Value readScalar(const AttributeDef& a, const Json& j, const std::string& place) {
    switch (a.type) {
    case ValueType::Int: {
        std::int64_t i = 0;
        if (!readInteger(j, i)) expected(place, "an integer", j);
        if (i < std::numeric_limits<std::int32_t>::min() || i > std::numeric_limits<std::int32_t>::max())
            fail(place, "integer out of range: " + shown(j));
        return static_cast<std::int32_t>(i);
    }
    case ValueType::Bool:
        if (!j.is_boolean()) expected(place, "true or false", j);
        return j.get<bool>();
    case ValueType::Enum: {
        if (a.enumNames.empty()) {
            std::int64_t i = 0;
            if (!readInteger(j, i) || i < 0 || i > std::numeric_limits<std::int32_t>::max())
                expected(place, "a choice number", j);
            return static_cast<std::int32_t>(i);
        }
        if (!j.is_string()) expected(place, "one of " + joined(a.enumNames), j);
        auto it = std::find(a.enumNames.begin(), a.enumNames.end(), j.get_ref<const std::string&>());
        if (it == a.enumNames.end()) fail(place, shown(j) + " is not one of " + joined(a.enumNames));
        return static_cast<std::int32_t>(it - a.enumNames.begin());
    }
    case ValueType::Float: return readFloat(j, place);
    case ValueType::Double: {
        double d = 0;
        if (!readNumber(j, d)) expected(place, "a number", j);
        return d;
    }
    case ValueType::String:
        if (!j.is_string()) expected(place, "a string", j);
        return j.get<std::string>();
    case ValueType::Vector: {
        std::vector<float> f = readFloats(j, 3, place);
        return Velutils::Vec3{f[0], f[1], f[2]};
    }
    case ValueType::Quaternion: {
        std::vector<float> f = readFloats(j, 4, place);
        return Velutils::Quat{f[0], f[1], f[2], f[3]};
    }
    case ValueType::Matrix: {
        std::vector<float> f = readFloats(j, 16, place);
        Velutils::Matrix4 m;
        for (int i = 0; i < 16; ++i) m.m[i / 4][i % 4] = f[static_cast<std::size_t>(i)];
        return m;
    }
    case ValueType::ObjectRef:
        if (!j.is_null()) expected(place, "null (references are saved as connections)", j);
        return static_cast<std::int32_t>(-1);
    case ValueType::Compound: {
        if (!j.is_object()) expected(place, "an object with the fields of '" + a.name + "'", j);
        db::ValueList fields;
        for (const AttributeDef& f : a.children) fields.push_back(f.defaultValue);
        for (auto it = j.begin(); it != j.end(); ++it) {
            auto f = std::find_if(a.children.begin(), a.children.end(),
                                  [&](const AttributeDef& c) { return c.name == it.key(); });
            if (f == a.children.end()) fail(place + "." + it.key(), "no field '" + it.key() + "' in '" + a.name + "'");
            fields[static_cast<std::size_t>(f - a.children.begin())] = readScalar(*f, it.value(), place + "." + it.key());
        }
        return fields;
    }
    }
    fail(place, "unsupported attribute type");
}

struct SlotValue {
    int slot;
    db::Value value;
};

struct FileObject {
    const db::NodeDef* def = nullptr;
    std::string name;
    std::int64_t id = 0;
    bool hasParent = false;
    std::int64_t parentId = 0;
    int parent = -1;  // index in the file, -1 = top level
    std::vector<int> children;
    std::vector<AttributeDef> custom;
    std::vector<SlotValue> values;                     // arrays whole
    std::vector<SlotValue> referenceArrays;            // element counts
    std::unordered_map<int, int> arraySizes;
    std::string path;
};

struct FileEndpoint {
    int object = -1;  // index in the file, -1 = scene root
    db::AttrKey key;  // node unset
};

struct FileConnection {
    FileEndpoint from, to;
    std::string fromText, toText;
};

struct FileScene {
    std::vector<FileObject> objects;
    std::vector<int> order;  // creation order: parents before children, siblings in file order
    std::vector<FileConnection> connections;
    std::vector<int> selection;
    std::unordered_map<std::string, int> paths;  // object path -> index in the file
};

std::string objectPlace(int i) { return at("objects", static_cast<std::size_t>(i)); }

// Where the value of a slot was written in object i: built only for messages, as the reader
// spelled it.
std::string valuePlace(const FileObject& o, int i, int slot) {
    const db::NodeDef& def = *o.def;
    if (slot >= def.slotCount()) return at(objectPlace(i) + ".custom", static_cast<std::size_t>(slot - def.slotCount())) + ".value";
    const db::SlotInfo& info = def.slot(slot);
    std::string place = objectPlace(i) + ".attributes.";
    if (info.parent >= 0) place += def.slot(info.parent).def->name + ".";
    return place + info.def->name;
}

// Reads an attribute value (an array whole) into the object's list of values to set.
void readValue(FileObject& o, int slot, const AttributeDef& a, const Json& j, const std::string& place) {
    if (!a.isArray) {
        o.values.push_back({slot, readScalar(a, j, place)});
        return;
    }
    if (!j.is_array()) expected(place, "an array", j);
    db::ValueList list;
    for (std::size_t e = 0; e < j.size(); ++e) list.push_back(readScalar(a, j[e], at(place, e)));
    o.arraySizes[slot] = static_cast<int>(list.size());
    if (a.type == ValueType::ObjectRef) o.referenceArrays.push_back({slot, static_cast<std::int32_t>(list.size())});
    else o.values.push_back({slot, std::move(list)});
}

void readAttributes(FileObject& o, const Json& j, const std::string& place) {
    if (!j.is_object()) expected(place, "an object", j);
    const db::NodeDef& def = *o.def;
    for (auto it = j.begin(); it != j.end(); ++it) {
        const std::string name = it.key();
        const std::string here = place + "." + name;
        int slot = def.findTopLevel(name);
        if (slot < 0) fail(here, "no attribute '" + name + "' on type " + def.typeName());
        const db::SlotInfo& info = def.slot(slot);
        const AttributeDef& a = *info.def;
        if (a.has(db::Computed)) fail(here, "'" + name + "' is computed by the object and is not saved");
        if (a.has(db::Internal)) fail(here, "'" + name + "' is internal and is not saved");
        if (!isSaved(a)) fail(here, "'" + name + "' is an object reference: it is saved as a connection");
        if (a.type != ValueType::Compound || a.isArray) {
            readValue(o, slot, a, it.value(), here);
            continue;
        }
        if (!it.value().is_object()) expected(here, "an object with the fields of '" + name + "'", it.value());
        for (auto f = it.value().begin(); f != it.value().end(); ++f) {
            int child = def.findChild(slot, f.key());
            if (child < 0 || !isSaved(*def.slot(child).def))
                fail(here + "." + f.key(), "no field '" + f.key() + "' in '" + name + "'");
            readValue(o, child, *def.slot(child).def, f.value(), here + "." + f.key());
        }
    }
}

void readCustom(FileObject& o, const Json& j, const std::string& place, const db::Database& types) {
    if (!j.is_array()) expected(place, "an array", j);
    for (std::size_t k = 0; k < j.size(); ++k) {
        const Json& c = j[k];
        const std::string here = at(place, k);
        if (!c.is_object()) expected(here, "an object", c);
        onlyKeys(c, {"name", "type", "isArray", "enumNames", "refType", "value"}, here);
        AttributeDef a;
        const Json* name = member(c, "name");
        if (!name || !name->is_string()) expected(here + ".name", "a string", name ? *name : Json());
        a.name = name->get<std::string>();
        if (a.name.empty() || db::Database::sanitizeName(a.name) != a.name)
            fail(here + ".name", "'" + a.name + "' is not a valid attribute name");
        if (o.def->findTopLevel(a.name) >= 0)
            fail(here + ".name", "'" + a.name + "' is already an attribute of type " + o.def->typeName());
        for (const AttributeDef& other : o.custom)
            if (other.name == a.name) fail(here + ".name", "'" + a.name + "' is defined twice");
        a.displayName = a.name;
        const Json* type = member(c, "type");
        std::int64_t code = 0;
        if (!type || !readInteger(*type, code) || code < 1 || code >= db::ValueTypeCount)
            expected(here + ".type", "a type code from 1 to " + std::to_string(db::ValueTypeCount - 1),
                     type ? *type : Json());
        a.type = static_cast<ValueType>(code);
        if (const Json* isArray = member(c, "isArray")) {
            if (!isArray->is_boolean()) expected(here + ".isArray", "true or false", *isArray);
            a.isArray = isArray->get<bool>();
        }
        if (const Json* names = member(c, "enumNames")) {
            if (!names->is_array()) expected(here + ".enumNames", "an array of strings", *names);
            for (std::size_t n = 0; n < names->size(); ++n) {
                if (!(*names)[n].is_string()) expected(at(here + ".enumNames", n), "a string", (*names)[n]);
                a.enumNames.push_back((*names)[n].get<std::string>());
            }
            a.enumDisplayNames = a.enumNames;
        }
        if (const Json* refType = member(c, "refType")) {
            if (!refType->is_string()) expected(here + ".refType", "a string", *refType);
            a.refType = refType->get<std::string>();
            if (!a.refType.empty() && !types.findType(a.refType))
                fail(here + ".refType", "unknown object type '" + a.refType + "'");
        }
        const int slot = o.def->slotCount() + static_cast<int>(o.custom.size());
        o.custom.push_back(a);
        if (const Json* value = member(c, "value")) {
            if (!isSaved(a)) {
                if (!value->is_null()) expected(here + ".value", "null (references are saved as connections)", *value);
            } else {
                readValue(o, slot, a, *value, here + ".value");
            }
        }
    }
}

FileObject readObject(const Json& j, int i, const db::Database& types) {
    const std::string place = objectPlace(i);
    if (!j.is_object()) expected(place, "an object", j);
    onlyKeys(j, {"id", "type", "name", "parent", "attributes", "custom"}, place);
    FileObject o;
    const Json* id = member(j, "id");
    if (!id) fail(place, "missing \"id\"");
    if (!readInteger(*id, o.id)) expected(place + ".id", "an integer", *id);
    const Json* type = member(j, "type");
    if (!type) fail(place, "missing \"type\"");
    if (!type->is_string()) expected(place + ".type", "a type name", *type);
    o.def = types.findType(type->get<std::string>());
    if (!o.def) fail(place + ".type", "unknown object type " + shown(*type));
    if (o.def->hasFlag(db::Abstract)) fail(place + ".type", o.def->typeName() + " is abstract and has no objects");
    const Json* name = member(j, "name");
    if (!name) fail(place, "missing \"name\"");
    if (!name->is_string()) expected(place + ".name", "a string", *name);
    o.name = name->get<std::string>();
    if (o.name.empty()) fail(place + ".name", "the name is empty");
    if (const Json* parent = member(j, "parent"); parent && !parent->is_null()) {
        if (!readInteger(*parent, o.parentId)) expected(place + ".parent", "an object id or null", *parent);
        o.hasParent = true;
    }
    if (const Json* custom = member(j, "custom")) readCustom(o, *custom, place + ".custom", types);
    if (const Json* attributes = member(j, "attributes")) readAttributes(o, *attributes, place + ".attributes");
    return o;
}

// A name under a parent (a file index, -1 = top level).
struct SiblingName {
    int parent;
    std::string_view name;
    bool operator==(const SiblingName& o) const { return parent == o.parent && name == o.name; }
};

struct SiblingNameHash {
    std::size_t operator()(const SiblingName& k) const noexcept {
        return std::hash<std::string_view>()(k.name) * 31 + static_cast<std::size_t>(k.parent + 1);
    }
};

// Resolves parents, refuses cycles, misplaced settings objects and clashing names, and orders the
// objects for creation.
void linkObjects(FileScene& scene) {
    std::vector<FileObject>& objects = scene.objects;
    const int count = static_cast<int>(objects.size());
    std::unordered_map<std::int64_t, int> byId;
    byId.reserve(objects.size());
    for (int i = 0; i < count; ++i) {
        auto [it, added] = byId.emplace(objects[i].id, i);
        if (!added)
            fail(objectPlace(i) + ".id", "id " + std::to_string(objects[i].id) + " is already used by " +
                                             objectPlace(it->second));
    }
    for (int i = 0; i < count; ++i) {
        FileObject& o = objects[i];
        if (!o.hasParent) continue;
        auto it = byId.find(o.parentId);
        if (it == byId.end())
            fail(objectPlace(i) + ".parent", "dangling reference: no object has id " + std::to_string(o.parentId));
        o.parent = it->second;
        const db::NodeDef& parentDef = *objects[o.parent].def;
        if (!parentDef.hasFlag(db::SupportsChildren))
            fail(objectPlace(i) + ".parent", "a " + parentDef.typeName() + " object cannot have children");
    }
    // Walk up from every object; meeting the walk in progress again means a cycle.
    std::vector<char> state(objects.size(), 0);  // 0 unseen, 1 on the current walk, 2 done
    std::vector<int> walk;
    for (int i = 0; i < count; ++i) {
        walk.clear();
        int k = i;
        while (k >= 0 && state[k] == 0) {
            state[k] = 1;
            walk.push_back(k);
            k = objects[k].parent;
        }
        if (k >= 0 && state[k] == 1) {
            std::string ids = std::to_string(objects[k].id);
            for (int c = objects[k].parent; c != k; c = objects[c].parent) ids += " -> " + std::to_string(objects[c].id);
            fail(objectPlace(k) + ".parent", "parenting cycle: ids " + ids + " -> " + std::to_string(objects[k].id));
        }
        for (int w : walk) state[w] = 2;
    }
    std::map<const db::NodeDef*, int> settings;
    std::unordered_map<SiblingName, int, SiblingNameHash> names;
    names.reserve(objects.size());
    std::vector<int> top;
    for (int i = 0; i < count; ++i) {
        FileObject& o = objects[i];
        if (o.def->hasFlag(db::SettingsType)) {
            const std::string& type = o.def->typeName();
            if (o.parent >= 0) fail(objectPlace(i) + ".parent", "a " + type + " object must be at the top level");
            if (o.name != type) fail(objectPlace(i) + ".name", "a " + type + " object must be named '" + type + "'");
            auto [it, added] = settings.emplace(o.def, i);
            if (!added) fail(objectPlace(i) + ".type", "the scene already has a " + type + " object (" +
                                                           objectPlace(it->second) + ")");
        }
        auto [it, added] = names.emplace(SiblingName{o.parent, o.name}, i);
        if (!added)
            fail(objectPlace(i) + ".name", "duplicate name: '" + o.name + "' is also the name of " +
                                               objectPlace(it->second) + " under the same parent");
        (o.parent >= 0 ? objects[o.parent].children : top).push_back(i);
    }
    std::vector<int> stack(top.rbegin(), top.rend());
    while (!stack.empty()) {
        int i = stack.back();
        stack.pop_back();
        FileObject& o = objects[i];
        o.path = o.parent >= 0 ? objects[o.parent].path + "/" + o.name : o.name;
        scene.order.push_back(i);
        stack.insert(stack.end(), o.children.rbegin(), o.children.rend());
    }
    // Names holding '/' could make two paths equal; connections and the selection need them unique.
    std::unordered_map<std::string, int>& paths = scene.paths;
    paths.reserve(scene.order.size());
    for (int i : scene.order) {
        auto [it, added] = paths.emplace(objects[i].path, i);
        if (!added) fail(objectPlace(i) + ".name", "the path '" + objects[i].path + "' is also the path of " + objectPlace(it->second));
    }
}

// "<object path>.<attribute path>", the attribute path as written by attributePath().
FileEndpoint readEndpoint(const FileScene& scene, const std::unordered_map<std::string, int>& paths,
                          const db::NodeDef& rootDef, const Json& j, const std::string& place) {
    if (!j.is_string()) expected(place, "\"<object path>.<attribute>\"", j);
    const std::string& text = j.get_ref<const std::string&>();
    // The object path ends at a '.' after its last '/'; the longest known path wins.
    std::size_t slash = text.rfind('/');
    std::size_t first = text.find('.', slash == std::string::npos ? 0 : slash);
    if (first == std::string::npos) expected(place, "\"<object path>.<attribute>\"", j);
    std::vector<std::size_t> dots;
    for (std::size_t d = first; d != std::string::npos; d = text.find('.', d + 1)) dots.push_back(d);
    FileEndpoint end;
    std::size_t split = std::string::npos;
    for (auto d = dots.rbegin(); d != dots.rend() && split == std::string::npos; ++d) {
        auto it = paths.find(text.substr(0, *d));
        if (*d == 0) split = 0;  // the scene root
        else if (it != paths.end()) end.object = it->second, split = *d;
    }
    if (split == std::string::npos)
        fail(place, "dangling reference: no object '" + text.substr(0, first) + "' in the file");
    const FileObject* o = end.object >= 0 ? &scene.objects[static_cast<std::size_t>(end.object)] : nullptr;
    const db::NodeDef& def = o ? *o->def : rootDef;
    const std::string owner = o ? "'" + o->path + "' (" + def.typeName() + ")" : "the scene root";
    const std::string attr = text.substr(split + 1);

    std::size_t nameEnd = std::min(attr.find('['), attr.find('.'));
    const std::string name = attr.substr(0, nameEnd);
    const AttributeDef* a = nullptr;
    int slot = def.findTopLevel(name);
    if (slot >= 0) {
        a = def.slot(slot).def;
    } else if (o) {
        for (std::size_t c = 0; c < o->custom.size() && !a; ++c)
            if (o->custom[c].name == name) {
                slot = def.slotCount() + static_cast<int>(c);
                a = &o->custom[c];
            }
    }
    if (!a) fail(place, owner + " has no attribute '" + name + "'");
    end.key.slot = slot;
    std::string rest = nameEnd == std::string::npos ? std::string() : attr.substr(nameEnd);
    if (!rest.empty() && rest[0] == '[') {
        std::size_t close = rest.find(']');
        std::string digits = rest.substr(1, close == std::string::npos ? std::string::npos : close - 1);
        if (close == std::string::npos || digits.empty() || digits.size() > 9 ||
            !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
            fail(place, "bad element index in '" + attr + "'");
        if (!a->isArray) fail(place, "'" + name + "' of " + owner + " is not an array");
        int element = std::stoi(digits);
        int count = 0;
        if (o && o->arraySizes.count(slot)) count = o->arraySizes.at(slot);
        if (element >= count)
            fail(place, "dangling reference: '" + name + "' of " + owner + " has no element " + digits + " (it has " +
                            std::to_string(count) + ")");
        end.key.element = element;
        rest = rest.substr(close + 1);
    }
    if (!rest.empty()) {
        if (rest[0] != '.') fail(place, "cannot read the attribute path '" + attr + "'");
        const std::string field = rest.substr(1);
        int child = -1;
        if (end.key.element >= 0) {
            for (std::size_t c = 0; c < a->children.size(); ++c)
                if (a->children[c].name == field) child = static_cast<int>(c);
            end.key.child = child;
        } else if (a->type == ValueType::Compound && !a->isArray && slot < def.slotCount()) {
            child = def.findChild(slot, field);
            end.key.slot = child;
        }
        if (child < 0) fail(place, "'" + name + "' of " + owner + " has no field '" + field + "'");
    }
    return end;
}

void readConnections(FileScene& scene, const Json& j, const db::NodeDef& rootDef) {
    if (!j.is_array()) expected("connections", "an array", j);
    const std::unordered_map<std::string, int>& paths = scene.paths;
    std::map<std::pair<int, db::AttrKey>, std::size_t> inputs;
    for (std::size_t i = 0; i < j.size(); ++i) {
        const std::string place = at("connections", i);
        const Json& c = j[i];
        if (!c.is_object()) expected(place, "an object with \"from\" and \"to\"", c);
        onlyKeys(c, {"from", "to"}, place);
        const Json* from = member(c, "from");
        const Json* to = member(c, "to");
        if (!from || !to) fail(place, from ? "missing \"to\"" : "missing \"from\"");
        FileConnection connection;
        connection.from = readEndpoint(scene, paths, rootDef, *from, place + ".from");
        connection.to = readEndpoint(scene, paths, rootDef, *to, place + ".to");
        connection.fromText = from->get<std::string>();
        connection.toText = to->get<std::string>();
        auto [it, added] = inputs.emplace(std::make_pair(connection.to.object, connection.to.key), i);
        if (!added) fail(place + ".to", connection.toText + " already has an input (" + at("connections", it->second) + ")");
        scene.connections.push_back(std::move(connection));
    }
}

void readSelection(FileScene& scene, const Json& j) {
    if (!j.is_array()) expected("selection", "an array of object paths", j);
    for (std::size_t i = 0; i < j.size(); ++i) {
        if (!j[i].is_string()) expected(at("selection", i), "an object path", j[i]);
        const std::string& path = j[i].get_ref<const std::string&>();
        auto it = scene.paths.find(path);
        if (it == scene.paths.end()) fail(at("selection", i), "no object '" + path + "' in the file");
        scene.selection.push_back(it->second);
    }
}

// Reads the text as a stream of parse events. Each element of the top-level "objects" array is
// built on its own and read at once, so the whole scene is never held as one document; the rest
// of the text becomes `doc`. The first object error waits for readScene, which reports it after
// the checks that come before the objects, and the rest of the text is still checked for syntax.
class SceneReader {
public:
    SceneReader(const db::Database& types, const XSceneFile::Progress& progress) : m_types(types), m_progress(progress) {}

    Json doc;
    std::vector<FileObject> objects;
    std::optional<LoadError> objectError;
    std::size_t errorByte = 0;  // where the text stops being JSON, with the parser's message
    std::string errorText = "syntax error";

    bool null() { return value(Json(nullptr)); }
    bool boolean(bool b) { return value(Json(b)); }
    bool number_integer(Json::number_integer_t n) { return value(Json(n)); }
    bool number_unsigned(Json::number_unsigned_t n) { return value(Json(n)); }
    bool number_float(Json::number_float_t n, const Json::string_t&) { return value(Json(n)); }
    bool string(Json::string_t& text) { return value(Json(std::move(text))); }
    bool binary(Json::binary_t& bytes) { return value(Json(bytes)); }
    bool start_object(std::size_t) { return open(Json::value_t::object); }
    bool end_object() { return close(); }
    bool start_array(std::size_t) { return open(Json::value_t::array); }
    bool end_array() { return close(); }
    bool key(Json::string_t& name) {
        m_key = std::move(name);
        return true;
    }
    bool parse_error(std::size_t byte, const std::string&, const Json::exception& e) {
        errorByte = byte;
        errorText = e.what();
        return false;
    }

private:
    // Puts a value into the innermost open container, or makes it the document.
    Json* add(Json&& v) {
        if (m_open.empty()) {
            doc = std::move(v);
            return &doc;
        }
        Json& top = *m_open.back();
        if (top.is_object()) return &(top[m_key] = std::move(v));
        top.push_back(std::move(v));
        return &top.back();
    }
    bool inObjects() const { return m_objectsDepth != 0 && m_open.size() == m_objectsDepth; }
    bool value(Json&& v) {
        if (inObjects()) readElement(v);
        else add(std::move(v));
        return true;
    }
    bool open(Json::value_t type) {
        if (inObjects()) {
            m_element = Json(type);
            m_open.push_back(&m_element);
            return true;
        }
        const bool objectsArray = type == Json::value_t::array && m_open.size() == 1 && m_open.back()->is_object() &&
                                  m_key == "objects";
        m_open.push_back(add(Json(type)));
        if (objectsArray) {
            // A repeated key replaces the earlier value, as it does in a document.
            m_objectsDepth = m_open.size();
            objects.clear();
            objectError.reset();
            m_index = 0;
        }
        return true;
    }
    bool close() {
        m_open.pop_back();
        if (m_objectsDepth != 0 && m_open.size() == m_objectsDepth) readElement(m_element);
        else if (m_open.size() < m_objectsDepth) m_objectsDepth = 0;
        return true;
    }
    void readElement(const Json& j) {
        const int i = m_index++;
        if (m_progress && (i & (ProgressStep - 1)) == 0) m_progress("Parsing", static_cast<std::size_t>(i), 0);
        if (objectError) return;
        try {
            objects.push_back(readObject(j, i, m_types));
        } catch (const LoadError& e) {
            objectError = e;
        }
    }

    static constexpr int ProgressStep = 4096;  // objects between two progress reports (a power of two)

    const db::Database& m_types;
    const XSceneFile::Progress& m_progress;
    std::vector<Json*> m_open;  // open containers, outermost first
    std::string m_key;
    std::size_t m_objectsDepth = 0;  // m_open's size while inside the "objects" array, else 0
    Json m_element;
    int m_index = 0;
};

FileScene readScene(SceneReader& reader, const db::Database& types) {
    const Json& doc = reader.doc;
    if (!doc.is_object()) expected("", "a scene (a JSON object)", doc);
    onlyKeys(doc, {"format", "version", "objects", "connections", "selection"}, "");
    const Json* format = member(doc, "format");
    if (!format) fail("", "not a scene file: missing \"format\"");
    if (!format->is_string() || format->get_ref<const std::string&>() != FormatName)
        expected("format", std::string("\"") + FormatName + "\"", *format);
    const Json* version = member(doc, "version");
    std::int64_t v = 0;
    if (!version) fail("", "missing \"version\"");
    if (!readInteger(*version, v)) expected("version", "an integer", *version);
    if (v != XSceneFile::FormatVersion)
        fail("version", "unsupported version " + std::to_string(v) + " (this build reads version " +
                             std::to_string(XSceneFile::FormatVersion) + ")");

    FileScene scene;
    const Json* objects = member(doc, "objects");
    if (!objects) fail("", "missing \"objects\"");
    if (!objects->is_array()) expected("objects", "an array", *objects);
    if (reader.objectError) throw *reader.objectError;
    scene.objects = std::move(reader.objects);
    linkObjects(scene);
    if (const Json* connections = member(doc, "connections")) readConnections(scene, *connections, types.rootType());
    if (const Json* selection = member(doc, "selection")) readSelection(scene, *selection);
    return scene;
}

// ---------------------------------------------------------------- building

db::AttrKey keyOf(const FileEndpoint& end, const std::vector<int>& ids) {
    db::AttrKey key = end.key;
    key.node = end.object >= 0 ? ids[static_cast<std::size_t>(end.object)] : db::Database::RootId;
    return key;
}

void buildObjects(db::Database& target, const FileScene& scene, std::vector<int>& ids,
                  const XSceneFile::Progress& progress) {
    std::size_t built = 0;
    for (int i : scene.order) {
        if (progress && (built++ & 4095) == 0) progress("Building", built - 1, scene.order.size());
        const FileObject& o = scene.objects[static_cast<std::size_t>(i)];
        int parent = o.parent >= 0 ? ids[static_cast<std::size_t>(o.parent)] : db::Database::RootId;
        int id = target.create(*o.def, o.name, parent);
        if (id < 0) fail(objectPlace(i), "the object could not be created");
        ids[static_cast<std::size_t>(i)] = id;
        for (std::size_t c = 0; c < o.custom.size(); ++c)
            if (target.addCustomAttribute(id, o.custom[c]) != o.def->slotCount() + static_cast<int>(c))
                fail(at(objectPlace(i) + ".custom", c), "the attribute could not be added");
        for (const SlotValue& v : o.values)
            if (!target.setValue(db::AttrKey{id, v.slot}, v.value)) fail(valuePlace(o, i, v.slot), "the value was refused");
        for (const SlotValue& r : o.referenceArrays)
            if (!target.resizeArray(db::AttrKey{id, r.slot}, r.value.asInt()))
                fail(valuePlace(o, i, r.slot), "the array was refused");
    }
    // Every scene has one object of each settings type: older files may lack some.
    for (const db::NodeDef* def : target.types()) {
        if (!def->hasFlag(db::SettingsType) || def->hasFlag(db::Abstract)) continue;
        bool present = std::any_of(scene.objects.begin(), scene.objects.end(),
                                   [&](const FileObject& o) { return o.def == def; });
        if (!present && target.create(*def, def->typeName(), db::Database::RootId) < 0)
            fail("", "the " + def->typeName() + " object could not be created");
    }
}

// Builds the scene in one change block that does not become an undo step. Throws LoadError when
// the database refuses something the file asks for.
void build(db::Database& target, const FileScene& scene, const XSceneFile::Progress& progress) {
    std::vector<int> ids(scene.objects.size(), -1);
    target.beginChangeBlock();
    try {
        buildObjects(target, scene, ids, progress);
        for (std::size_t i = 0; i < scene.connections.size(); ++i) {
            const FileConnection& c = scene.connections[i];
            std::string reason;
            if (!target.connect(keyOf(c.from, ids), keyOf(c.to, ids), &reason))
                fail(at("connections", i), "cannot connect " + c.fromText + " to " + c.toText + ": " + reason);
        }
        std::vector<int> selection;
        for (int i : scene.selection) selection.push_back(ids[static_cast<std::size_t>(i)]);
        target.setSelection(selection);
    } catch (...) {
        target.endChangeBlock();
        throw;
    }
    target.endChangeBlock("Open Scene");
    target.clearUndo();
    if (progress) progress("Building", scene.order.size(), scene.order.size());
}

std::string syntaxError(const std::string& file, const std::string& text, std::size_t byte, const std::string& what) {
    std::size_t pos = std::min<std::size_t>(byte > 0 ? byte - 1 : 0, text.size());
    std::size_t line = 1, lineStart = 0;
    for (std::size_t k = 0; k < pos; ++k)
        if (text[k] == '\n') ++line, lineStart = k + 1;
    std::size_t from = what.find("syntax error");
    std::string problem = from != std::string::npos ? what.substr(from) : what.substr(what.find(']') + 1);
    problem.erase(0, problem.find_first_not_of(' '));
    std::string message = file + ": line " + std::to_string(line) + ", column " + std::to_string(pos - lineStart + 1) +
                          ": " + problem;
    if (text.empty()) message += " (the file is empty)";
    else if (byte > text.size()) message += " (the file ends too early: it may be truncated)";
    return message;
}

std::string describe(const std::string& file, const LoadError& e) {
    return file + ": " + (e.place.empty() ? "" : e.place + ": ") + e.problem;
}

std::string osError(const std::string& fileName, const std::string& what, const std::string& path, int code) {
    return "cannot save '" + fileName + "': " + what + " '" + path + "': " + std::strerror(code);
}

bool writeAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n == 0) errno = EIO;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

}  // namespace

std::string XSceneFile::toJson(const db::Database& database) {
    // Depth-first, children in order; file ids number the objects in that order.
    std::vector<int> order;
    std::vector<int> stack;
    const db::Node* root = database.node(db::Database::RootId);
    stack.assign(root->children().rbegin(), root->children().rend());
    while (!stack.empty()) {
        int id = stack.back();
        stack.pop_back();
        order.push_back(id);
        const auto& kids = database.node(id)->children();
        stack.insert(stack.end(), kids.rbegin(), kids.rend());
    }
    std::vector<int> fileIds(static_cast<std::size_t>(database.idLimit()), 0);
    for (std::size_t i = 0; i < order.size(); ++i) fileIds[static_cast<std::size_t>(order[i])] = static_cast<int>(i) + 1;

    std::string out;
    out.reserve(256 + order.size() * 160);
    out += "{\n  \"format\": ";
    writeString(out, FormatName);
    out += ",\n  \"version\": ";
    writeInt(out, FormatVersion);

    out += ",\n  \"objects\": [";
    std::unordered_map<const db::NodeDef*, SavedType> types;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const db::Node& n = *database.node(order[i]);
        auto type = types.find(&n.def());
        if (type == types.end()) type = types.emplace(&n.def(), savedType(n.def())).first;
        if (i) out += ',';
        const int parent = n.parent() == db::Database::RootId ? 0 : fileIds[static_cast<std::size_t>(n.parent())];
        writeObject(out, database, n, static_cast<int>(i) + 1, parent, type->second);
    }
    out += order.empty() ? "]" : "\n  ]";

    // Sorted by destination (each has one source) so that equal scenes give equal text.
    std::vector<std::pair<std::string, std::string>> links;
    database.forEachConnection([&](const db::AttrKey& src, const db::AttrKey& dst) {
        const db::Node* s = database.node(src.node);
        const db::Node* d = database.node(dst.node);
        if (!s || !d) return;
        links.emplace_back(database.path(dst.node) + "." + attributePath(*d, dst),
                           database.path(src.node) + "." + attributePath(*s, src));
    });
    std::sort(links.begin(), links.end());
    writeList(out, "connections", links, [&](const std::pair<std::string, std::string>& link) {
        out += "{\"from\": ";
        writeString(out, link.second);
        out += ", \"to\": ";
        writeString(out, link.first);
        out += '}';
    });

    std::vector<std::string> selection;
    for (int id : database.selection()) selection.push_back(database.path(id));
    writeList(out, "selection", selection, [&](const std::string& path) { writeString(out, path); });
    out += "\n}\n";
    return out;
}

bool XSceneFile::save(const db::Database& database, const std::string& fileName, std::string& error) {
    const std::string text = toJson(database);
    const std::string temp = fileName + ".tmp-" + std::to_string(::getpid());
    int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) {
        error = osError(fileName, "cannot create", temp, errno);
        return false;
    }
    // The new file keeps the permissions of the one it replaces.
    struct stat old {};
    if (::stat(fileName.c_str(), &old) == 0 && S_ISREG(old.st_mode)) (void)::fchmod(fd, old.st_mode & 07777);
    const char* step = nullptr;
    if (!writeAll(fd, text)) step = "cannot write";
    else if (::fsync(fd) != 0) step = "cannot flush";
    int code = errno;
    if (::close(fd) != 0 && !step) {
        step = "cannot close";
        code = errno;
    }
    if (!step && ::rename(temp.c_str(), fileName.c_str()) != 0) {
        step = "cannot replace it with";
        code = errno;
    }
    if (step) {
        ::unlink(temp.c_str());
        error = osError(fileName, step, temp, code);
        return false;
    }
    // Flush the folder so that the rename itself survives a crash.
    std::size_t slash = fileName.rfind('/');
    std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : fileName.substr(0, slash);
    int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        bool synced = ::fsync(dir) == 0 || errno == EINVAL || errno == ENOTSUP;
        code = errno;
        ::close(dir);
        if (!synced) {
            error = osError(fileName, "saved, but cannot flush the folder", folder, code);
            return false;
        }
    }
    return true;
}

bool XSceneFile::loadJson(db::Database& database, const std::string& text, const std::string& fileName,
                          std::string& error, const Progress& progress) {
    const std::string file = fileName.empty() ? "scene" : fileName;
    if (database.blockDepth() > 0) {
        error = file + ": cannot load a scene while a change block is open";
        return false;
    }
    // The scene is built once, aside: whatever the file or the database refuses leaves the open
    // scene untouched. Its ids follow the open scene's, so no id is handed out twice in a session.
    db::Database scratch;
    for (const db::NodeDef* def : database.types()) scratch.registerType(*def);
    scratch.setRecording(false);
    scratch.reserveIds(database.idLimit());
    try {
        FileScene scene;
        {
            SceneReader reader(database, progress);
            if (!Json::sax_parse(text, &reader)) {
                error = syntaxError(file, text, reader.errorByte, reader.errorText);
                return false;
            }
            scene = readScene(reader, database);
        }
        build(scratch, scene, progress);
    } catch (const LoadError& e) {
        error = describe(file, e);
        return false;
    } catch (const nlohmann::json::exception& e) {
        error = file + ": " + e.what();
        return false;
    }

    // The time key points into the settings object being replaced: move it to the new one.
    const db::AttrKey timeKey = database.timeKey();
    const db::Node* timeNode = database.node(timeKey.node);
    const db::NodeDef* timeType =
        timeKey.isValid() && timeNode && timeNode->def().hasFlag(db::SettingsType) ? &timeNode->def() : nullptr;

    if (!database.takeContents(scratch)) {
        error = file + ": cannot load a scene while a change block is open";
        return false;
    }
    if (timeType && timeKey.slot < timeType->slotCount()) {
        for (int id : database.node(db::Database::RootId)->children())
            if (&database.node(id)->def() == timeType) database.setTimeKey(db::AttrKey{id, timeKey.slot, timeKey.element, timeKey.child});
    }
    return true;
}

bool XSceneFile::load(db::Database& database, const std::string& fileName, std::string& error,
                      const Progress& progress) {
    int fd = ::open(fileName.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = "cannot open '" + fileName + "': " + std::strerror(errno);
        return false;
    }
    struct stat info {};
    const std::size_t size = ::fstat(fd, &info) == 0 && info.st_size > 0 ? static_cast<std::size_t>(info.st_size) : 0;
    std::string text;
    text.reserve(size);
    char buffer[65536];
    for (;;) {
        if (progress && (text.size() & ((1u << 22) - 1)) < sizeof buffer) progress("Reading", text.size(), size);
        ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            error = "cannot read '" + fileName + "': " + std::strerror(errno);
            ::close(fd);
            return false;
        }
        if (n == 0) break;
        text.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return loadJson(database, text, fileName, error, progress);
}

}  // namespace VelX

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
#include <unordered_map>
#include <utility>
#include <vector>

namespace VelX {

namespace {

using Json = nlohmann::ordered_json;
using db::AttributeDef;
using db::ValueType;

constexpr const char* FormatName = "velx-scene";

// ---------------------------------------------------------------- writing

// The shortest decimal that reads back as the same float, so files stay readable ("0.6", not
// "0.60000002384185791"). Non-finite numbers have no JSON form and are written as strings.
Json floatJson(float f) {
    if (std::isnan(f)) return "nan";
    if (std::isinf(f)) return f > 0 ? "inf" : "-inf";
    char text[32];
    char* end = std::to_chars(text, text + sizeof text, f).ptr;
    double d = 0;
    if (std::from_chars(text, end, d).ec != std::errc() || static_cast<float>(d) != f) d = f;
    return d;
}

Json doubleJson(double d) {
    if (std::isnan(d)) return "nan";
    if (std::isinf(d)) return d > 0 ? "inf" : "-inf";
    return d;
}

bool isSaved(const AttributeDef& a) {
    if (a.has(db::Computed) || a.has(db::Internal)) return false;
    return a.type != ValueType::ObjectRef || a.isArray;  // single references live in connections
}

// One value of the attribute's element type (a whole element for compound arrays).
Json scalarJson(const AttributeDef& a, const db::Value& v) {
    switch (a.type) {
    case ValueType::Int: return v.asInt();
    case ValueType::Bool: return v.asBool();
    case ValueType::Enum: {
        int i = v.asInt();
        if (i >= 0 && i < static_cast<int>(a.enumNames.size())) return a.enumNames[static_cast<std::size_t>(i)];
        return i;
    }
    case ValueType::Float: return floatJson(static_cast<float>(v.asDouble()));
    case ValueType::Double: return doubleJson(v.asDouble());
    case ValueType::String: return v.is<std::string>() ? v.get<std::string>() : std::string();
    case ValueType::Vector: {
        Velutils::Vec3 x = v.is<Velutils::Vec3>() ? v.get<Velutils::Vec3>() : Velutils::Vec3{};
        return Json::array({floatJson(x.x), floatJson(x.y), floatJson(x.z)});
    }
    case ValueType::Quaternion: {
        Velutils::Quat q = v.is<Velutils::Quat>() ? v.get<Velutils::Quat>() : Velutils::Quat{};
        return Json::array({floatJson(q.x), floatJson(q.y), floatJson(q.z), floatJson(q.w)});
    }
    case ValueType::Matrix: {
        Velutils::Matrix4 m = v.is<Velutils::Matrix4>() ? v.get<Velutils::Matrix4>() : Velutils::Matrix4{};
        Json out = Json::array();
        for (auto& row : m.m)
            for (float x : row) out.push_back(floatJson(x));
        return out;
    }
    case ValueType::ObjectRef: return nullptr;  // the target is a connection
    case ValueType::Compound: {
        const db::ValueList* fields = v.tryGet<db::ValueList>();
        Json out = Json::object();
        for (std::size_t c = 0; c < a.children.size(); ++c) {
            const AttributeDef& f = a.children[c];
            out[f.name] = scalarJson(f, fields && c < fields->size() ? (*fields)[c] : f.defaultValue);
        }
        return out;
    }
    }
    return nullptr;
}

Json valueJson(const AttributeDef& a, const db::Value& v) {
    if (!a.isArray) return scalarJson(a, v);
    Json out = Json::array();
    if (const db::ValueList* list = v.tryGet<db::ValueList>())
        for (const db::Value& element : *list) out.push_back(scalarJson(a, element));
    return out;
}

Json attributesJson(const db::Node& n) {
    const db::NodeDef& def = n.def();
    Json out = Json::object();
    for (int i = 0; i < def.topLevelCount(); ++i) {
        int s = def.topLevelSlot(i);
        const db::SlotInfo& info = def.slot(s);
        if (!isSaved(*info.def)) continue;
        if (info.def->type == ValueType::Compound && !info.def->isArray) {
            Json fields = Json::object();
            for (int c = info.firstChild; c < info.firstChild + info.childCount; ++c)
                if (isSaved(*def.slot(c).def)) fields[def.slot(c).def->name] = scalarJson(*def.slot(c).def, n.stored(c));
            out[info.def->name] = std::move(fields);
        } else {
            out[info.def->name] = valueJson(*info.def, n.stored(s));
        }
    }
    return out;
}

Json customJson(const db::Database& database, const db::Node& n) {
    Json out = Json::array();
    for (int c = 0; c < n.customCount(); ++c) {
        int slot = n.def().slotCount() + c;
        if (database.isRemovedCustomSlot(n.id(), slot)) continue;
        const AttributeDef& a = *n.slotDef(slot);
        Json entry = Json::object();
        entry["name"] = a.name;
        entry["type"] = static_cast<int>(a.type);
        entry["isArray"] = a.isArray;
        if (!a.enumNames.empty()) entry["enumNames"] = a.enumNames;
        if (!a.refType.empty()) entry["refType"] = a.refType;
        db::Value v = n.stored(slot);
        if (isSaved(a) && !v.isNone()) entry["value"] = valueJson(a, v);
        out.push_back(std::move(entry));
    }
    return out;
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
    if (std::isfinite(d) && std::fabs(d) > FLT_MAX) fail(place, "number out of range: " + shown(j));
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
    std::string place;
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
};

std::string objectPlace(int i) { return at("objects", static_cast<std::size_t>(i)); }

// Reads an attribute value (an array whole) into the object's list of values to set.
void readValue(FileObject& o, int slot, const AttributeDef& a, const Json& j, const std::string& place) {
    if (!a.isArray) {
        o.values.push_back({slot, readScalar(a, j, place), place});
        return;
    }
    if (!j.is_array()) expected(place, "an array", j);
    db::ValueList list;
    for (std::size_t e = 0; e < j.size(); ++e) list.push_back(readScalar(a, j[e], at(place, e)));
    o.arraySizes[slot] = static_cast<int>(list.size());
    if (a.type == ValueType::ObjectRef) o.referenceArrays.push_back({slot, static_cast<std::int32_t>(list.size()), place});
    else o.values.push_back({slot, std::move(list), place});
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

// Resolves parents, refuses cycles, misplaced settings objects and clashing names, and orders the
// objects for creation.
void linkObjects(FileScene& scene) {
    std::vector<FileObject>& objects = scene.objects;
    const int count = static_cast<int>(objects.size());
    std::unordered_map<std::int64_t, int> byId;
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
    for (int i = 0; i < count; ++i) {
        std::vector<int> walk;
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
    std::map<std::pair<int, std::string>, int> names;
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
        auto [it, added] = names.emplace(std::make_pair(o.parent, o.name), i);
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
    std::unordered_map<std::string, int> paths;
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
    std::unordered_map<std::string, int> paths;
    for (std::size_t i = 0; i < scene.objects.size(); ++i) paths.emplace(scene.objects[i].path, static_cast<int>(i));
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
        auto it = std::find_if(scene.objects.begin(), scene.objects.end(),
                               [&](const FileObject& o) { return o.path == path; });
        if (it == scene.objects.end()) fail(at("selection", i), "no object '" + path + "' in the file");
        scene.selection.push_back(static_cast<int>(it - scene.objects.begin()));
    }
}

FileScene readScene(const Json& doc, const db::Database& types) {
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
    for (std::size_t i = 0; i < objects->size(); ++i)
        scene.objects.push_back(readObject((*objects)[i], static_cast<int>(i), types));
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

void buildObjects(db::Database& target, const FileScene& scene, std::vector<int>& ids) {
    for (int i : scene.order) {
        const FileObject& o = scene.objects[static_cast<std::size_t>(i)];
        int parent = o.parent >= 0 ? ids[static_cast<std::size_t>(o.parent)] : db::Database::RootId;
        int id = target.create(*o.def, o.name, parent);
        if (id < 0) fail(objectPlace(i), "the object could not be created");
        ids[static_cast<std::size_t>(i)] = id;
        for (std::size_t c = 0; c < o.custom.size(); ++c)
            if (target.addCustomAttribute(id, o.custom[c]) != o.def->slotCount() + static_cast<int>(c))
                fail(at(objectPlace(i) + ".custom", c), "the attribute could not be added");
        for (const SlotValue& v : o.values)
            if (!target.setValue(db::AttrKey{id, v.slot}, v.value)) fail(v.place, "the value was refused");
        for (const SlotValue& r : o.referenceArrays)
            if (!target.resizeArray(db::AttrKey{id, r.slot}, r.value.asInt())) fail(r.place, "the array was refused");
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
void build(db::Database& target, const FileScene& scene) {
    std::vector<int> ids(scene.objects.size(), -1);
    target.beginChangeBlock();
    try {
        buildObjects(target, scene, ids);
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
}

std::string syntaxError(const std::string& file, const std::string& text, const nlohmann::json::parse_error& e) {
    std::size_t pos = std::min<std::size_t>(e.byte > 0 ? e.byte - 1 : 0, text.size());
    std::size_t line = 1, lineStart = 0;
    for (std::size_t k = 0; k < pos; ++k)
        if (text[k] == '\n') ++line, lineStart = k + 1;
    std::string what = e.what();
    std::size_t from = what.find("syntax error");
    std::string problem = from != std::string::npos ? what.substr(from) : what.substr(what.find(']') + 1);
    std::string message = file + ": line " + std::to_string(line) + ", column " + std::to_string(pos - lineStart + 1) +
                          ": " + problem;
    if (text.empty()) message += " (the file is empty)";
    else if (e.byte > text.size()) message += " (the file ends too early: it may be truncated)";
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
    std::unordered_map<int, int> fileIds;
    for (std::size_t i = 0; i < order.size(); ++i) fileIds.emplace(order[i], static_cast<int>(i) + 1);

    Json objects = Json::array();
    for (int id : order) {
        const db::Node& n = *database.node(id);
        Json o = Json::object();
        o["id"] = fileIds[id];
        o["type"] = n.def().typeName();
        o["name"] = n.name();
        o["parent"] = n.parent() == db::Database::RootId ? Json(nullptr) : Json(fileIds[n.parent()]);
        o["attributes"] = attributesJson(n);
        Json custom = customJson(database, n);
        if (!custom.empty()) o["custom"] = std::move(custom);
        objects.push_back(std::move(o));
    }

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
    Json connections = Json::array();
    for (const auto& [to, from] : links) connections.push_back(Json{{"from", from}, {"to", to}});

    Json selection = Json::array();
    for (int id : database.selection()) selection.push_back(database.path(id));

    Json doc = Json::object();
    doc["format"] = FormatName;
    doc["version"] = FormatVersion;
    doc["objects"] = std::move(objects);
    doc["connections"] = std::move(connections);
    doc["selection"] = std::move(selection);
    return doc.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
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
                          std::string& error) {
    const std::string file = fileName.empty() ? "scene" : fileName;
    if (database.blockDepth() > 0) {
        error = file + ": cannot load a scene while a change block is open";
        return false;
    }
    Json doc;
    try {
        doc = Json::parse(text);
    } catch (const nlohmann::json::parse_error& e) {
        error = syntaxError(file, text, e);
        return false;
    }
    FileScene scene;
    try {
        scene = readScene(doc, database);
        // A trial build catches whatever the database itself refuses, with the open scene untouched.
        db::Database trial;
        for (const db::NodeDef* def : database.types()) trial.registerType(*def);
        build(trial, scene);
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

    database.reset();
    try {
        build(database, scene);
    } catch (const LoadError& e) {
        error = describe(file, e) + " (the open scene was cleared)";
        return false;
    }
    if (timeType && timeKey.slot < timeType->slotCount()) {
        for (int id : database.node(db::Database::RootId)->children())
            if (&database.node(id)->def() == timeType) database.setTimeKey(db::AttrKey{id, timeKey.slot, timeKey.element, timeKey.child});
    }
    return true;
}

bool XSceneFile::load(db::Database& database, const std::string& fileName, std::string& error) {
    int fd = ::open(fileName.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = "cannot open '" + fileName + "': " + std::strerror(errno);
        return false;
    }
    std::string text;
    char buffer[65536];
    for (;;) {
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
    return loadJson(database, text, fileName, error);
}

}  // namespace VelX

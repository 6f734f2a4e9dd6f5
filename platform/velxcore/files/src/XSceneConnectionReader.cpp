#include "XSceneConnectionReader.h"

#include <veldatabase/Database.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <utility>

namespace VelX {

using Codec = XJsonValueCodec;
using Json = XJsonValueCodec::Json;
using db::AttributeDef;
using db::ValueType;

namespace {

// "<object path>.<attribute path>", the attribute path as written by attributePath().
FileEndpoint readEndpoint(const FileScene& scene, const std::unordered_map<std::string, int>& paths,
                          const db::NodeDef& rootDef, const Json& j, const std::string& place) {
    if (!j.is_string()) Codec::expected(place, "\"<object path>.<attribute>\"", j);
    const std::string& text = j.get_ref<const std::string&>();
    // The object path ends at a '.' after its last '/'; the longest known path wins.
    std::size_t slash = text.rfind('/');
    std::size_t first = text.find('.', slash == std::string::npos ? 0 : slash);
    if (first == std::string::npos) Codec::expected(place, "\"<object path>.<attribute>\"", j);
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
        Codec::fail(place, "dangling reference: no object '" + Codec::excerpt(std::string_view(text).substr(0, first)) + "' in the file");
    const FileObject* o = end.object >= 0 ? &scene.objects[static_cast<std::size_t>(end.object)] : nullptr;
    const db::NodeDef& def = o ? *o->def : rootDef;
    const std::string owner = o ? "'" + Codec::excerpt(o->path) + "' (" + def.typeName() + ")" : "the scene root";
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
    if (!a) Codec::fail(place, owner + " has no attribute '" + Codec::excerpt(name) + "'");
    end.key.slot = slot;
    std::string rest = nameEnd == std::string::npos ? std::string() : attr.substr(nameEnd);
    if (!rest.empty() && rest[0] == '[') {
        std::size_t close = rest.find(']');
        std::string digits = rest.substr(1, close == std::string::npos ? std::string::npos : close - 1);
        if (close == std::string::npos || digits.empty() || digits.size() > 9 ||
            !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
            Codec::fail(place, "bad element index in '" + Codec::excerpt(attr) + "'");
        if (!a->isArray) Codec::fail(place, "'" + name + "' of " + owner + " is not an array");
        int element = std::stoi(digits);
        int count = 0;
        if (o && o->arraySizes.count(slot)) count = o->arraySizes.at(slot);
        if (element >= count)
            Codec::fail(place, "dangling reference: '" + name + "' of " + owner + " has no element " + digits + " (it has " +
                            std::to_string(count) + ")");
        end.key.element = element;
        rest = rest.substr(close + 1);
    }
    if (!rest.empty()) {
        if (rest[0] != '.') Codec::fail(place, "cannot read the attribute path '" + Codec::excerpt(attr) + "'");
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
        if (child < 0) Codec::fail(place, "'" + name + "' of " + owner + " has no field '" + Codec::excerpt(field) + "'");
    }
    return end;
}

}  // namespace

void XSceneConnectionReader::readConnections(FileScene& scene, const Json& j, const db::NodeDef& rootDef) {
    if (!j.is_array()) Codec::expected("connections", "an array", j);
    const std::unordered_map<std::string, int>& paths = scene.paths;
    std::map<std::pair<int, db::AttrKey>, std::size_t> inputs;
    for (std::size_t i = 0; i < j.size(); ++i) {
        const std::string place = Codec::at("connections", i);
        const Json& c = j[i];
        if (!c.is_object()) Codec::expected(place, "an object with \"from\" and \"to\"", c);
        Codec::onlyKeys(c, {"from", "to"}, place);
        const Json* from = Codec::member(c, "from");
        const Json* to = Codec::member(c, "to");
        if (!from || !to) Codec::fail(place, from ? "missing \"to\"" : "missing \"from\"");
        FileConnection connection;
        connection.from = readEndpoint(scene, paths, rootDef, *from, place + ".from");
        connection.to = readEndpoint(scene, paths, rootDef, *to, place + ".to");
        connection.fromText = from->get<std::string>();
        connection.toText = to->get<std::string>();
        auto [it, added] = inputs.emplace(std::make_pair(connection.to.object, connection.to.key), i);
        if (!added)
            Codec::fail(place + ".to", Codec::excerpt(connection.toText) + " already has an input (" +
                                           Codec::at("connections", it->second) + ")");
        scene.connections.push_back(std::move(connection));
    }
}

void XSceneConnectionReader::readSelection(FileScene& scene, const Json& j) {
    if (!j.is_array()) Codec::expected("selection", "an array of object paths", j);
    for (std::size_t i = 0; i < j.size(); ++i) {
        if (!j[i].is_string()) Codec::expected(Codec::at("selection", i), "an object path", j[i]);
        const std::string& path = j[i].get_ref<const std::string&>();
        auto it = scene.paths.find(path);
        if (it == scene.paths.end()) Codec::fail(Codec::at("selection", i), "no object '" + Codec::excerpt(path) + "' in the file");
        scene.selection.push_back(it->second);
    }
}

}  // namespace VelX

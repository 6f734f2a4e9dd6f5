#include "XSceneConnectionReader.h"
#include "XScenePaths.h"

#include <veldatabase/Database.h>

#include <algorithm>
#include <map>
#include <utility>

namespace VelX {

using Codec = XJsonValueCodec;
using db::AttributeDef;
using db::ValueType;

namespace {

std::uint64_t slotKey(int object, int slot) {
    return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(object)) << 32) | static_cast<std::uint32_t>(slot);
}

}  // namespace

std::size_t XSceneConnectionReader::ObjectNameHash::operator()(const ObjectName& k) const noexcept {
    return std::hash<std::string_view>()(k.name) * 31 + static_cast<std::size_t>(k.object);
}

XSceneConnectionReader::XSceneConnectionReader(FileScene& scene, const XScenePaths& paths, const db::NodeDef& rootDef)
    : m_scene(scene), m_paths(paths), m_rootDef(rootDef) {
    // Endpoints name custom attributes and array elements: both are found through an index, so a
    // file whose objects have many of them costs no more per endpoint.
    for (std::size_t i = 0; i < scene.objects.size(); ++i) {
        const FileObject& o = scene.objects[i];
        const int object = static_cast<int>(i);
        for (std::size_t c = 0; c < o.custom.size(); ++c)
            m_customSlots.emplace(ObjectName{object, o.custom[c].name}, o.def->slotCount() + static_cast<int>(c));
        for (const SlotValue& v : o.values)
            if (const db::ValueList* list = v.value.tryGet<db::ValueList>())
                m_arraySizes[slotKey(object, v.slot)] = static_cast<int>(list->size());
        for (const SlotValue& r : o.referenceArrays) m_arraySizes[slotKey(object, r.slot)] = r.value.asInt();
        for (const auto& [slot, elements] : o.packedArrays) m_arraySizes[slotKey(object, slot)] = elements->size();
    }
}

int XSceneConnectionReader::customSlot(int object, std::string_view name) const {
    auto it = m_customSlots.find(ObjectName{object, name});
    return it == m_customSlots.end() ? -1 : it->second;
}

int XSceneConnectionReader::arraySize(int object, int slot) const {
    auto it = m_arraySizes.find(slotKey(object, slot));
    return it == m_arraySizes.end() ? 0 : it->second;
}

// "<object path>.<attribute path>", the attribute path as the writer spells it.
FileEndpoint XSceneConnectionReader::readEndpoint(const std::string& text, const std::string& place) {
    // The object path ends at a '.' after its last '/'; the longest known path wins.
    const std::size_t slash = text.rfind('/');
    const std::size_t first = text.find('.', slash == std::string::npos ? 0 : slash);
    if (first == std::string::npos) Codec::fail(place, "expected \"<object path>.<attribute>\", found \"" + Codec::excerpt(text) + "\"");
    m_paths.prefixHashes(std::string_view(text).substr(0, text.rfind('.')), m_prefixes);
    FileEndpoint end;
    std::size_t split = std::string::npos;
    for (std::size_t d = text.rfind('.'); split == std::string::npos; d = text.rfind('.', d - 1)) {
        if (d == 0) split = 0;  // the scene root
        else if ((end.object = m_paths.find(std::string_view(text).substr(0, d), m_prefixes[d])) >= 0) split = d;
        if (d <= first) break;
    }
    if (split == std::string::npos)
        Codec::fail(place, "dangling reference: no object '" + Codec::excerpt(std::string_view(text).substr(0, first)) +
                               "' in the file");
    const FileObject* o = end.object >= 0 ? &m_scene.objects[static_cast<std::size_t>(end.object)] : nullptr;
    const db::NodeDef& def = o ? *o->def : m_rootDef;
    // Built only for a message: a path may be long.
    const auto owner = [&] {
        return o ? "'" + Codec::excerpt(m_paths.pathOf(end.object)) + "' (" + def.typeName() + ")" : std::string("the scene root");
    };
    const std::string attr = text.substr(split + 1);

    const std::size_t nameEnd = std::min(attr.find('['), attr.find('.'));
    const std::string name = attr.substr(0, nameEnd);
    const AttributeDef* a = nullptr;
    int slot = def.findTopLevel(name);
    if (slot >= 0) {
        a = def.slot(slot).def;
    } else if (o && (slot = customSlot(end.object, name)) >= 0) {
        a = &o->custom[static_cast<std::size_t>(slot - def.slotCount())];
    }
    if (!a) Codec::fail(place, owner() + " has no attribute '" + Codec::excerpt(name) + "'");
    end.key.slot = slot;
    std::string rest = nameEnd == std::string::npos ? std::string() : attr.substr(nameEnd);
    if (!rest.empty() && rest[0] == '[') {
        const std::size_t close = rest.find(']');
        const std::string digits = rest.substr(1, close == std::string::npos ? std::string::npos : close - 1);
        if (close == std::string::npos || digits.empty() || digits.size() > 9 ||
            !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
            Codec::fail(place, "bad element index in '" + Codec::excerpt(attr) + "'");
        if (!a->isArray) Codec::fail(place, "'" + name + "' of " + owner() + " is not an array");
        const int element = std::stoi(digits);
        const int count = o ? arraySize(end.object, slot) : 0;
        if (element >= count)
            Codec::fail(place, "dangling reference: '" + name + "' of " + owner() + " has no element " + digits + " (it has " +
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
        if (child < 0) Codec::fail(place, "'" + name + "' of " + owner() + " has no field '" + Codec::excerpt(field) + "'");
    }
    return end;
}

void XSceneConnectionReader::resolveConnections() {
    std::map<std::pair<int, db::AttrKey>, std::size_t> inputs;
    for (std::size_t i = 0; i < m_scene.connections.size(); ++i) {
        FileConnection& connection = m_scene.connections[i];
        const std::string place = Codec::at("connections", i);
        connection.from = readEndpoint(connection.fromText, place + ".from");
        connection.to = readEndpoint(connection.toText, place + ".to");
        auto [it, added] = inputs.emplace(std::make_pair(connection.to.object, connection.to.key), i);
        if (!added)
            Codec::fail(place + ".to", Codec::excerpt(connection.toText) + " already has an input (" +
                                           Codec::at("connections", it->second) + ")");
    }
}

void XSceneConnectionReader::resolveSelection() {
    m_scene.selection.clear();
    m_scene.selection.reserve(m_scene.selectionPaths.size());
    for (std::size_t i = 0; i < m_scene.selectionPaths.size(); ++i) {
        const std::string& path = m_scene.selectionPaths[i];
        const int object = m_paths.find(path);
        if (object < 0) Codec::fail(Codec::at("selection", i), "no object '" + Codec::excerpt(path) + "' in the file");
        m_scene.selection.push_back(object);
    }
}

}  // namespace VelX

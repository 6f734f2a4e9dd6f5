#include "XSceneConnectionReader.h"
#include "XSceneReader.h"

#include <veldatabase/Database.h>

#include <algorithm>
#include <map>
#include <string_view>
#include <unordered_map>

namespace VelX {

using Codec = XJsonValueCodec;
using Json = XJsonValueCodec::Json;

namespace {

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
            Codec::fail(objectPlace(i) + ".id", "id " + std::to_string(objects[i].id) + " is already used by " +
                                             objectPlace(it->second));
    }
    for (int i = 0; i < count; ++i) {
        FileObject& o = objects[i];
        if (!o.hasParent) continue;
        auto it = byId.find(o.parentId);
        if (it == byId.end())
            Codec::fail(objectPlace(i) + ".parent", "dangling reference: no object has id " + std::to_string(o.parentId));
        o.parent = it->second;
        const db::NodeDef& parentDef = *objects[o.parent].def;
        if (!parentDef.hasFlag(db::SupportsChildren))
            Codec::fail(objectPlace(i) + ".parent", "a " + parentDef.typeName() + " object cannot have children");
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
            Codec::fail(objectPlace(k) + ".parent", "parenting cycle: ids " + ids + " -> " + std::to_string(objects[k].id));
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
            if (o.parent >= 0) Codec::fail(objectPlace(i) + ".parent", "a " + type + " object must be at the top level");
            if (o.name != type) Codec::fail(objectPlace(i) + ".name", "a " + type + " object must be named '" + type + "'");
            auto [it, added] = settings.emplace(o.def, i);
            if (!added) Codec::fail(objectPlace(i) + ".type", "the scene already has a " + type + " object (" +
                                                           objectPlace(it->second) + ")");
        }
        auto [it, added] = names.emplace(SiblingName{o.parent, o.name}, i);
        if (!added)
            Codec::fail(objectPlace(i) + ".name", "duplicate name: '" + Codec::excerpt(o.name) + "' is also the name of " +
                                               objectPlace(it->second) + " under the same parent");
        (o.parent >= 0 ? objects[o.parent].children : top).push_back(i);
    }
    std::vector<int> stack(top.rbegin(), top.rend());
    while (!stack.empty()) {
        int i = stack.back();
        stack.pop_back();
        scene.order.push_back(i);
        stack.insert(stack.end(), objects[i].children.rbegin(), objects[i].children.rend());
    }
}

// Object paths, which connections and the selection name objects by. Unique sibling names make
// unique paths unless a name holds '/': then two paths could be equal, and that is refused.
void findPaths(FileScene& scene) {
    std::vector<FileObject>& objects = scene.objects;
    for (int i : scene.order) {
        FileObject& o = objects[i];
        o.path = o.parent >= 0 ? objects[o.parent].path + "/" + o.name : o.name;
    }
    std::unordered_map<std::string, int>& paths = scene.paths;
    paths.reserve(scene.order.size());
    for (int i : scene.order) {
        auto [it, added] = paths.emplace(objects[i].path, i);
        if (!added) Codec::fail(objectPlace(i) + ".name", "the path '" + Codec::excerpt(objects[i].path) + "' is also the path of " + objectPlace(it->second));
    }
}

}  // namespace

FileScene XSceneReader::scene() {
    if (!doc.is_object()) Codec::expected("", "a scene (a JSON object)", doc);
    Codec::onlyKeys(doc, {"format", "version", "objects", "connections", "selection"}, "");
    const Json* format = Codec::member(doc, "format");
    if (!format) Codec::fail("", "not a scene file: missing \"format\"");
    if (!format->is_string() || format->get_ref<const std::string&>() != SceneFormatName)
        Codec::expected("format", std::string("\"") + SceneFormatName + "\"", *format);
    const Json* version = Codec::member(doc, "version");
    std::int64_t v = 0;
    if (!version) Codec::fail("", "missing \"version\"");
    if (!Codec::readInteger(*version, v)) Codec::expected("version", "an integer", *version);
    if (v != XSceneFile::FormatVersion)
        Codec::fail("version", "unsupported version " + std::to_string(v) + " (this build reads version " +
                             std::to_string(XSceneFile::FormatVersion) + ")");

    FileScene contents;
    const Json* list = Codec::member(doc, "objects");
    if (!list) Codec::fail("", "missing \"objects\"");
    if (!list->is_array()) Codec::expected("objects", "an array", *list);
    if (objectError) throw *objectError;
    contents.objects = std::move(objects);
    linkObjects(contents);
    const Json* connections = Codec::member(doc, "connections");
    const Json* selection = Codec::member(doc, "selection");
    const bool slashes = std::any_of(contents.objects.begin(), contents.objects.end(),
                                     [](const FileObject& o) { return o.name.find('/') != std::string::npos; });
    // Most of a large file's objects are never named by path: the paths wait until something needs them.
    if (slashes || (connections && !connections->empty()) || (selection && !selection->empty())) findPaths(contents);
    if (connections) XSceneConnectionReader::readConnections(contents, *connections, m_types.rootType());
    if (selection) XSceneConnectionReader::readSelection(contents, *selection);
    return contents;
}

}  // namespace VelX

#include "XSceneHierarchy.h"

#include <velxcore/XSceneFile.h>

#include <iterator>
#include <map>
#include <string_view>
#include <unordered_map>

namespace VelX {

using Codec = XJsonValueCodec;

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

void resolveParents(FileObjects& objects) {
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
}

// Walks up from every object; meeting the walk in progress again means a cycle. Every object is
// walked over once.
void refuseCycles(const FileObjects& objects) {
    const int count = static_cast<int>(objects.size());
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
            // The ids of the cycle, the first few of a long one.
            constexpr int Shown = 8;
            std::string ids = std::to_string(objects[k].id);
            int shown = 1;
            for (int c = objects[k].parent; c != k; c = objects[c].parent)
                if (shown++ < Shown) ids += " -> " + std::to_string(objects[c].id);
            if (shown > Shown) ids += " -> ... (" + std::to_string(shown) + " objects)";
            Codec::fail(objectPlace(k) + ".parent", "parenting cycle: ids " + ids + " -> " + std::to_string(objects[k].id));
        }
        for (int w : walk) state[w] = 2;
    }
}

void refuseMisplacedSettingsAndClashingNames(const FileObjects& objects) {
    const int count = static_cast<int>(objects.size());
    std::map<const db::NodeDef*, int> settings;
    std::unordered_map<SiblingName, int, SiblingNameHash> names;
    names.reserve(objects.size());
    for (int i = 0; i < count; ++i) {
        const FileObject& o = objects[i];
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
    }
}

// Parents before children, siblings in file order: a depth-first walk over the children lists,
// which are laid out in one array (the children of object i start at first[i + 1]).
void orderForCreation(FileScene& scene) {
    const FileObjects& objects = scene.objects;
    const std::size_t count = objects.size();
    std::vector<int> first(count + 2, 0);
    for (const FileObject& o : objects) ++first[static_cast<std::size_t>(o.parent + 2)];
    for (std::size_t k = 1; k < first.size(); ++k) first[k] += first[k - 1];
    std::vector<int> children(count);
    std::vector<int> next(first.begin(), first.end() - 1);
    for (std::size_t i = 0; i < count; ++i) children[static_cast<std::size_t>(next[static_cast<std::size_t>(objects[i].parent + 1)]++)] = static_cast<int>(i);

    scene.order.clear();
    scene.order.reserve(count);
    std::vector<int> depth(count, 0);
    const auto topLevel = children.begin() + first[1];
    std::vector<int> stack(std::make_reverse_iterator(topLevel), children.rend());
    while (!stack.empty()) {
        const int i = stack.back();
        stack.pop_back();
        const FileObject& o = objects[static_cast<std::size_t>(i)];
        const int d = o.parent >= 0 ? depth[static_cast<std::size_t>(o.parent)] + 1 : 1;
        if (d > XSceneFile::MaxDepth)
            Codec::fail(objectPlace(i) + ".parent", "the hierarchy is more than " + std::to_string(XSceneFile::MaxDepth) +
                                                   " levels deep here");
        depth[static_cast<std::size_t>(i)] = d;
        scene.order.push_back(i);
        const auto from = children.begin() + first[static_cast<std::size_t>(i) + 1];
        const auto to = children.begin() + first[static_cast<std::size_t>(i) + 2];
        stack.insert(stack.end(), std::make_reverse_iterator(to), std::make_reverse_iterator(from));
    }
}

}  // namespace

void XSceneHierarchy::link(FileScene& scene) {
    resolveParents(scene.objects);
    refuseCycles(scene.objects);
    refuseMisplacedSettingsAndClashingNames(scene.objects);
    orderForCreation(scene);
}

}  // namespace VelX

#include "XSceneBuilder.h"

#include <veldatabase/Database.h>

#include <algorithm>
#include <utility>

namespace VelX {

using Codec = XJsonValueCodec;

namespace {

// ---------------------------------------------------------------- building

db::AttrKey keyOf(const FileEndpoint& end, const std::vector<int>& ids) {
    db::AttrKey key = end.key;
    key.node = end.object >= 0 ? ids[static_cast<std::size_t>(end.object)] : db::Database::RootId;
    return key;
}

void buildObjects(db::Database& target, FileScene& scene, std::vector<int>& ids,
                  const XSceneFile::Progress& progress) {
    std::size_t built = 0;
    for (int i : scene.order) {
        if (progress && (built++ & 4095) == 0) progress("Building", built - 1, scene.order.size());
        FileObject& o = scene.objects[static_cast<std::size_t>(i)];
        int parent = o.parent >= 0 ? ids[static_cast<std::size_t>(o.parent)] : db::Database::RootId;
        int id = target.create(*o.def, o.name, parent);
        if (id < 0) Codec::fail(objectPlace(i), "the object could not be created");
        ids[static_cast<std::size_t>(i)] = id;
        for (std::size_t c = 0; c < o.custom.size(); ++c)
            if (target.addCustomAttribute(id, o.custom[c]) != o.def->slotCount() + static_cast<int>(c))
                Codec::fail(Codec::at(objectPlace(i) + ".custom", c), "the attribute could not be added");
        for (SlotValue& v : o.values)
            if (!target.setValue(db::AttrKey{id, v.slot}, std::move(v.value)))
                Codec::fail(valuePlace(o, i, v.slot), "the value was refused");
        for (auto& [slot, elements] : o.packedArrays)
            if (!target.setArray(db::AttrKey{id, slot}, std::move(*elements)))
                Codec::fail(valuePlace(o, i, slot), "the value was refused");
        for (const SlotValue& r : o.referenceArrays)
            if (!target.resizeArray(db::AttrKey{id, r.slot}, r.value.asInt()))
                Codec::fail(valuePlace(o, i, r.slot), "the array was refused");
        std::vector<SlotValue>().swap(o.values);
        o.packedArrays.clear();
    }
    // Every scene has one object of each settings type: older files may lack some.
    for (const db::NodeDef* def : target.types()) {
        if (!def->hasFlag(db::SettingsType) || def->hasFlag(db::Abstract)) continue;
        bool present = std::any_of(scene.objects.begin(), scene.objects.end(),
                                   [&](const FileObject& o) { return o.def == def; });
        if (!present && target.create(*def, def->typeName(), db::Database::RootId) < 0)
            Codec::fail("", "the " + def->typeName() + " object could not be created");
    }
}

}  // namespace

void XSceneBuilder::build(db::Database& target, FileScene& scene, const XSceneFile::Progress& progress) {
    std::vector<int> ids(scene.objects.size(), -1);
    target.beginChangeBlock();
    try {
        buildObjects(target, scene, ids, progress);
        // Checked for loops all together: a long chain of connections costs no more than its length.
        std::vector<std::pair<db::AttrKey, db::AttrKey>> links;
        links.reserve(scene.connections.size());
        for (const FileConnection& c : scene.connections) links.emplace_back(keyOf(c.from, ids), keyOf(c.to, ids));
        std::string reason;
        const std::size_t made = target.connectAll(links, &reason);
        if (made < links.size()) {
            const FileConnection& c = scene.connections[made];
            Codec::fail(Codec::at("connections", made), "cannot connect " + Codec::excerpt(c.fromText) + " to " +
                                                            Codec::excerpt(c.toText) + ": " + reason);
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

}  // namespace VelX

#pragma once

// What a scene file holds once read and checked, before it is built into a database: the objects
// in file order with their values, the connections and the selection, all by index in the file.

#include <velxcore/XJsonValueCodec.h>

#include <veldatabase/AttrKey.h>
#include <veldatabase/AttributeDef.h>
#include <veldatabase/NodeDef.h>
#include <veldatabase/PackedArray.h>
#include <veldatabase/Value.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace VelX {

inline constexpr const char* SceneFormatName = "velx-scene";

// Attributes a scene file holds: not computed, not internal, and not single object references
// (those are connections from the referenced object's message attribute).
inline bool isSavedAttribute(const db::AttributeDef& a) {
    if (a.has(db::Computed) || a.has(db::Internal)) return false;
    return a.type != db::ValueType::ObjectRef || a.isArray;
}

struct SlotValue {
    int slot;
    db::Value value;
};

struct FileObject {
    const db::NodeDef* def = nullptr;
    std::string name;
    std::int64_t id = 0;
    std::int64_t parentId = 0;
    int parent = -1;  // index in the file, -1 = top level
    bool hasParent = false;
    std::vector<db::AttributeDef> custom;
    std::vector<SlotValue> values;           // arrays whole
    std::vector<std::pair<int, std::unique_ptr<db::PackedArray>>> packedArrays;  // arrays of numbers
    std::vector<SlotValue> referenceArrays;  // element counts
};

// An array attribute read element by element (or column by column) while the text is parsed, so
// that its JSON is never held whole: the values, or the first problem with its place inside the
// array ("[12].time", or ".time[12]" in columns).
// The object's JSON holds a binary value (which JSON text cannot) with its index in the list.
struct StreamedArray {
    db::ValueList values;
    std::unique_ptr<db::PackedArray> packed;  // instead of the values, for an array of numbers
    std::optional<XJsonValueCodec::Error> problem;
};
using StreamedArrays = std::vector<StreamedArray>;

// Objects are added one by one as they are read: a deque never moves them to grow.
using FileObjects = std::deque<FileObject>;

struct FileEndpoint {
    int object = -1;  // index in the file, -1 = scene root
    db::AttrKey key;  // node unset
};

struct FileConnection {
    FileEndpoint from, to;
    std::string fromText, toText;
};

struct FileScene {
    FileObjects objects;
    std::vector<int> order;  // creation order: parents before children, siblings in file order
    std::vector<FileConnection> connections;
    std::vector<std::string> selectionPaths;  // as written
    std::vector<int> selection;               // index in the file of each
};

// "objects[i]".
inline std::string objectPlace(int i) { return XJsonValueCodec::at("objects", static_cast<std::size_t>(i)); }

// Where the value of a slot was written in object i: built only for messages, as the reader
// spelled it.
inline std::string valuePlace(const FileObject& o, int i, int slot) {
    const db::NodeDef& def = *o.def;
    if (slot >= def.slotCount()) return XJsonValueCodec::at(objectPlace(i) + ".custom", static_cast<std::size_t>(slot - def.slotCount())) + ".value";
    const db::SlotInfo& info = def.slot(slot);
    std::string place = objectPlace(i) + ".attributes.";
    if (info.parent >= 0) place += def.slot(info.parent).def->name + ".";
    return place + info.def->name;
}

}  // namespace VelX

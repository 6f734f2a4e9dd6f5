#include "XPackedColumns.h"
#include "XSceneFileContents.h"
#include "XSceneWriter.h"

#include <velxcore/XSceneFile.h>

#include <veldatabase/Database.h>

#include <algorithm>
#include <unordered_map>
#include <utility>
#include <vector>

namespace VelX {

namespace {

using Codec = XJsonValueCodec;
using db::AttributeDef;
using db::ValueType;

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
        if (!isSavedAttribute(*info.def)) continue;
        SavedAttribute saved{s, info.def, {}, {}, false};
        if (info.def->type == ValueType::Compound && !info.def->isArray) {
            saved.compound = true;
            for (int c = info.firstChild; c < info.firstChild + info.childCount; ++c)
                if (isSavedAttribute(*def.slot(c).def)) saved.fields.push_back({c, def.slot(c).def, fresh.stored(c)});
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
    Codec::newLine(out, AttributeDepth);
    Codec::writeKey(out, name);
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
                Codec::writeKey(out, f.def->name);
                Codec::writeValue(out, *f.def, v);
            }
            if (open) out += '}';
        } else if (a.def->isArray) {
            if (n.arraySize(a.slot) == 0) continue;
            nextAttribute(out, any, a.def->name);
            if (const db::PackedArray* packed = n.packed(a.slot)) {
                if (XPackedColumns::isColumnar(*a.def, &packed->layout())) XPackedColumns::write(out, *a.def, *packed, AttributeDepth);
                else XPackedColumns::writeColumn(out, *a.def, *packed, 0);
            } else {
                Codec::writeArray(out, *a.def, n.array(a.slot), AttributeDepth);
            }
        } else {
            db::Value v = n.stored(a.slot);
            if (v == a.fallback) continue;
            nextAttribute(out, any, a.def->name);
            Codec::writeValue(out, *a.def, v);
        }
    }
    if (any) {
        Codec::newLine(out, ObjectDepth + 1);
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
        Codec::newLine(out, AttributeDepth);
        out += "{\"name\": ";
        Codec::writeString(out, a.name);
        out += ", \"type\": ";
        Codec::writeInt(out, static_cast<int>(a.type));
        out += ", \"isArray\": ";
        out += a.isArray ? "true" : "false";
        if (!a.enumNames.empty()) {
            out += ", \"enumNames\": [";
            for (std::size_t e = 0; e < a.enumNames.size(); ++e) {
                if (e) out += ", ";
                Codec::writeString(out, a.enumNames[e]);
            }
            out += ']';
        }
        if (!a.refType.empty()) {
            out += ", \"refType\": ";
            Codec::writeString(out, a.refType);
        }
        db::Value v = n.stored(slot);
        if (isSavedAttribute(a) && !v.isNone()) {
            out += ", \"value\": ";
            if (a.isArray) Codec::writeArray(out, a, v.tryGet<db::ValueList>(), -1);
            else Codec::writeValue(out, a, v);
        }
        out += '}';
    }
    if (any) {
        Codec::newLine(out, ObjectDepth + 1);
        out += ']';
    }
}

void writeObject(std::string& out, const db::Database& database, const db::Node& n, int fileId, int parentFileId,
                 const SavedType& type) {
    Codec::newLine(out, ObjectDepth);
    out += "{\n      \"id\": ";
    Codec::writeInt(out, fileId);
    out += ",\n      \"type\": ";
    Codec::writeString(out, n.def().typeName());
    out += ",\n      \"name\": ";
    Codec::writeString(out, n.name());
    out += ",\n      \"parent\": ";
    if (parentFileId > 0) Codec::writeInt(out, parentFileId);
    else out += "null";
    writeAttributes(out, n, type);
    writeCustom(out, database, n);
    Codec::newLine(out, ObjectDepth);
    out += '}';
}

// The text being made, handed on whenever a piece is full. Its room is made once and reused.
class Pieces {
public:
    explicit Pieces(const XSceneWriter::Piece& write) : m_write(write) {
        m_text.reserve(XSceneWriter::PieceBytes + XSceneWriter::PieceBytes / 4);
    }
    std::string& text() { return m_text; }
    // False once the receiver has refused a piece.
    bool handOnWhenFull() { return m_text.size() < XSceneWriter::PieceBytes || handOn(); }
    bool handOn() {
        const bool taken = m_write(m_text);
        m_text.clear();
        return taken;
    }

private:
    const XSceneWriter::Piece& m_write;
    std::string m_text;
};

// A list of one-line entries, one to a line.
template <class List, class WriteEntry>
bool writeList(Pieces& pieces, const char* key, const List& list, WriteEntry&& entry) {
    std::string& out = pieces.text();
    out += ",\n  \"";
    out += key;
    out += "\": [";
    for (std::size_t i = 0; i < list.size(); ++i) {
        out += i ? ",\n    " : "\n    ";
        entry(list[i]);
        if (!pieces.handOnWhenFull()) return false;
    }
    out += list.empty() ? "]" : "\n  ]";
    return true;
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

}  // namespace

bool XSceneWriter::write(const db::Database& database, const Piece& write) {
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

    Pieces pieces(write);
    std::string& out = pieces.text();
    out += "{\n  \"format\": ";
    Codec::writeString(out, SceneFormatName);
    out += ",\n  \"version\": ";
    Codec::writeInt(out, XSceneFile::FormatVersion);

    out += ",\n  \"objects\": [";
    std::unordered_map<const db::NodeDef*, SavedType> types;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const db::Node& n = *database.node(order[i]);
        auto type = types.find(&n.def());
        if (type == types.end()) type = types.emplace(&n.def(), savedType(n.def())).first;
        if (i) out += ',';
        const int parent = n.parent() == db::Database::RootId ? 0 : fileIds[static_cast<std::size_t>(n.parent())];
        writeObject(out, database, n, static_cast<int>(i) + 1, parent, type->second);
        if (!pieces.handOnWhenFull()) return false;
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
    const bool linksWritten = writeList(pieces, "connections", links, [&](const std::pair<std::string, std::string>& link) {
        out += "{\"from\": ";
        Codec::writeString(out, link.second);
        out += ", \"to\": ";
        Codec::writeString(out, link.first);
        out += '}';
    });
    if (!linksWritten) return false;

    std::vector<std::string> selection;
    for (int id : database.selection()) selection.push_back(database.path(id));
    if (!writeList(pieces, "selection", selection, [&](const std::string& path) { Codec::writeString(out, path); })) return false;
    out += "\n}\n";
    return pieces.handOn();
}

std::string XSceneWriter::text(const db::Database& database) {
    std::string text;
    write(database, [&](std::string_view piece) {
        text += piece;
        return true;
    });
    return text;
}

}  // namespace VelX

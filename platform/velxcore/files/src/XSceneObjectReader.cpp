#include "XSceneObjectReader.h"

#include "XPackedColumns.h"

#include <velxcore/XSceneFile.h>

#include <veldatabase/Database.h>

#include <nlohmann/json.hpp>

namespace VelX {

using Codec = XJsonValueCodec;
using Json = XJsonValueCodec::Json;
using db::AttributeDef;
using db::ValueType;

namespace {

// Reads an attribute value (an array whole) into the object's list of values to set; an array
// kept packed (`packed`) may come in columns.
void readFileValue(FileObject& o, int slot, const AttributeDef& a, const Json& j, const std::string& place,
                   StreamedArrays* streamed = nullptr, const db::PackedLayout* packed = nullptr) {
    if (!a.isArray) {
        o.values.push_back({slot, Codec::readValue(a, j, place)});
        return;
    }
    db::ValueList list;
    if (j.is_binary() && streamed) {
        StreamedArray& array = (*streamed)[static_cast<std::size_t>(j.get_binary().subtype())];
        if (array.problem) Codec::fail(place + array.problem->place, array.problem->problem);
        if (array.packed) {
            o.packedArrays.emplace_back(slot, std::move(array.packed));
            return;
        }
        list = std::move(array.values);
    } else if (j.is_object() && XPackedColumns::isColumnar(a, packed)) {
        auto elements = std::make_unique<db::PackedArray>(*packed);
        try {
            XPackedColumns::readAll(a, j, *elements);
        } catch (Codec::Error& error) {
            error.place = place + error.place;
            throw;
        }
        o.packedArrays.emplace_back(slot, std::move(elements));
        return;
    } else {
        if (!j.is_array()) Codec::expected(place, "an array", j);
        list.reserve(j.size());
        for (std::size_t e = 0; e < j.size(); ++e) {
            // The element's place is spelled out only for a message.
            try {
                list.push_back(Codec::readValue(a, j[e], place));
            } catch (Codec::Error& error) {
                error.place = Codec::at(place, e) + error.place.substr(place.size());
                throw;
            }
        }
    }
    if (a.type == ValueType::ObjectRef) o.referenceArrays.push_back({slot, static_cast<std::int32_t>(list.size())});
    else o.values.push_back({slot, std::move(list)});
}

// Reads a value with `place` standing in for its own place, which is spelled out only when the
// value is refused: most values are fine, and a place is a string to build.
template <class PlaceOfValue>
void readFileValueAt(FileObject& o, int slot, const AttributeDef& a, const Json& j, const std::string& place,
                     PlaceOfValue&& placeOfValue, StreamedArrays& streamed, const db::PackedLayout* packed = nullptr) {
    try {
        readFileValue(o, slot, a, j, place, &streamed, packed);
    } catch (Codec::Error& error) {
        error.place = placeOfValue() + error.place.substr(place.size());
        throw;
    }
}

void readAttributes(FileObject& o, const Json& j, const std::string& place, StreamedArrays& streamed) {
    if (!j.is_object()) Codec::expected(place, "an object", j);
    const db::NodeDef& def = *o.def;
    for (auto it = j.begin(); it != j.end(); ++it) {
        const std::string& name = it.key();
        const auto here = [&] { return Codec::keyPlace(place, name); };
        int slot = def.findTopLevel(name);
        if (slot < 0) Codec::fail(here(), "no attribute '" + Codec::excerpt(name) + "' on type " + def.typeName());
        const db::SlotInfo& info = def.slot(slot);
        const AttributeDef& a = *info.def;
        if (a.has(db::Computed)) Codec::fail(here(), "'" + name + "' is computed by the object and is not saved");
        if (a.has(db::Internal)) Codec::fail(here(), "'" + name + "' is internal and is not saved");
        if (!isSavedAttribute(a)) Codec::fail(here(), "'" + name + "' is an object reference: it is saved as a connection");
        if (a.type != ValueType::Compound || a.isArray) {
            readFileValueAt(o, slot, a, it.value(), place, here, streamed, info.packed);
            continue;
        }
        if (!it.value().is_object()) Codec::expected(here(), "an object with the fields of '" + name + "'", it.value());
        for (auto f = it.value().begin(); f != it.value().end(); ++f) {
            int child = def.findChild(slot, f.key());
            const auto field = [&] { return Codec::keyPlace(here(), f.key()); };
            if (child < 0 || !isSavedAttribute(*def.slot(child).def))
                Codec::fail(field(), "no field '" + Codec::excerpt(f.key()) + "' in '" + name + "'");
            readFileValueAt(o, child, *def.slot(child).def, f.value(), place, field, streamed);
        }
    }
}

void readCustom(FileObject& o, const Json& j, const std::string& place, const db::Database& types, StreamedArrays& streamed) {
    if (!j.is_array()) Codec::expected(place, "an array", j);
    // Each one is compared with those before it, here and in the database.
    if (j.size() > static_cast<std::size_t>(XSceneFile::MaxCustomAttributes))
        Codec::fail(place, "more than the " + std::to_string(XSceneFile::MaxCustomAttributes) +
                               " custom attributes an object may have in a scene file");
    for (std::size_t k = 0; k < j.size(); ++k) {
        const Json& c = j[k];
        const std::string here = Codec::at(place, k);
        if (!c.is_object()) Codec::expected(here, "an object", c);
        Codec::onlyKeys(c, {"name", "type", "isArray", "enumNames", "refType", "value"}, here);
        AttributeDef a;
        const Json* name = Codec::member(c, "name");
        if (!name || !name->is_string()) Codec::expected(here + ".name", "a string", name ? *name : Json());
        a.name = name->get<std::string>();
        if (a.name.empty() || db::Database::sanitizeName(a.name) != a.name)
            Codec::fail(here + ".name", "'" + Codec::excerpt(a.name) + "' is not a valid attribute name");
        if (o.def->findTopLevel(a.name) >= 0)
            Codec::fail(here + ".name", "'" + a.name + "' is already an attribute of type " + o.def->typeName());
        for (const AttributeDef& other : o.custom)
            if (other.name == a.name) Codec::fail(here + ".name", "'" + Codec::excerpt(a.name) + "' is defined twice");
        a.displayName = a.name;
        const Json* type = Codec::member(c, "type");
        std::int64_t code = 0;
        if (!type || !Codec::readInteger(*type, code) || code < 1 || code >= db::ValueTypeCount)
            Codec::expected(here + ".type", "a type code from 1 to " + std::to_string(db::ValueTypeCount - 1),
                     type ? *type : Json());
        a.type = static_cast<ValueType>(code);
        if (const Json* isArray = Codec::member(c, "isArray")) {
            if (!isArray->is_boolean()) Codec::expected(here + ".isArray", "true or false", *isArray);
            a.isArray = isArray->get<bool>();
        }
        if (const Json* names = Codec::member(c, "enumNames")) {
            if (!names->is_array()) Codec::expected(here + ".enumNames", "an array of strings", *names);
            for (std::size_t n = 0; n < names->size(); ++n) {
                if (!(*names)[n].is_string()) Codec::expected(Codec::at(here + ".enumNames", n), "a string", (*names)[n]);
                a.enumNames.push_back((*names)[n].get<std::string>());
            }
            a.enumDisplayNames = a.enumNames;
        }
        if (const Json* refType = Codec::member(c, "refType")) {
            if (!refType->is_string()) Codec::expected(here + ".refType", "a string", *refType);
            a.refType = refType->get<std::string>();
            if (!a.refType.empty() && !types.findType(a.refType))
                Codec::fail(here + ".refType", "unknown object type '" + Codec::excerpt(a.refType) + "'");
        }
        const int slot = o.def->slotCount() + static_cast<int>(o.custom.size());
        o.custom.push_back(a);
        if (const Json* value = Codec::member(c, "value")) {
            if (!isSavedAttribute(a)) {
                if (!value->is_null()) Codec::expected(here + ".value", "null (references are saved as connections)", *value);
            } else {
                readFileValue(o, slot, a, *value, here + ".value", &streamed);
            }
        }
    }
}

}  // namespace

FileObject XSceneObjectReader::read(const Json& j, int i, const db::Database& types, StreamedArrays& streamed) {
    const std::string place = objectPlace(i);
    if (!j.is_object()) Codec::expected(place, "an object", j);
    Codec::onlyKeys(j, {"id", "type", "name", "parent", "attributes", "custom"}, place);
    FileObject o;
    const Json* id = Codec::member(j, "id");
    if (!id) Codec::fail(place, "missing \"id\"");
    if (!Codec::readInteger(*id, o.id)) Codec::expected(place + ".id", "an integer", *id);
    const Json* type = Codec::member(j, "type");
    if (!type) Codec::fail(place, "missing \"type\"");
    if (!type->is_string()) Codec::expected(place + ".type", "a type name", *type);
    o.def = types.findType(type->get<std::string>());
    if (!o.def) Codec::fail(place + ".type", "unknown object type " + Codec::shown(*type));
    if (o.def->hasFlag(db::Abstract)) Codec::fail(place + ".type", o.def->typeName() + " is abstract and has no objects");
    const Json* name = Codec::member(j, "name");
    if (!name) Codec::fail(place, "missing \"name\"");
    if (!name->is_string()) Codec::expected(place + ".name", "a string", *name);
    o.name = name->get<std::string>();
    if (o.name.empty()) Codec::fail(place + ".name", "the name is empty");
    if (const Json* parent = Codec::member(j, "parent"); parent && !parent->is_null()) {
        if (!Codec::readInteger(*parent, o.parentId)) Codec::expected(place + ".parent", "an object id or null", *parent);
        o.hasParent = true;
    }
    if (const Json* custom = Codec::member(j, "custom")) readCustom(o, *custom, place + ".custom", types, streamed);
    if (const Json* attributes = Codec::member(j, "attributes")) readAttributes(o, *attributes, place + ".attributes", streamed);
    return o;
}

}  // namespace VelX

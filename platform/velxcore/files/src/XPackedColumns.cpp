#include "XPackedColumns.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstring>
#include <limits>

namespace VelX {

using Codec = XJsonValueCodec;
using db::ValueType;

namespace {

constexpr std::size_t NotRead = std::numeric_limits<std::size_t>::max();

// A field's bits, so that a column of -0.0 is not taken for one of the default 0.0.
std::uint64_t bitsOf(const db::PackedArray& array, int element, int field) {
    std::uint64_t bits = 0;
    switch (array.layout().fieldType(field)) {
    case ValueType::Float: {
        const float f = array.number<float>(element, field);
        std::memcpy(&bits, &f, sizeof f);
        break;
    }
    case ValueType::Double: {
        const double d = array.number<double>(element, field);
        std::memcpy(&bits, &d, sizeof d);
        break;
    }
    default: bits = static_cast<std::uint32_t>(array.number<std::int32_t>(element, field)); break;
    }
    return bits;
}

std::uint64_t defaultBitsOf(const db::PackedLayout& layout, int field) {
    const unsigned char* p = layout.defaultElement() + layout.fieldOffset(field);
    std::uint64_t bits = 0;
    switch (layout.fieldType(field)) {
    case ValueType::Bool: bits = *p != 0; break;
    case ValueType::Double: std::memcpy(&bits, p, 8); break;
    default: {
        std::uint32_t word = 0;
        std::memcpy(&word, p, 4);
        bits = word;
        break;
    }
    }
    return bits;
}

bool holdsOnlyTheDefault(const db::PackedArray& array, int field) {
    const std::uint64_t fallback = defaultBitsOf(array.layout(), field);
    for (int e = 0; e < array.size(); ++e)
        if (bitsOf(array, e, field) != fallback) return false;
    return true;
}

void writeField(std::string& out, const db::AttributeDef& def, const db::PackedArray& array, int element, int field) {
    switch (def.type) {
    case ValueType::Float: Codec::writeFloat(out, array.number<float>(element, field)); return;
    case ValueType::Double: Codec::writeDouble(out, array.number<double>(element, field)); return;
    case ValueType::Bool: out += array.number<int>(element, field) ? "true" : "false"; return;
    case ValueType::Enum: {
        const std::int32_t i = array.number<std::int32_t>(element, field);
        if (i >= 0 && static_cast<std::size_t>(i) < def.enumNames.size())
            Codec::writeString(out, def.enumNames[static_cast<std::size_t>(i)]);
        else
            Codec::writeInt(out, i);
        return;
    }
    default: Codec::writeInt(out, array.number<std::int32_t>(element, field)); return;
    }
}

}  // namespace

bool XPackedColumns::isColumnar(const db::AttributeDef& def, const db::PackedLayout* layout) {
    return def.isArray && layout && layout->isCompound() && static_cast<int>(def.children.size()) == layout->fieldCount();
}

void XPackedColumns::write(std::string& out, const db::AttributeDef& def, const db::PackedArray& array, int depth) {
    out += '{';
    bool first = true;
    for (int f = 0; f < array.layout().fieldCount(); ++f) {
        if (f > 0 && holdsOnlyTheDefault(array, f)) continue;
        const db::AttributeDef& field = def.children[static_cast<std::size_t>(f)];
        if (!first) out += ',';
        first = false;
        Codec::newLine(out, depth + 1);
        Codec::writeKey(out, field.name);
        writeColumn(out, field, array, f);
    }
    Codec::newLine(out, depth);
    out += '}';
}

void XPackedColumns::writeColumn(std::string& out, const db::AttributeDef& def, const db::PackedArray& array, int field) {
    out += '[';
    for (int e = 0; e < array.size(); ++e) {
        if (e) out += ", ";
        writeField(out, def, array, e, field);
    }
    out += ']';
}

void XPackedColumns::readAll(const db::AttributeDef& def, const Json& columns, db::PackedArray& target) {
    if (!columns.is_object()) Codec::expected("", "an object of columns", columns);
    XPackedColumns reader(def, target);
    for (auto it = columns.begin(); it != columns.end(); ++it) {
        const int f = reader.find(it.key());
        if (f < 0) reader.unknownField(it.key());
        if (!it.value().is_array()) reader.notAColumn(f, it.value());
        reader.begin(f);
        target.reserve(it.value().size());
        for (std::size_t e = 0; e < it.value().size(); ++e) reader.read(f, e, it.value()[e]);
    }
    reader.finish();
}

XPackedColumns::XPackedColumns(const db::AttributeDef& def, db::PackedArray& target)
    : m_def(def), m_target(target), m_lengths(def.children.size(), NotRead) {}

int XPackedColumns::find(std::string_view name) const {
    for (std::size_t f = 0; f < m_def.children.size(); ++f)
        if (m_def.children[f].name == name) return static_cast<int>(f);
    return -1;
}

void XPackedColumns::unknownField(std::string_view name) const {
    Codec::fail("." + Codec::excerpt(name), "no field '" + Codec::excerpt(name) + "' in '" + m_def.name + "'");
}

const std::string& XPackedColumns::fieldName(int field) const { return m_def.children[static_cast<std::size_t>(field)].name; }

void XPackedColumns::begin(int field) { m_lengths[static_cast<std::size_t>(field)] = 0; }

void XPackedColumns::read(int field, std::size_t index, const Json& value) {
    static const std::string StandIn;  // the element's place is spelled out only for a message
    const db::AttributeDef& def = m_def.children[static_cast<std::size_t>(field)];
    try {
        db::Value v = Codec::readValue(def, value, StandIn);
        if (index >= static_cast<std::size_t>(m_target.size())) m_target.resize(static_cast<int>(index) + 1);
        m_target.setField(static_cast<int>(index), field, v);
    } catch (Codec::Error& error) {
        error.place = Codec::at("." + def.name, index) + error.place;
        throw;
    }
    m_lengths[static_cast<std::size_t>(field)] = index + 1;
}

void XPackedColumns::notAColumn(int field, const Json& found) const {
    Codec::expected("." + fieldName(field), "an array", found);
}

void XPackedColumns::finish() const {
    const std::size_t count = m_lengths[0];
    if (count == NotRead) Codec::fail("", "missing \"" + fieldName(0) + "\"");
    for (std::size_t f = 1; f < m_lengths.size(); ++f)
        if (m_lengths[f] != NotRead && m_lengths[f] != count)
            Codec::fail("." + fieldName(static_cast<int>(f)), "expected " + std::to_string(count) +
                                                                  (count == 1 ? " element" : " elements") + ", as many as \"" +
                                                                  fieldName(0) + "\" has, found " + std::to_string(m_lengths[f]));
}

}  // namespace VelX

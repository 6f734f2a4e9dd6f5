#include <velxcore/XJsonValueCodec.h>

#include <veldatabase/AttributeDef.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

namespace VelX {

using Json = XJsonValueCodec::Json;
using db::AttributeDef;
using db::ValueType;

namespace {

// A whole number gets ".0" so that it reads back as a number with a fraction.
void writeNumberText(std::string& out, const char* text, const char* end) {
    out.append(text, end);
    if (std::none_of(text, end, [](char c) { return c == '.' || c == 'e'; })) out += ".0";
}

// Non-finite numbers have no JSON form and are written as strings.
bool writeNonFinite(std::string& out, double d) {
    if (std::isnan(d)) out += "\"nan\"";
    else if (std::isinf(d)) out += d > 0 ? "\"inf\"" : "\"-inf\"";
    else return false;
    return true;
}

void writeFloats(std::string& out, const float* f, int count) {
    out += '[';
    for (int i = 0; i < count; ++i) {
        if (i) out += ", ";
        XJsonValueCodec::writeFloat(out, f[i]);
    }
    out += ']';
}

void readFloats(const Json& j, float* out, std::size_t count, const std::string& place) {
    if (!j.is_array() || j.size() != count) XJsonValueCodec::expected(place, std::to_string(count) + " numbers", j);
    for (std::size_t i = 0; i < count; ++i) {
        // The number's place is spelled out only for a message.
        try {
            out[i] = XJsonValueCodec::readFloat(j[i], place);
        } catch (XJsonValueCodec::Error& error) {
            error.place = XJsonValueCodec::at(place, i) + error.place.substr(place.size());
            throw;
        }
    }
}


// The code point of the UTF-8 sequence at text[i] and its length in bytes; length 0 when the
// bytes there are not well-formed UTF-8 (overlong forms, surrogates and stray bytes included).
std::uint32_t decodeUtf8(std::string_view text, std::size_t i, std::size_t& length) {
    const auto byte = [&](std::size_t k) { return i + k < text.size() ? static_cast<unsigned char>(text[i + k]) : 0u; };
    const auto continuation = [&](std::size_t k) { return (byte(k) & 0xC0u) == 0x80u; };
    const unsigned b0 = byte(0);
    length = 0;
    if (b0 < 0x80) {
        length = 1;
        return b0;
    }
    if (b0 >= 0xC2 && b0 <= 0xDF && continuation(1)) {
        length = 2;
        return ((b0 & 0x1Fu) << 6) | (byte(1) & 0x3Fu);
    }
    if (b0 >= 0xE0 && b0 <= 0xEF && continuation(1) && continuation(2)) {
        if ((b0 == 0xE0 && byte(1) < 0xA0) || (b0 == 0xED && byte(1) >= 0xA0)) return 0;
        length = 3;
        return ((b0 & 0x0Fu) << 12) | ((byte(1) & 0x3Fu) << 6) | (byte(2) & 0x3Fu);
    }
    if (b0 >= 0xF0 && b0 <= 0xF4 && continuation(1) && continuation(2) && continuation(3)) {
        if ((b0 == 0xF0 && byte(1) < 0x90) || (b0 == 0xF4 && byte(1) >= 0x90)) return 0;
        length = 4;
        return ((b0 & 0x07u) << 18) | ((byte(1) & 0x3Fu) << 12) | ((byte(2) & 0x3Fu) << 6) | (byte(3) & 0x3Fu);
    }
    return 0;
}

// Characters that print nothing or change how the text around them shows: controls, format and
// direction marks, line and paragraph separators.
bool isInvisible(std::uint32_t c) {
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0xAD || c == 0x61C || c == 0x180E ||
           (c >= 0x200B && c <= 0x200F) || (c >= 0x2028 && c <= 0x202E) || (c >= 0x2060 && c <= 0x206F) ||
           c == 0xFEFF || (c >= 0xFFF9 && c <= 0xFFFB);
}

std::string escaped(std::uint32_t c) {
    switch (c) {
    case '\n': return "\\n";
    case '\r': return "\\r";
    case '\t': return "\\t";
    case '\\': return "\\\\";
    default: break;
    }
    char text[16];
    std::snprintf(text, sizeof text, "\\u%04X", static_cast<unsigned>(c));
    return text;
}

// The choices of an enumeration for a message. A file's own attributes bring their own choices,
// so the list is cut short like any text from a file.
std::string joined(const std::vector<std::string>& names) {
    constexpr std::size_t Enough = 120;
    std::string out;
    for (const std::string& n : names) {
        if (out.size() > Enough) return out + ", ...";
        out += (out.empty() ? "" : ", ") + XJsonValueCodec::excerpt(n, 30);
    }
    return out;
}

}  // namespace

void XJsonValueCodec::writeInt(std::string& out, std::int64_t i) {
    char text[24];
    out.append(text, std::to_chars(text, text + sizeof text, i).ptr);
}

// The shortest decimal that reads back as the same float ("0.6", not "0.60000002384185791"). It is
// read as a double first, so the rare text that would round differently that way gets the
// double's digits instead.
void XJsonValueCodec::writeFloat(std::string& out, float f) {
    if (writeNonFinite(out, f)) return;
    char text[48];
    char* end = std::to_chars(text, text + sizeof text, f).ptr;
    double d = 0;
    if (std::from_chars(text, end, d).ec != std::errc() || static_cast<float>(d) != f)
        end = std::to_chars(text, text + sizeof text, static_cast<double>(f)).ptr;
    writeNumberText(out, text, end);
}

void XJsonValueCodec::writeDouble(std::string& out, double d) {
    if (writeNonFinite(out, d)) return;
    char text[48];
    writeNumberText(out, text, std::to_chars(text, text + sizeof text, d).ptr);
}

// Plain ASCII is copied; anything else is escaped by the JSON library, which also replaces
// invalid UTF-8.
void XJsonValueCodec::writeString(std::string& out, const std::string& s) {
    const bool plain = std::all_of(s.begin(), s.end(), [](char ch) {
        unsigned char c = static_cast<unsigned char>(ch);
        return c >= 0x20 && c < 0x7F && c != '"' && c != '\\';
    });
    if (!plain) {
        out += nlohmann::json(s).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
        return;
    }
    out += '"';
    out += s;
    out += '"';
}

void XJsonValueCodec::writeKey(std::string& out, const std::string& name) {
    writeString(out, name);
    out += ": ";
}

void XJsonValueCodec::newLine(std::string& out, int depth) {
    out += '\n';
    out.append(static_cast<std::size_t>(depth) * 2, ' ');
}

// One value of the attribute's element type (a whole element for compound arrays), on one line.
void XJsonValueCodec::writeValue(std::string& out, const AttributeDef& a, const db::Value& v) {
    switch (a.type) {
    case ValueType::Int: writeInt(out, v.asInt()); return;
    case ValueType::Bool: out += v.asBool() ? "true" : "false"; return;
    case ValueType::Enum: {
        int i = v.asInt();
        if (i >= 0 && i < static_cast<int>(a.enumNames.size())) writeString(out, a.enumNames[static_cast<std::size_t>(i)]);
        else writeInt(out, i);
        return;
    }
    case ValueType::Float: writeFloat(out, static_cast<float>(v.asDouble())); return;
    case ValueType::Double: writeDouble(out, v.asDouble()); return;
    case ValueType::String: writeString(out, v.asString()); return;
    case ValueType::Vector: {
        Velutils::Vec3 x = v.is<Velutils::Vec3>() ? v.get<Velutils::Vec3>() : Velutils::Vec3{};
        const float f[] = {x.x, x.y, x.z};
        writeFloats(out, f, 3);
        return;
    }
    case ValueType::Quaternion: {
        Velutils::Quat q = v.is<Velutils::Quat>() ? v.get<Velutils::Quat>() : Velutils::Quat{};
        const float f[] = {q.x, q.y, q.z, q.w};
        writeFloats(out, f, 4);
        return;
    }
    case ValueType::Matrix: {
        Velutils::Matrix4 m = v.is<Velutils::Matrix4>() ? v.get<Velutils::Matrix4>() : Velutils::Matrix4{};
        float f[16];
        for (int i = 0; i < 16; ++i) f[i] = m.m[i / 4][i % 4];
        writeFloats(out, f, 16);
        return;
    }
    case ValueType::ObjectRef: out += "null"; return;  // the target is a connection
    case ValueType::Compound: {
        const db::ValueList* fields = v.tryGet<db::ValueList>();
        out += '{';
        for (std::size_t c = 0; c < a.children.size(); ++c) {
            const AttributeDef& f = a.children[c];
            if (c) out += ", ";
            writeKey(out, f.name);
            writeValue(out, f, fields && c < fields->size() ? (*fields)[c] : f.defaultValue);
        }
        out += '}';
        return;
    }
    }
    out += "null";
}

// An array puts elements that hold several numbers one to a line, at `depth` + 1; a negative
// depth keeps the whole array on one line.
void XJsonValueCodec::writeArray(std::string& out, const AttributeDef& a, const db::ValueList* list, int depth) {
    if (!list || list->empty()) {
        out += "[]";
        return;
    }
    const bool lines = depth >= 0 && (a.type == ValueType::Compound || a.type == ValueType::Vector ||
                                      a.type == ValueType::Quaternion || a.type == ValueType::Matrix);
    out += '[';
    for (std::size_t e = 0; e < list->size(); ++e) {
        if (e) out += ',';
        if (lines) newLine(out, depth + 1);
        else if (e) out += ' ';
        writeValue(out, a, (*list)[e]);
    }
    if (lines) newLine(out, depth);
    out += ']';
}

void XJsonValueCodec::fail(const std::string& place, const std::string& problem) { throw Error{place, problem}; }

std::string XJsonValueCodec::shown(const Json& j) {
    if (j.is_array()) return "an array";
    if (j.is_object()) return "an object";
    if (j.is_string()) return "\"" + excerpt(j.get_ref<const std::string&>(), 40) + "\"";
    return j.dump();  // a number, true, false or null: short
}

std::string XJsonValueCodec::excerpt(std::string_view text, std::size_t limit) {
    std::string out;
    std::size_t width = 0;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t length = 0;
        const std::uint32_t c = decodeUtf8(text, i, length);
        std::string unit;
        if (length == 0) {
            char hex[16];
            std::snprintf(hex, sizeof hex, "\\x%02X", static_cast<unsigned char>(text[i]));
            unit = hex;
            length = 1;
        } else if (isInvisible(c) || c == '\\') {
            unit = escaped(c);
        }
        // A character shown as itself takes one place, an escape its length.
        const std::size_t unitWidth = unit.empty() ? 1 : unit.size();
        if (width + unitWidth > limit) return out + "...";
        if (unit.empty()) out.append(text.data() + i, length);
        else out += unit;
        width += unitWidth;
        i += length;
    }
    return out;
}

// The JSON library quotes what it last read ("...; last read: '<text>'; expected ..."): that text
// becomes an excerpt, the rest of the message is the library's own.
std::string XJsonValueCodec::parserMessage(const std::string& what) {
    const std::string quoteStart = "; last read: '";
    const std::size_t start = what.find(quoteStart);
    if (start == std::string::npos) return what;
    const std::size_t tokenStart = start + quoteStart.size();
    std::size_t tokenEnd = what.rfind("'; expected ");
    if (tokenEnd == std::string::npos || tokenEnd < tokenStart) tokenEnd = what.rfind('\'');
    if (tokenEnd == std::string::npos || tokenEnd < tokenStart) tokenEnd = what.size();
    return what.substr(0, tokenStart) + excerpt(std::string_view(what).substr(tokenStart, tokenEnd - tokenStart)) +
           what.substr(tokenEnd);
}

std::string XJsonValueCodec::keyPlace(const std::string& place, std::string_view key) {
    return place.empty() ? excerpt(key) : place + "." + excerpt(key);
}

void XJsonValueCodec::expected(const std::string& place, const std::string& what, const Json& j) {
    fail(place, "expected " + what + ", found " + shown(j));
}

std::string XJsonValueCodec::at(const std::string& place, std::size_t index) { return place + "[" + std::to_string(index) + "]"; }

const XJsonValueCodec::Json* XJsonValueCodec::member(const Json& object, const char* key) {
    auto it = object.find(key);
    return it == object.end() ? nullptr : &*it;
}

void XJsonValueCodec::onlyKeys(const Json& object, std::initializer_list<const char*> keys, const std::string& place) {
    for (auto it = object.begin(); it != object.end(); ++it)
        if (std::none_of(keys.begin(), keys.end(), [&](const char* k) { return it.key() == k; }))
            fail(keyPlace(place, it.key()), "unknown key");
}

bool XJsonValueCodec::readInteger(const Json& j, std::int64_t& out) {
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

bool XJsonValueCodec::readNumber(const Json& j, double& out) {
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

float XJsonValueCodec::readFloat(const Json& j, const std::string& place) {
    double d = 0;
    if (!readNumber(j, d)) expected(place, "a number", j);
    // Up to half a step past the largest float rounds to it; beyond that the number does not fit.
    constexpr double FloatLimit = 0x1.ffffffp127;
    if (std::isfinite(d) && std::fabs(d) >= FloatLimit) fail(place, "number out of range: " + shown(j));
    if (std::isfinite(d) && std::fabs(d) > FLT_MAX) return std::copysign(FLT_MAX, static_cast<float>(d));
    return static_cast<float>(d);
}

// One value of the attribute's element type, converted as the database stores it.
db::Value XJsonValueCodec::readValue(const AttributeDef& a, const Json& j, const std::string& place) {
    switch (a.type) {
    case ValueType::Int: {
        std::int64_t i = 0;
        if (!readInteger(j, i)) expected(place, "a whole number", j);
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
        float f[3];
        readFloats(j, f, 3, place);
        return Velutils::Vec3{f[0], f[1], f[2]};
    }
    case ValueType::Quaternion: {
        float f[4];
        readFloats(j, f, 4, place);
        return Velutils::Quat{f[0], f[1], f[2], f[3]};
    }
    case ValueType::Matrix: {
        float f[16];
        readFloats(j, f, 16, place);
        Velutils::Matrix4 m;
        for (int i = 0; i < 16; ++i) m.m[i / 4][i % 4] = f[i];
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
            if (f == a.children.end()) fail(keyPlace(place, it.key()), "no field '" + excerpt(it.key()) + "' in '" + a.name + "'");
            // The field's place is spelled out only for a message.
            try {
                fields[static_cast<std::size_t>(f - a.children.begin())] = readValue(*f, it.value(), place);
            } catch (Error& error) {
                error.place = keyPlace(place, it.key()) + error.place.substr(place.size());
                throw;
            }
        }
        return fields;
    }
    }
    fail(place, "unsupported attribute type");
}

}  // namespace VelX

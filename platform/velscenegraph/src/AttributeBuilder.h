#pragma once

#include <veldatabase/AttributeDef.h>
#include <velutils/StringUtils.h>

#include <cctype>
#include <initializer_list>
#include <string>

// Short builders for the attribute tables of the node types.
namespace sg::build {

using db::AttributeDef;
using db::ValueType;

inline std::string conciseFrom(const std::string& display) {
    std::string out;
    bool start = true;
    for (char c : display) {
        if (c == ' ') {
            start = true;
            continue;
        }
        if (start) out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        start = false;
    }
    return out;
}

inline AttributeDef attr(const char* name, ValueType type, db::Value value, int units = 0,
                         std::uint32_t flags = db::DefaultFlags) {
    AttributeDef a;
    a.name = name;
    a.displayName = Velutils::StringUtils::displayNameFromInternal(name);
    a.conciseName = conciseFrom(a.displayName);
    a.type = type;
    a.defaultValue = std::move(value);
    a.units = units;
    a.flags = flags;
    return a;
}

constexpr std::uint32_t Anim = db::DefaultFlags | db::Animatable;
constexpr std::uint32_t Output = db::Visible | db::Computed;

inline AttributeDef real(const char* name, float value, int units = 0, std::uint32_t flags = Anim) {
    return attr(name, ValueType::Float, value, units, flags);
}
inline AttributeDef integer(const char* name, int value, std::uint32_t flags = db::DefaultFlags) {
    return attr(name, ValueType::Int, static_cast<std::int32_t>(value), 0, flags);
}
inline AttributeDef boolean(const char* name, bool value, std::uint32_t flags = db::DefaultFlags) {
    return attr(name, ValueType::Bool, value, 0, flags);
}
inline AttributeDef text(const char* name, const char* value = "", int units = 0) {
    return attr(name, ValueType::String, std::string(value), units);
}
inline AttributeDef choice(const char* name, std::initializer_list<const char*> names, int value = 0,
                           std::uint32_t flags = db::DefaultFlags) {
    AttributeDef a = attr(name, ValueType::Enum, static_cast<std::int32_t>(value), 0, flags);
    for (const char* n : names) {
        a.enumNames.emplace_back(n);
        a.enumDisplayNames.push_back(Velutils::StringUtils::displayNameFromInternal(n));
    }
    return a;
}
inline AttributeDef reference(const char* name, const char* refType = "") {
    AttributeDef a = attr(name, ValueType::ObjectRef, static_cast<std::int32_t>(-1));
    a.refType = refType;
    return a;
}
inline AttributeDef matrixOutput(const char* name) {
    return attr(name, ValueType::Matrix, db::Value(), 0, Output);
}
inline AttributeDef realOutput(const char* name, int units = 0) {
    return attr(name, ValueType::Float, 0.0f, units, Output);
}
inline AttributeDef compound(const char* name, std::initializer_list<AttributeDef> children,
                             std::uint32_t flags = db::DefaultFlags) {
    AttributeDef a = attr(name, ValueType::Compound, db::Value(), 0, flags);
    a.children.assign(children.begin(), children.end());
    return a;
}
inline AttributeDef arrayOf(AttributeDef element) {
    element.isArray = true;
    element.flags &= ~static_cast<std::uint32_t>(db::Animatable);
    return element;
}
inline AttributeDef colour(const char* name, float r, float g, float b) {
    AttributeDef a = compound(name, {real("r", r), real("g", g), real("b", b)}, Anim);
    const char* names[] = {"Red", "Green", "Blue"};
    for (int i = 0; i < 3; ++i) a.children[static_cast<std::size_t>(i)].displayName = names[i];
    return a;
}

}  // namespace sg::build

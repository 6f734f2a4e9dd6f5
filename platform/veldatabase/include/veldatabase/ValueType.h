#pragma once

#include <cstdint>

namespace db {

// Value type codes as reported to callers; array attributes report their element's code.
enum class ValueType : std::uint8_t {
    Compound = 0,
    Int = 1,
    Bool = 2,
    Enum = 3,
    Float = 4,
    Double = 5,
    String = 6,
    Vector = 7,
    ObjectRef = 8,
    Quaternion = 9,
    Matrix = 10,
};

constexpr int ValueTypeCount = 11;

// Attribute flags. Computed attributes are outputs of their node; assigned ones take a value
// from the user or from a connection.
enum AttributeFlag : std::uint32_t {
    Editable = 1u << 0,
    Visible = 1u << 1,
    Computed = 1u << 2,
    Assigned = 1u << 3,
    Animatable = 1u << 4,
    TimeDependent = 1u << 5,  // computed from the scene's current time
    Internal = 1u << 6,       // kept by the core, never saved (e.g. the message attribute)
    NumericOutput = 1u << 7,  // may drive any numeric input (animation curves drive bools and enums too)
    // A computed attribute made from its node's own values and inputs alone, not from its other
    // computed attributes: a change of those leaves it as it is (a local matrix, when the parent moves).
    FromOwnValues = 1u << 8,
};

inline bool isNumeric(ValueType t) {
    return t == ValueType::Int || t == ValueType::Bool || t == ValueType::Enum || t == ValueType::Float ||
           t == ValueType::Double;
}

constexpr std::uint32_t DefaultFlags = Editable | Visible | Assigned;

}  // namespace db

#pragma once

#include <velutils/Matrix4.h>
#include <velutils/Quat.h>
#include <velutils/Vec3.h>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace db {

class Value;
using ValueList = std::vector<Value>;

// A value in transit: undo records, defaults, array elements and evaluated results.
// Strings are UTF-8. Enumerations and object references travel as integers.
class Value {
public:
    using Storage = std::variant<std::monostate, std::int32_t, bool, float, double, std::string,
                                 Velutils::Vec3, Velutils::Quat, Velutils::Matrix4, ValueList>;

    Value() = default;
    Value(std::int32_t v) : m_data(v) {}
    Value(bool v) : m_data(v) {}
    Value(float v) : m_data(v) {}
    Value(double v) : m_data(v) {}
    Value(std::string v) : m_data(std::move(v)) {}
    Value(const char* v) : m_data(std::string(v)) {}
    Value(const Velutils::Vec3& v) : m_data(v) {}
    Value(const Velutils::Quat& v) : m_data(v) {}
    Value(const Velutils::Matrix4& v) : m_data(v) {}
    Value(ValueList v) : m_data(std::move(v)) {}

    bool isNone() const { return m_data.index() == 0; }
    template <class T> bool is() const { return std::holds_alternative<T>(m_data); }
    template <class T> const T& get() const { return std::get<T>(m_data); }
    template <class T> T& get() { return std::get<T>(m_data); }
    template <class T> const T* tryGet() const { return std::get_if<T>(&m_data); }

    // Numeric reads convert between int, bool, float and double; other kinds read as 0.
    double asDouble() const;
    std::int32_t asInt() const;
    bool asBool() const { return asDouble() != 0.0; }
    const std::string& asString() const;

    bool operator==(const Value& other) const;
    bool operator!=(const Value& other) const { return !(*this == other); }

    const Storage& storage() const { return m_data; }

private:
    Storage m_data;
};

}  // namespace db

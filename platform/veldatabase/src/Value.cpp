#include <veldatabase/Value.h>

#include <cstring>

namespace db {

double Value::asDouble() const {
    switch (m_data.index()) {
    case 1: return std::get<std::int32_t>(m_data);
    case 2: return std::get<bool>(m_data) ? 1.0 : 0.0;
    case 3: return std::get<float>(m_data);
    case 4: return std::get<double>(m_data);
    default: return 0.0;
    }
}

std::int32_t Value::asInt() const {
    if (auto i = std::get_if<std::int32_t>(&m_data)) return *i;
    double d = asDouble();
    if (d >= 2147483647.0) return 2147483647;
    if (d <= -2147483648.0) return -2147483647 - 1;
    return static_cast<std::int32_t>(d < 0 ? d - 0.5 : d + 0.5);
}

const std::string& Value::asString() const {
    static const std::string empty;
    auto s = std::get_if<std::string>(&m_data);
    return s ? *s : empty;
}

namespace {
template <class T> bool sameBits(const T& a, const T& b) { return std::memcmp(&a, &b, sizeof(T)) == 0; }
}  // namespace

bool Value::operator==(const Value& other) const {
    if (m_data.index() != other.m_data.index()) return false;
    switch (m_data.index()) {
    case 0: return true;
    case 1: return get<std::int32_t>() == other.get<std::int32_t>();
    case 2: return get<bool>() == other.get<bool>();
    case 3: return sameBits(get<float>(), other.get<float>());
    case 4: return sameBits(get<double>(), other.get<double>());
    case 5: return get<std::string>() == other.get<std::string>();
    case 6: return sameBits(get<Velutils::Vec3>(), other.get<Velutils::Vec3>());
    case 7: return sameBits(get<Velutils::Quat>(), other.get<Velutils::Quat>());
    case 8: return sameBits(get<Velutils::Matrix4>(), other.get<Velutils::Matrix4>());
    default: return get<ValueList>() == other.get<ValueList>();
    }
}

}  // namespace db

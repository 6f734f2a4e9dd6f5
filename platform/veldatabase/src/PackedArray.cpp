#include <veldatabase/PackedArray.h>

namespace db {

namespace {

std::size_t bytesOf(ValueType type) {
    switch (type) {
    case ValueType::Bool: return 1;
    case ValueType::Int:
    case ValueType::Enum:
    case ValueType::Float: return 4;
    case ValueType::Double: return 8;
    default: return 0;  // not a number: the array is kept as a list of values
    }
}

template <class T> void store(unsigned char* p, T v) { std::memcpy(p, &v, sizeof(T)); }

}  // namespace

std::unique_ptr<PackedLayout> PackedLayout::of(const AttributeDef& arrayDef) {
    if (!arrayDef.isArray) return nullptr;
    auto layout = std::make_unique<PackedLayout>();
    layout->m_compound = !arrayDef.children.empty();
    std::vector<const AttributeDef*> fields;
    if (layout->m_compound) {
        for (const AttributeDef& c : arrayDef.children) fields.push_back(&c);
    } else {
        fields.push_back(&arrayDef);
    }
    for (const AttributeDef* f : fields) {
        const std::size_t bytes = bytesOf(f->type);
        if (bytes == 0 || (f != &arrayDef && f->isArray)) return nullptr;
        layout->m_types.push_back(f->type);
        layout->m_offsets.push_back(layout->m_stride);
        layout->m_stride += bytes;
    }
    layout->m_default.assign(layout->m_stride, 0);
    for (int i = 0; i < layout->fieldCount(); ++i)
        layout->write(layout->m_default.data(), i, fields[static_cast<std::size_t>(i)]->defaultValue);
    return layout;
}

Value PackedLayout::read(const unsigned char* element, int field) const {
    const unsigned char* p = element + fieldOffset(field);
    switch (fieldType(field)) {
    case ValueType::Bool: return Value(*p != 0);
    case ValueType::Float: {
        float f;
        std::memcpy(&f, p, sizeof f);
        return Value(f);
    }
    case ValueType::Double: {
        double d;
        std::memcpy(&d, p, sizeof d);
        return Value(d);
    }
    default: {
        std::int32_t i;
        std::memcpy(&i, p, sizeof i);
        return Value(i);
    }
    }
}

void PackedLayout::write(unsigned char* element, int field, const Value& value) const {
    unsigned char* p = element + fieldOffset(field);
    switch (fieldType(field)) {
    case ValueType::Bool: *p = value.asBool() ? 1 : 0; break;
    case ValueType::Float: store(p, static_cast<float>(value.asDouble())); break;
    case ValueType::Double: store(p, value.asDouble()); break;
    default: store(p, value.asInt()); break;
    }
}

Value PackedArray::element(int element) const {
    if (!m_layout->isCompound()) return field(element, 0);
    ValueList fields;
    fields.reserve(static_cast<std::size_t>(m_layout->fieldCount()));
    for (int f = 0; f < m_layout->fieldCount(); ++f) fields.push_back(field(element, f));
    return Value(std::move(fields));
}

ValueList PackedArray::toList() const {
    ValueList list;
    list.reserve(static_cast<std::size_t>(size()));
    for (int e = 0; e < size(); ++e) list.push_back(element(e));
    return list;
}

bool PackedArray::pack(const Value& element, unsigned char* out) const {
    if (!m_layout->isCompound()) {
        m_layout->write(out, 0, element);
        return true;
    }
    const ValueList* fields = element.tryGet<ValueList>();
    if (!fields || static_cast<int>(fields->size()) != m_layout->fieldCount()) return false;
    for (int f = 0; f < m_layout->fieldCount(); ++f) m_layout->write(out, f, (*fields)[static_cast<std::size_t>(f)]);
    return true;
}

bool PackedArray::assign(const ValueList& elements) {
    std::vector<unsigned char> bytes(elements.size() * m_layout->stride());
    for (std::size_t e = 0; e < elements.size(); ++e)
        if (!pack(elements[e], bytes.data() + e * m_layout->stride())) return false;
    m_bytes = std::move(bytes);
    return true;
}

bool PackedArray::setElement(int element, const Value& value) {
    std::vector<unsigned char> packed(m_layout->stride());
    if (!pack(value, packed.data())) return false;
    std::memcpy(at(element), packed.data(), packed.size());
    return true;
}

bool PackedArray::insert(int index, const Value& element) {
    std::vector<unsigned char> packed(m_layout->stride());
    if (!pack(element, packed.data())) return false;
    m_bytes.insert(m_bytes.begin() + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(index) * m_layout->stride()),
                   packed.begin(), packed.end());
    return true;
}

void PackedArray::erase(int index) {
    auto first = m_bytes.begin() + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(index) * m_layout->stride());
    m_bytes.erase(first, first + static_cast<std::ptrdiff_t>(m_layout->stride()));
}

PackedArray PackedArray::slice(int index, int count) const {
    PackedArray part(*m_layout);
    part.m_bytes.assign(at(index), at(index) + static_cast<std::size_t>(count) * m_layout->stride());
    return part;
}

void PackedArray::insertRange(int index, const PackedArray& elements) {
    m_bytes.insert(m_bytes.begin() + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(index) * m_layout->stride()),
                   elements.m_bytes.begin(), elements.m_bytes.end());
}

void PackedArray::eraseRange(int index, int count) {
    auto first = m_bytes.begin() + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(index) * m_layout->stride());
    m_bytes.erase(first, first + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(count) * m_layout->stride()));
}

void PackedArray::resize(int size) {
    const int old = this->size();
    m_bytes.resize(static_cast<std::size_t>(size) * m_layout->stride());
    for (int e = old; e < size; ++e) std::memcpy(at(e), m_layout->defaultElement(), m_layout->stride());
}

}  // namespace db

#pragma once

#include <veldatabase/AttributeDef.h>
#include <veldatabase/Value.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace db {

// How the elements of a packed array are laid out: one field after the other, each in its own
// numeric type (a key of six numbers takes 24 bytes).
class PackedLayout {
public:
    // The layout of an array whose element is a number or a compound of numbers; null otherwise.
    static std::unique_ptr<PackedLayout> of(const AttributeDef& arrayDef);

    int fieldCount() const { return static_cast<int>(m_types.size()); }
    bool isCompound() const { return m_compound; }
    std::size_t stride() const { return m_stride; }
    ValueType fieldType(int field) const { return m_types[static_cast<std::size_t>(field)]; }
    std::size_t fieldOffset(int field) const { return m_offsets[static_cast<std::size_t>(field)]; }
    const unsigned char* defaultElement() const { return m_default.data(); }

    // The field's value as stored, and a value of any numeric kind written into it.
    Value read(const unsigned char* element, int field) const;
    void write(unsigned char* element, int field, const Value& value) const;

private:
    std::vector<ValueType> m_types;
    std::vector<std::size_t> m_offsets;
    std::vector<unsigned char> m_default;
    std::size_t m_stride = 0;
    bool m_compound = false;
};

// An array attribute's elements in a packed layout. Reads and writes of whole elements and
// fields convert to and from Values; the evaluator reads the numbers in place.
class PackedArray {
public:
    explicit PackedArray(const PackedLayout& layout) : m_layout(&layout) {}

    const PackedLayout& layout() const { return *m_layout; }
    int size() const { return static_cast<int>(m_bytes.size() / m_layout->stride()); }
    bool empty() const { return m_bytes.empty(); }
    std::size_t byteSize() const { return m_bytes.capacity(); }

    // A field read as a number without making a Value (the evaluator's path).
    template <class T> T number(int element, int field) const {
        const unsigned char* p = at(element) + m_layout->fieldOffset(field);
        switch (m_layout->fieldType(field)) {
        case ValueType::Bool: return static_cast<T>(*p != 0);
        case ValueType::Double: return static_cast<T>(load<double>(p));
        case ValueType::Float: return static_cast<T>(load<float>(p));
        default: return static_cast<T>(load<std::int32_t>(p));
        }
    }
    Value field(int element, int field) const { return m_layout->read(at(element), field); }
    // A compound element as a list of its fields; a number as itself.
    Value element(int element) const;
    ValueList toList() const;

    // Values must be numbers (a compound element a list with one per field); an element list of
    // the wrong length is refused (false) and the array left as it was.
    bool assign(const ValueList& elements);
    void setField(int element, int field, const Value& value) { m_layout->write(at(element), field, value); }
    bool setElement(int element, const Value& value);
    bool insert(int index, const Value& element);
    void erase(int index);
    // Whole runs of elements, as a journal keeps them.
    PackedArray slice(int index, int count) const;
    void insertRange(int index, const PackedArray& elements);
    // Appends element `index` of an array of the same layout.
    void append(const PackedArray& from, int index) {
        m_bytes.insert(m_bytes.end(), from.at(index), from.at(index) + m_layout->stride());
    }
    void eraseRange(int index, int count);
    void resize(int size);
    void reserve(std::size_t elements) { m_bytes.reserve(elements * m_layout->stride()); }

    bool operator==(const PackedArray& other) const { return m_bytes == other.m_bytes; }
    bool operator!=(const PackedArray& other) const { return !(*this == other); }

private:
    template <class T> static T load(const unsigned char* p) {
        T v;
        std::memcpy(&v, p, sizeof(T));
        return v;
    }
    const unsigned char* at(int element) const { return m_bytes.data() + static_cast<std::size_t>(element) * m_layout->stride(); }
    unsigned char* at(int element) { return m_bytes.data() + static_cast<std::size_t>(element) * m_layout->stride(); }
    bool pack(const Value& element, unsigned char* out) const;

    const PackedLayout* m_layout;
    std::vector<unsigned char> m_bytes;
};

}  // namespace db

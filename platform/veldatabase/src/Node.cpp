#include <veldatabase/Node.h>
#include <veldatabase/PackedArray.h>

#include <cstring>

namespace db {

namespace {
template <class T> T load(const unsigned char* p) {
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}
template <class T> void save(unsigned char* p, const T& v) { std::memcpy(p, &v, sizeof(T)); }
}  // namespace

Node::Node(int id, const NodeDef& def, std::string name) : m_id(id), m_def(&def), m_name(std::move(name)) {
    std::size_t size = def.storageSize();
    if (size) {
        m_data = new unsigned char[size];
        std::memcpy(m_data, def.defaultStorage(), size);
    }
    for (int s : def.ownedStorageSlots()) {
        const AttributeDef& a = *def.slot(s).def;
        if (!a.isArray && !a.defaultValue.asString().empty())
            save(slotData(s), new std::string(a.defaultValue.asString()));
    }
}

Node::~Node() {
    for (int s : m_def->ownedStorageSlots()) {
        unsigned char* p = slotData(s);
        if (m_def->slot(s).packed)
            delete load<PackedArray*>(p);
        else if (m_def->slot(s).def->isArray)
            delete load<ValueList*>(p);
        else
            delete load<std::string*>(p);
    }
    delete[] m_data;
}

Node::CachedValue& Node::cached(int ordinal) const {
    if (!m_cached) m_cached = std::make_unique<CachedValue[]>(m_def->computedSlots().size());
    return m_cached[static_cast<std::size_t>(ordinal)];
}

std::size_t Node::dropCache() const {
    if (!m_cached) return 0;
    std::size_t valid = 0;
    for (std::size_t i = 0; i < m_def->computedSlots().size(); ++i) valid += m_cached[i].valid ? 1 : 0;
    m_cached.reset();
    return valid;
}

unsigned char* Node::slotData(int slot) const { return m_data + m_def->slot(slot).offset; }

const AttributeDef* Node::slotDef(int slot) const {
    if (slot < 0) return nullptr;
    if (slot < m_def->slotCount()) return m_def->slot(slot).def;
    int c = slot - m_def->slotCount();
    if (c < customCount()) return m_custom->defs[static_cast<std::size_t>(c)].get();
    return nullptr;
}

int Node::topLevelSlot(int index) const {
    if (index < 0) return -1;
    if (index < m_def->topLevelCount()) return m_def->topLevelSlot(index);
    int c = index - m_def->topLevelCount();
    return c < customCount() ? m_def->slotCount() + c : -1;
}

int Node::findTopLevel(const std::string& name) const {
    int s = m_def->findTopLevel(name);
    if (s >= 0) return s;
    for (int c = 0; c < customCount(); ++c)
        if (m_custom->defs[static_cast<std::size_t>(c)]->name == name) return m_def->slotCount() + c;
    return -1;
}

Value Node::stored(int slot) const {
    const AttributeDef* def = slotDef(slot);
    if (!def) return {};
    if (isCustomSlot(slot)) return m_custom->values[static_cast<std::size_t>(slot - m_def->slotCount())];
    int offset = m_def->slot(slot).offset;
    if (offset < 0) return {};
    const unsigned char* p = m_data + offset;
    if (isPackedSlot(slot)) {
        const PackedArray* elements = load<PackedArray*>(p);
        return Value(elements ? elements->toList() : ValueList{});
    }
    if (def->isArray) {
        const ValueList* list = load<ValueList*>(p);
        return list ? Value(*list) : Value(ValueList{});
    }
    switch (def->type) {
    case ValueType::Bool: return Value(load<bool>(p));
    case ValueType::Int:
    case ValueType::Enum: return Value(load<std::int32_t>(p));
    case ValueType::Float: return Value(load<float>(p));
    case ValueType::Double: return Value(load<double>(p));
    case ValueType::String: {
        const std::string* s = load<std::string*>(p);
        return Value(s ? *s : std::string());
    }
    case ValueType::Vector: return Value(load<Velutils::Vec3>(p));
    case ValueType::Quaternion: return Value(load<Velutils::Quat>(p));
    case ValueType::Matrix: return Value(load<Velutils::Matrix4>(p));
    default: return {};
    }
}

void Node::store(int slot, Value&& value) {
    const AttributeDef* def = slotDef(slot);
    if (def && def->isArray && value.is<ValueList>() && !isPackedSlot(slot)) {
        if (isCustomSlot(slot)) m_custom->values[static_cast<std::size_t>(slot - m_def->slotCount())] = std::move(value);
        else if (m_def->slot(slot).offset >= 0) mutableArray(slot) = std::move(value.get<ValueList>());
        return;
    }
    store(slot, static_cast<const Value&>(value));
}

void Node::store(int slot, const Value& value) {
    const AttributeDef* def = slotDef(slot);
    if (!def) return;
    if (isCustomSlot(slot)) {
        m_custom->values[static_cast<std::size_t>(slot - m_def->slotCount())] = value;
        return;
    }
    int offset = m_def->slot(slot).offset;
    if (offset < 0) return;
    unsigned char* p = m_data + offset;
    if (isPackedSlot(slot)) {
        // Values reach here coerced to the element's fields, so packing cannot fail.
        const ValueList* list = value.tryGet<ValueList>();
        mutablePacked(slot).assign(list ? *list : ValueList{});
        return;
    }
    if (def->isArray) {
        mutableArray(slot) = value.tryGet<ValueList>() ? value.get<ValueList>() : ValueList{};
        return;
    }
    switch (def->type) {
    case ValueType::Bool: save(p, value.asBool()); break;
    case ValueType::Int:
    case ValueType::Enum: save(p, value.asInt()); break;
    case ValueType::Float: save(p, static_cast<float>(value.asDouble())); break;
    case ValueType::Double: save(p, value.asDouble()); break;
    case ValueType::String: {
        std::string* s = load<std::string*>(p);
        const std::string& text = value.asString();
        if (text.empty()) {
            delete s;
            save<std::string*>(p, nullptr);
        } else if (s) {
            *s = text;
        } else {
            save(p, new std::string(text));
        }
        break;
    }
    case ValueType::Vector:
        if (auto v = value.tryGet<Velutils::Vec3>()) save(p, *v);
        break;
    case ValueType::Quaternion:
        if (auto v = value.tryGet<Velutils::Quat>()) save(p, *v);
        break;
    case ValueType::Matrix:
        if (auto v = value.tryGet<Velutils::Matrix4>()) save(p, *v);
        break;
    default: break;
    }
}

bool Node::isPackedSlot(int slot) const {
    return slot >= 0 && slot < m_def->slotCount() && m_def->slot(slot).packed && m_def->slot(slot).offset >= 0;
}

const PackedArray* Node::packed(int slot) const {
    return isPackedSlot(slot) ? load<PackedArray*>(slotData(slot)) : nullptr;
}

PackedArray& Node::mutablePacked(int slot) {
    unsigned char* p = slotData(slot);
    PackedArray* elements = load<PackedArray*>(p);
    if (!elements) {
        elements = new PackedArray(*m_def->slot(slot).packed);
        save(p, elements);
    }
    return *elements;
}

void Node::storePacked(int slot, const PackedArray& elements) { mutablePacked(slot) = elements; }

int Node::arraySize(int slot) const {
    if (isPackedSlot(slot)) {
        const PackedArray* elements = packed(slot);
        return elements ? elements->size() : 0;
    }
    const ValueList* list = array(slot);
    return list ? static_cast<int>(list->size()) : 0;
}

Value Node::storedElement(int slot, int element, int child) const {
    if (const PackedArray* elements = packed(slot))
        return child < 0 ? elements->element(element) : elements->field(element, child);
    const Value& whole = (*array(slot))[static_cast<std::size_t>(element)];
    if (child < 0) return whole;
    const ValueList* fields = whole.tryGet<ValueList>();
    return fields && child < static_cast<int>(fields->size()) ? (*fields)[static_cast<std::size_t>(child)]
                                                              : slotDef(slot)->children[static_cast<std::size_t>(child)].defaultValue;
}

void Node::storeElement(int slot, int element, int child, const Value& value) {
    if (isPackedSlot(slot)) {
        PackedArray& elements = mutablePacked(slot);
        if (child < 0) elements.setElement(element, value);
        else elements.setField(element, child, value);
        return;
    }
    Value& whole = mutableArray(slot)[static_cast<std::size_t>(element)];
    if (child < 0) whole = value;
    else whole.get<ValueList>()[static_cast<std::size_t>(child)] = value;
}

const ValueList* Node::array(int slot) const {
    const AttributeDef* def = slotDef(slot);
    if (!def || !def->isArray || isPackedSlot(slot)) return nullptr;
    if (isCustomSlot(slot)) {
        return m_custom->values[static_cast<std::size_t>(slot - m_def->slotCount())].tryGet<ValueList>();
    }
    int offset = m_def->slot(slot).offset;
    return offset < 0 ? nullptr : load<ValueList*>(m_data + offset);
}

ValueList& Node::mutableArray(int slot) {
    if (isCustomSlot(slot)) {
        Value& v = m_custom->values[static_cast<std::size_t>(slot - m_def->slotCount())];
        if (!v.is<ValueList>()) v = Value(ValueList{});
        return v.get<ValueList>();
    }
    unsigned char* p = m_data + m_def->slot(slot).offset;
    ValueList* list = load<ValueList*>(p);
    if (!list) {
        list = new ValueList();
        save(p, list);
    }
    return *list;
}

}  // namespace db

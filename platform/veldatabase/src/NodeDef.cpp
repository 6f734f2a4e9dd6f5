#include <veldatabase/NodeDef.h>
#include <veldatabase/PackedArray.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace db {

namespace {

std::size_t storageBytes(const AttributeDef& def) {
    if (def.isArray) return sizeof(void*);
    switch (def.type) {
    case ValueType::Bool: return 1;
    case ValueType::Int:
    case ValueType::Enum:
    case ValueType::Float: return 4;
    case ValueType::Double: return 8;
    case ValueType::String: return sizeof(void*);
    case ValueType::Vector: return sizeof(Velutils::Vec3);
    case ValueType::Quaternion: return sizeof(Velutils::Quat);
    case ValueType::Matrix: return sizeof(Velutils::Matrix4);
    case ValueType::Compound:
    case ValueType::ObjectRef: return 0;  // children hold the values; references are connections
    }
    return 0;
}

std::size_t storageAlign(std::size_t bytes) {
    if (bytes >= 8) return 8;
    if (bytes >= 4) return 4;
    return 1;
}

}  // namespace

NodeDef::NodeDef(std::string typeName, const NodeDef* base, std::vector<AttributeDef> ownAttributes,
                 std::uint32_t typeFlags, std::string displayTypeName, ComputeFunction compute)
    : m_typeName(std::move(typeName)),
      m_displayTypeName(displayTypeName.empty() ? m_typeName : std::move(displayTypeName)),
      m_base(base),
      m_typeFlags(typeFlags),
      m_ownDefs(std::move(ownAttributes)),
      m_compute(std::move(compute)) {
    if (!m_compute && base) m_compute = base->m_compute;
    if (base) {
        for (int i = 0; i < base->topLevelCount(); ++i) {
            int s = base->topLevelSlot(i);
            addSlot(*base->slot(s).def, -1, i);
        }
    }
    for (const AttributeDef& def : m_ownDefs) addSlot(def, -1, topLevelCount());
    layoutStorage();
}

NodeDef::~NodeDef() = default;

void NodeDef::addSlot(const AttributeDef& def, int parent, int index) {
    int s = slotCount();
    SlotInfo info;
    info.def = &def;
    info.parent = parent;
    info.index = index;
    m_slots.push_back(info);
    if (parent < 0) m_topLevel.push_back(s);
    if (def.type == ValueType::Compound && !def.isArray) {
        // Children sit in consecutive slots right after their compound.
        m_slots[static_cast<std::size_t>(s)].firstChild = slotCount();
        m_slots[static_cast<std::size_t>(s)].childCount = static_cast<int>(def.children.size());
        for (std::size_t c = 0; c < def.children.size(); ++c) {
            SlotInfo child;
            child.def = &def.children[c];
            child.parent = s;
            child.index = static_cast<int>(c);
            m_slots.push_back(child);
        }
    }
}

void NodeDef::layoutStorage() {
    std::size_t offset = 0;
    // Place large values first so that alignment padding stays small.
    std::vector<int> order;
    for (int s = 0; s < slotCount(); ++s) order.push_back(s);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        return storageAlign(storageBytes(*slot(a).def)) > storageAlign(storageBytes(*slot(b).def));
    });
    for (int s : order) {
        SlotInfo& info = m_slots[static_cast<std::size_t>(s)];
        const AttributeDef& def = *info.def;
        if (def.has(Computed)) {
            m_computedSlots.push_back(s);
            if (def.has(TimeDependent)) m_timeDependent = true;
            if (def.parentSlot >= 0) m_parentLinks.emplace_back(topLevelSlot(def.parentSlot), s);
            continue;
        }
        std::size_t bytes = storageBytes(def);
        if (bytes == 0) continue;
        std::size_t align = storageAlign(bytes);
        offset = (offset + align - 1) / align * align;
        info.offset = static_cast<int>(offset);
        offset += bytes;
        if (def.isArray || def.type == ValueType::String) m_ownedSlots.push_back(s);
        if (auto layout = PackedLayout::of(def)) {
            info.packed = layout.get();
            m_layouts.push_back(std::move(layout));
        }
    }
    std::sort(m_computedSlots.begin(), m_computedSlots.end());
    m_computedOrdinal.assign(m_slots.size(), -1);
    for (std::size_t i = 0; i < m_computedSlots.size(); ++i)
        m_computedOrdinal[static_cast<std::size_t>(m_computedSlots[i])] = static_cast<int>(i);
    m_storageSize = (offset + 7) / 8 * 8;
    m_defaults.assign(m_storageSize, 0);
    for (const SlotInfo& info : m_slots) {
        if (info.offset < 0 || info.def->isArray) continue;
        unsigned char* p = m_defaults.data() + info.offset;
        const Value& v = info.def->defaultValue;
        switch (info.def->type) {
        case ValueType::Bool: { bool b = v.asBool(); std::memcpy(p, &b, 1); break; }
        case ValueType::Int:
        case ValueType::Enum: { std::int32_t i = v.asInt(); std::memcpy(p, &i, 4); break; }
        case ValueType::Float: { float f = static_cast<float>(v.asDouble()); std::memcpy(p, &f, 4); break; }
        case ValueType::Double: { double d = v.asDouble(); std::memcpy(p, &d, 8); break; }
        case ValueType::Vector:
            if (auto x = v.tryGet<Velutils::Vec3>()) std::memcpy(p, x, sizeof(*x));
            break;
        case ValueType::Quaternion: {
            Velutils::Quat q = v.tryGet<Velutils::Quat>() ? v.get<Velutils::Quat>() : Velutils::Quat{};
            std::memcpy(p, &q, sizeof(q));
            break;
        }
        case ValueType::Matrix: {
            Velutils::Matrix4 m = v.tryGet<Velutils::Matrix4>() ? v.get<Velutils::Matrix4>()
                                                                : Velutils::Matrix4::identity();
            std::memcpy(p, &m, sizeof(m));
            break;
        }
        default: break;  // strings start empty (null); non-empty defaults are written at creation
        }
    }
}

bool NodeDef::isA(const NodeDef& other) const {
    for (const NodeDef* d = this; d; d = d->m_base)
        if (d == &other) return true;
    return false;
}

bool NodeDef::isA(const std::string& typeName) const {
    for (const NodeDef* d = this; d; d = d->m_base)
        if (d->m_typeName == typeName) return true;
    return false;
}

int NodeDef::findTopLevel(const std::string& name) const {
    for (int i = 0; i < topLevelCount(); ++i)
        if (slot(topLevelSlot(i)).def->name == name) return topLevelSlot(i);
    return -1;
}

int NodeDef::findChild(int compoundSlot, const std::string& name) const {
    const SlotInfo& info = slot(compoundSlot);
    for (int c = 0; c < info.childCount; ++c)
        if (slot(info.firstChild + c).def->name == name) return info.firstChild + c;
    return -1;
}

Value NodeDef::compute(const Database& db, const Node& node, int s) const {
    if (!m_compute) return slot(s).def->defaultValue;
    return m_compute(db, node, s);
}

}  // namespace db

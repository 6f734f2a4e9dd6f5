// Attribute values, custom attributes and pull-based evaluation.
#include <veldatabase/Database.h>
#include <veldatabase/PackedArray.h>

#include "ImplicitBlock.h"
#include "Journal.h"

#include <algorithm>

namespace db {

const AttributeDef* Database::attributeDef(const AttrKey& key) const {
    const Node* n = node(key.node);
    if (!n) return nullptr;
    const AttributeDef* def = n->slotDef(key.slot);
    if (!def || (n->isCustomSlot(key.slot) && isRemovedCustomSlot(key.node, key.slot))) return nullptr;
    if (key.element < 0) return key.child < 0 ? def : nullptr;
    if (!def->isArray || key.element >= n->arraySize(key.slot)) return nullptr;
    if (key.child < 0) return def;
    if (key.child >= static_cast<int>(def->children.size())) return nullptr;
    return &def->children[static_cast<std::size_t>(key.child)];
}

bool Database::isArrayKey(const AttrKey& key) const {
    const AttributeDef* def = attributeDef(key);
    return def && def->isArray && key.element < 0;
}

ValueType Database::valueType(const AttrKey& key) const {
    const AttributeDef* def = attributeDef(key);
    return def ? def->type : ValueType::Compound;
}

int Database::topLevelOf(const Node& n, int slot) const {
    if (n.isCustomSlot(slot)) return slot;
    while (n.def().slot(slot).parent >= 0) slot = n.def().slot(slot).parent;
    return slot;
}

Value Database::storedValue(const AttrKey& key) const {
    const AttributeDef* def = attributeDef(key);
    if (!def) return {};
    const Node* n = node(key.node);
    if (key.element < 0) return n->stored(key.slot);
    return n->storedElement(key.slot, key.element, key.child);
}

Value Database::value(const AttrKey& key) const {
    const AttributeDef* def = attributeDef(key);
    if (!def) return {};
    const Node* n = node(key.node);
    if (def->has(Computed) && key.element < 0) {
        Node::CachedValue& cache = n->cached(n->def().computedOrdinal(key.slot));
        if (cache.valid) return cache.value;
        Value v = n->def().compute(*this, *n, key.slot);
        ++m_computeCount;
        cache.value = std::move(v);
        cache.valid = true;
        ++m_cachedCount;
        return cache.value;
    }
    // Only a slot with an input can have a value that comes from elsewhere: a node that only drives
    // others (an animation curve) reads its own values without looking its inputs up.
    if (n->mayHaveInput(key.slot)) {
        if (const AttrKey* source = inputOf(*n, key)) {
            if (isMessageKey(*source)) return Value(static_cast<std::int32_t>(source->node));
            Value v = value(*source);
            Value converted;
            if (valueType(*source) != def->type && coerce(*def, false, v, converted)) return converted;
            return v;
        }
    }
    if (def->type == ValueType::ObjectRef && !isArrayKey(key)) return Value(static_cast<std::int32_t>(-1));
    if (def->type == ValueType::Compound && !def->isArray && !n->isCustomSlot(key.slot)) {
        const SlotInfo& info = n->def().slot(key.slot);
        ValueList fields;
        for (int c = 0; c < info.childCount; ++c) fields.push_back(value(AttrKey{key.node, info.firstChild + c}));
        return Value(std::move(fields));
    }
    if (key.element >= 0 && key.child < 0 && !def->children.empty() && n->m_inputs > 0) {
        // A compound element reads each field through its own input.
        ValueList fields;
        for (int c = 0; c < static_cast<int>(def->children.size()); ++c)
            fields.push_back(value(key.withElement(key.element, c)));
        return Value(std::move(fields));
    }
    if (isArrayKey(key) && n->m_inputs > 0) {
        ValueList list = storedValue(key).get<ValueList>();
        for (std::size_t e = 0; e < list.size(); ++e) list[e] = value(key.withElement(static_cast<int>(e)));
        return Value(std::move(list));
    }
    if (def->type == ValueType::ObjectRef) {
        // An array of references: each element reads its connection.
        ValueList list;
        for (int e = 0; e < arraySize(key); ++e) list.push_back(value(key.withElement(e)));
        return Value(std::move(list));
    }
    return storedValue(key);
}

bool Database::coerce(const AttributeDef& def, bool wholeArray, const Value& in, Value& out) const {
    if (wholeArray) {
        const ValueList* list = in.tryGet<ValueList>();
        if (!list) return false;
        ValueList result;
        result.reserve(list->size());
        for (const Value& element : *list) {
            Value converted;
            if (!def.children.empty()) {
                const ValueList* fields = element.tryGet<ValueList>();
                if (!fields || fields->size() != def.children.size()) return false;
                ValueList convertedFields;
                for (std::size_t c = 0; c < fields->size(); ++c) {
                    Value field;
                    if (!coerce(def.children[c], false, (*fields)[c], field)) return false;
                    convertedFields.push_back(std::move(field));
                }
                converted = Value(std::move(convertedFields));
            } else if (!coerce(def, false, element, converted)) {
                return false;
            }
            result.push_back(std::move(converted));
        }
        out = Value(std::move(result));
        return true;
    }
    const bool numeric = in.is<std::int32_t>() || in.is<bool>() || in.is<float>() || in.is<double>();
    switch (def.type) {
    case ValueType::Int:
        if (!numeric) return false;
        out = Value(in.asInt());
        return true;
    case ValueType::Bool:
        if (!numeric) return false;
        out = Value(in.asBool());
        return true;
    case ValueType::Enum: {
        int index = -1;
        if (numeric) {
            index = in.asInt();
        } else if (in.is<std::string>()) {
            for (std::size_t i = 0; i < def.enumNames.size(); ++i)
                if (def.enumNames[i] == in.asString() ||
                    (i < def.enumDisplayNames.size() && def.enumDisplayNames[i] == in.asString()))
                    index = static_cast<int>(i);
        }
        if (index < 0 || (!def.enumNames.empty() && index >= static_cast<int>(def.enumNames.size()))) return false;
        out = Value(static_cast<std::int32_t>(index));
        return true;
    }
    case ValueType::Float:
        if (!numeric) return false;
        out = Value(static_cast<float>(in.asDouble()));
        return true;
    case ValueType::Double:
        if (!numeric) return false;
        out = Value(in.asDouble());
        return true;
    case ValueType::String:
        if (!in.is<std::string>()) return false;
        out = in;
        return true;
    case ValueType::Vector: out = in; return in.is<Velutils::Vec3>();
    case ValueType::Quaternion: out = in; return in.is<Velutils::Quat>();
    case ValueType::Matrix: out = in; return in.is<Velutils::Matrix4>();
    default: return false;
    }
}

bool Database::setValue(const AttrKey& key, const Value& v) {
    const AttributeDef* def = attributeDef(key);
    if (!def || def->has(Computed) || def->type == ValueType::ObjectRef) return false;
    if (def->type == ValueType::Compound && def->children.empty()) return false;
    if (def->type == ValueType::Compound && !def->isArray) {
        // A compound takes one value per child.
        const ValueList* fields = v.tryGet<ValueList>();
        const Node* n = node(key.node);
        if (!fields || n->isCustomSlot(key.slot)) return false;
        const SlotInfo& info = n->def().slot(key.slot);
        if (static_cast<int>(fields->size()) != info.childCount) return false;
        ImplicitBlock block(*this);
        bool ok = true;
        for (int c = 0; c < info.childCount; ++c)
            ok = setValue(AttrKey{key.node, info.firstChild + c}, (*fields)[static_cast<std::size_t>(c)]) && ok;
        return ok;
    }
    if (m_inputs.count(key)) return false;
    if (isArrayKey(key) && node(key.node)->isPackedSlot(key.slot)) return setPackedArray(key, *def, v);
    Value converted;
    if (!coerce(*def, isArrayKey(key), v, converted)) return false;
    Value before = storedValue(key);
    if (before == converted) return true;
    ImplicitBlock block(*this);
    if (isArrayKey(key)) disconnectElementsFrom(key, *def, static_cast<int>(converted.get<ValueList>().size()));
    journalSetValue(key, before, converted, def->isArray || key.element >= 0);
    doSetStored(key, converted);
    return true;
}

int Database::arraySize(const AttrKey& key) const {
    return isArrayKey(key) ? node(key.node)->arraySize(key.slot) : 0;
}

bool Database::resizeArray(const AttrKey& key, int size) {
    const AttributeDef* def = attributeDef(key);
    if (!def || !isArrayKey(key) || size < 0) return false;
    ValueList list = storedValue(key).get<ValueList>();
    Value element = def->defaultValue;
    if (!def->children.empty()) {
        ValueList fields;
        for (const AttributeDef& c : def->children) fields.push_back(c.defaultValue);
        element = Value(std::move(fields));
    }
    list.resize(static_cast<std::size_t>(size), element);
    if (def->type == ValueType::ObjectRef) {
        // References hold no stored value; only the element count matters.
        for (Value& v : list) v = Value(static_cast<std::int32_t>(-1));
        if (static_cast<int>(list.size()) == arraySize(key)) return true;
        ImplicitBlock block(*this);
        for (int e = size; e < arraySize(key); ++e)
            if (m_inputs.count(key.withElement(e))) disconnect(key.withElement(e));
        Value before = storedValue(key);
        journalSetValue(key, before, Value(list), true);
        doSetStored(key, Value(std::move(list)));
        return true;
    }
    return setValue(key, Value(std::move(list)));
}

void Database::doSetStored(const AttrKey& key, const Value& v) {
    Node* n = node(key.node);
    if (key.element < 0) n->store(key.slot, v);
    else n->storeElement(key.slot, key.element, key.child, v);
    storedChanged(key);
}

void Database::doSetStoredArray(const AttrKey& key, const PackedArray& elements) {
    node(key.node)->storePacked(key.slot, elements);
    storedChanged(key);
}

void Database::storedChanged(const AttrKey& key) {
    node(key.node)->m_evaluationMemo = -1;
    if (m_recording) m_open->change->recordDirect(key);
    markDirty(key);
    if (key == m_timeKey) {
        if (m_timeOutputsStale) {
            m_timeOutputs.clear();
            for (int id : m_timeNodes) {
                const Node* t = node(id);
                for (int s : t->def().computedSlots())
                    if (t->def().slot(s).def->has(TimeDependent)) m_timeOutputs.push_back(AttrKey{id, s});
            }
            m_timeOutputsStale = false;
        }
        for (const AttrKey& output : m_timeOutputs) markDirty(output);
    }
}

// ---------------------------------------------------------------- custom attributes

bool Database::isRemovedCustomSlot(int id, int slot) const {
    const Node* n = node(id);
    if (!n || !n->isCustomSlot(slot) || !n->m_custom) return false;
    std::size_t c = static_cast<std::size_t>(slot - n->def().slotCount());
    return c < n->m_custom->removed.size() && n->m_custom->removed[c];
}

int Database::addCustomAttribute(int id, AttributeDef def) {
    Node* n = node(id);
    if (!n || id == RootId) return -1;
    def.name = sanitizeName(def.name);
    if (def.type == ValueType::Compound || n->findTopLevel(def.name) >= 0) return -1;
    if (def.displayName.empty()) def.displayName = def.name;
    if (def.type == ValueType::ObjectRef) def.flags &= ~static_cast<std::uint32_t>(Animatable);
    def.flags &= ~static_cast<std::uint32_t>(Computed | TimeDependent | Internal);
    Value initial = def.isArray ? Value(ValueList{}) : def.defaultValue;
    if (!def.isArray && def.type != ValueType::ObjectRef) {
        Value converted;
        if (!initial.isNone() && !coerce(def, false, initial, converted)) return -1;
        if (initial.isNone()) {
            AttributeDef probe = def;
            Value zero = def.type == ValueType::String ? Value(std::string()) : Value(0.0);
            if (def.type == ValueType::Vector) zero = Value(Velutils::Vec3{});
            if (def.type == ValueType::Quaternion) zero = Value(Velutils::Quat{});
            if (def.type == ValueType::Matrix) zero = Value(Velutils::Matrix4::identity());
            if (!coerce(probe, false, zero, converted)) return -1;
        }
        initial = converted;
        def.defaultValue = converted;
    }
    ImplicitBlock block(*this);
    int slot = n->slotCount();
    auto owned = std::make_unique<AttributeDef>(std::move(def));
    doAddCustom(id, slot, owned, initial);
    JournalOp op;
    op.kind = JournalOp::Kind::AddCustom;
    op.node = id;
    op.key = AttrKey{id, slot};
    op.data();  // holds the definition while the attribute is undone
    op.values().after = initial;
    journal(std::move(op));
    return slot;
}

void Database::doAddCustom(int id, int slot, std::unique_ptr<AttributeDef>& def, const Value& value) {
    Node* n = node(id);
    if (!n->m_custom) n->m_custom = std::make_unique<Node::CustomAttributes>();
    n->m_custom->defs.push_back(std::move(def));
    n->m_custom->values.push_back(value);
    n->m_custom->removed.push_back(0);
    (void)slot;
    if (m_recording) m_open->change->recordAttribute(AttrKey{id, slot}, slot, n->slotDef(slot)->type, n->def());
}

void Database::doRemoveCustom(int id, int slot, std::unique_ptr<AttributeDef>& def, Value& value) {
    Node* n = node(id);
    def = std::move(n->m_custom->defs.back());
    value = n->m_custom->values.back();
    n->m_custom->defs.pop_back();
    n->m_custom->values.pop_back();
    n->m_custom->removed.pop_back();
    if (m_recording) m_open->change->recordObject(id, n->def());
    (void)slot;
}

bool Database::removeCustomAttribute(int id, int slot) {
    Node* n = node(id);
    if (!n || !n->isCustomSlot(slot) || !n->slotDef(slot) || isRemovedCustomSlot(id, slot)) return false;
    ImplicitBlock block(*this);
    AttrKey key{id, slot};
    if (m_inputs.count(key)) disconnect(key);
    std::vector<AttrKey> outs;
    outputs(key, outs);
    for (const AttrKey& o : outs) disconnect(o);
    for (int e = 0; e < arraySize(key); ++e) {
        if (m_inputs.count(key.withElement(e))) disconnect(key.withElement(e));
        outs.clear();
        outputs(key.withElement(e), outs);
        for (const AttrKey& o : outs) disconnect(o);
    }
    JournalOp op;
    op.kind = JournalOp::Kind::RemoveCustom;
    op.node = id;
    op.key = key;
    doSetCustomRemoved(id, slot, true);
    journal(std::move(op));
    return true;
}

void Database::doSetCustomRemoved(int id, int slot, bool removed) {
    Node* n = node(id);
    n->m_custom->removed[static_cast<std::size_t>(slot - n->def().slotCount())] = removed ? 1 : 0;
    if (!m_recording) return;
    m_open->change->recordObject(id, n->def());
    m_open->change->recordAttribute(AttrKey{id, slot}, slot, n->slotDef(slot)->type, n->def());
}

// ---------------------------------------------------------------- evaluation

void Database::recordKey(const AttrKey& key) {
    if (!m_open || !m_recording) return;
    const Node* n = node(key.node);
    const AttributeDef* def = attributeDef(key);
    if (!n || !def) return;
    m_open->change->recordAttribute(key, topLevelOf(*n, key.slot), def->type, n->def());
}

template <class Visit> void Database::forEachOutput(const Node& n, const AttrKey& source, Visit&& visit) const {
    if (n.m_outputLinks.size() <= LinksKeptByNode) {
        for (const auto& [end, destination] : n.m_outputLinks)
            if (end == source) visit(destination);
        return;
    }
    auto out = m_outputs.find(source);
    if (out != m_outputs.end())
        for (const AttrKey& destination : out->second) visit(destination);
}

void Database::markDirty(const AttrKey& seed) { markDirty(&seed, 1); }

void Database::markDirty(const AttrKey* seeds, std::size_t count) {
    // Nothing cached and no change being gathered: nothing to tell (a scene being built aside).
    if (m_cachedCount == 0 && (!m_recording || !m_open)) return;
    // One buffer for every call: a burst of writes allocates nothing here.
    std::vector<AttrKey>& stack = m_dirtyStack;
    // The walks from several seeds meet: each attribute is then gone through once.
    std::unordered_set<AttrKey, AttrKeyHash> seen;
    const bool several = count > 1;
    for (std::size_t i = 0; i < count; ++i) {
        stack.assign(1, seeds[i]);
        bool isSeed = true;
        while (!stack.empty()) {
            AttrKey k = stack.back();
            stack.pop_back();
            const Node* n = node(k.node);
            const AttributeDef* def = n ? attributeDef(k) : nullptr;
            if (!def) {
                isSeed = false;
                continue;
            }
            const bool computed = def->has(Computed);
            if (computed) {
                Node::CachedValue* cache = n->cachedIfAny(n->def().computedOrdinal(k.slot));
                if (cache && cache->valid) {
                    cache->valid = false;
                    cache->value = Value();
                    --m_cachedCount;
                } else if (!isSeed) {
                    continue;  // never read since it last changed: nothing below it is cached either
                }
            }
            const bool again = several && !seen.insert(k).second;
            isSeed = false;
            if (again) continue;
            recordKey(k);
            if (n->mayHaveOutput(k.slot)) {
                auto push = [&](const AttrKey& destination) { stack.push_back(destination); };
                forEachOutput(*n, k, push);
                // A field or element change is also a change of the element and of the whole array.
                if (k.element >= 0)
                    for (const AttrKey& holder : {k.withElement(k.element), k.arrayKey()})
                        if (holder != k) forEachOutput(*n, holder, push);
            }
            for (int s : n->def().computedSlots())
                if (s != k.slot && !(computed && n->def().slot(s).def->has(FromOwnValues))) stack.push_back(AttrKey{k.node, s});
            if (computed) {
                for (int c : n->m_children) {
                    const Node* child = node(c);
                    for (const auto& [parentSlot, own] : child->def().parentLinks())
                        if (parentSlot == k.slot) stack.push_back(AttrKey{c, own});
                }
            }
        }
    }
}

}  // namespace db

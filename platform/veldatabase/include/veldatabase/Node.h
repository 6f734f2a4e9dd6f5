#pragma once

#include <veldatabase/AttrKey.h>
#include <veldatabase/AttributeDef.h>
#include <veldatabase/NodeDef.h>
#include <veldatabase/Value.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace db {

class PackedArray;

// One object of the database. Attribute values of the type's slots live in one compact block laid
// out by the node type; user-added attributes live in a side list that exists only when used.
class Node {
public:
    Node(int id, const NodeDef& def, std::string name);
    ~Node();
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    int id() const { return m_id; }
    const NodeDef& def() const { return *m_def; }
    bool isOfType(const NodeDef& def) const { return m_def->isA(def); }

    const std::string& name() const { return m_name; }
    int parent() const { return m_parent; }
    const std::vector<int>& children() const { return m_children; }

    // Slots: the type's slots first, then custom attributes.
    int slotCount() const { return m_def->slotCount() + customCount(); }
    int customCount() const { return m_custom ? static_cast<int>(m_custom->defs.size()) : 0; }
    const AttributeDef* slotDef(int slot) const;
    bool isCustomSlot(int slot) const { return slot >= m_def->slotCount(); }
    // Top-level attributes: the type's, then custom ones.
    int topLevelCount() const { return m_def->topLevelCount() + customCount(); }
    int topLevelSlot(int index) const;
    int findTopLevel(const std::string& name) const;

    // Stored (not evaluated) values. Arrays read and write as a ValueList.
    Value stored(int slot) const;
    void store(int slot, const Value& value);
    void store(int slot, Value&& value);  // arrays are moved in
    // Arrays of numbers (animation keys) are kept packed; other arrays as a list of values.
    bool isPackedSlot(int slot) const;
    const PackedArray* packed(int slot) const;  // null while empty
    PackedArray& mutablePacked(int slot);
    void storePacked(int slot, const PackedArray& elements);
    const ValueList* array(int slot) const;  // null for a packed array
    ValueList& mutableArray(int slot);
    int arraySize(int slot) const;
    // A stored element (child < 0) or one field of it; the slot must hold that element.
    Value storedElement(int slot, int element, int child) const;
    void storeElement(int slot, int element, int child, const Value& value);

    bool isSelected() const { return m_selected; }
    int connectionCount() const { return m_connections; }
    // Connections that drive attributes of this node; without any, its values are its stored ones.
    int inputCount() const { return m_inputs; }
    // False only when no connection drives this slot or its elements (a quick test before a look-up).
    bool mayHaveInput(int slot) const { return m_inputs > 0 && (m_inputSlots >> (slot < 63 ? slot : 63) & 1u) != 0; }
    // The same for connections this slot or its elements drive.
    bool mayHaveOutput(int slot) const {
        return m_connections > m_inputs && (m_outputSlots >> (slot < 63 ? slot : 63) & 1u) != 0;
    }

    // Where the last evaluation of a computed attribute of this node looked (an animation curve's
    // last segment), kept by the evaluator; -1 after any change of the node's values or inputs.
    int evaluationMemo() const { return m_evaluationMemo; }
    void setEvaluationMemo(int memo) const { m_evaluationMemo = memo; }

private:
    friend class Database;
    struct CustomAttributes {
        std::vector<std::unique_ptr<AttributeDef>> defs;
        std::vector<Value> values;
        std::vector<char> removed;  // removed attributes keep their slot so that keys stay stable
    };
    unsigned char* slotData(int slot) const;
    // The database's cache of computed values: one per computed slot, made at the first read.
    struct CachedValue {
        Value value;
        bool valid = false;
    };
    CachedValue& cached(int ordinal) const;
    CachedValue* cachedIfAny(int ordinal) const { return m_cached ? &m_cached[static_cast<std::size_t>(ordinal)] : nullptr; }
    // Forgets every cached value; returns how many were valid.
    std::size_t dropCache() const;

    int m_id;
    const NodeDef* m_def;
    std::string m_name;
    int m_parent = -1;
    std::vector<int> m_children;
    unsigned char* m_data = nullptr;
    std::unique_ptr<CustomAttributes> m_custom;
    int m_connections = 0;
    int m_inputs = 0;  // of m_connections, those that drive an attribute of this node
    std::uint64_t m_inputSlots = 0;  // bit s: slot s (63: any slot from 63 on) may have an input
    std::uint64_t m_outputSlots = 0;  // the same for connections driven from the slot
    // This node's connections, (its end, the other end), kept beside the database's tables: a node
    // with a few is answered from here without a look-up in them.
    std::vector<std::pair<AttrKey, AttrKey>> m_inputLinks, m_outputLinks;
    bool m_selected = false;
    mutable std::int32_t m_evaluationMemo = -1;
    mutable std::unique_ptr<CachedValue[]> m_cached;
};

}  // namespace db

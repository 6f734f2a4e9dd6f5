#pragma once

#include <veldatabase/AttrKey.h>
#include <veldatabase/ValueType.h>

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

namespace db {

class NodeDef;

// Everything that one outermost change block did. Changed objects and attributes are logged while
// the block is open (appending, repeats and all, which is what a change of frame over a crowd
// needs to stay cheap) and indexed when first asked about, so that every question is a hash look-up.
class DatabaseChange {
public:
    bool isEmpty() const;
    bool hasEdits() const;  // anything besides the selection

    bool isObjectCreated() const { return !m_created.empty(); }
    bool isObjectDeleted() const { return !m_deleted.empty(); }
    bool isObjectReparented() const { return !m_reparented.empty(); }
    bool isObjectRenamed() const { return !m_renamed.empty(); }
    bool isConnectionCreated() const { return m_connectionCreated; }
    bool isConnectionDeleted() const { return m_connectionDeleted; }
    bool isAttributeReferenceChanged() const { return m_referenceChanged; }
    bool isSelectionChanged() const { return m_selectionChanged; }
    bool isTransient() const { return m_transient; }
    // Made by simulation playback (or its revert): not an edit of the user's.
    bool isPlayback() const { return m_playback; }

    // Created and deleted objects count as changed without being listed twice.
    bool isObjectChanged(int node) const {
        return changedNodes().count(node) != 0 || m_createdSet.count(node) != 0 || m_deletedSet.count(node) != 0;
    }
    bool isNameChanged(int node) const { return m_renamedSet.count(node) != 0; }
    bool isAttributeChanged(const AttrKey& key) const { return changedKeys().count(key) != 0; }
    // Whether this slot (an attribute, a compound's field, a custom attribute's place) changed on
    // any object of this type. A panel showing one attribute over many objects asks this first:
    // when it says no, none of its objects changed there.
    bool isSlotChanged(const NodeDef& def, int slot) const { return m_changedSlots.count(TypeSlot{&def, slot}) != 0; }
    // Whether a top-level attribute of this name changed on any object (one check per changed type and slot).
    bool isAttributeNameChanged(const std::string& name) const;
    bool isValueTypeChanged(ValueType type) const {
        return (m_changedTypes & (1u << static_cast<unsigned>(type))) != 0;
    }
    bool isTypeChanged(const NodeDef& def) const;
    bool isOnlyAttributeChanged(const AttrKey& key) const;
    // True when the only value written directly (not through evaluation) was `key`, with no
    // structural edit: a change of the current time, say.
    bool isOnlyValueSet(const AttrKey& key) const;

    const std::vector<int>& created() const { return m_created; }
    const std::vector<int>& deleted() const { return m_deleted; }
    const std::vector<int>& renamed() const { return m_renamed; }
    const std::vector<int>& reparented() const { return m_reparented; }
    // Objects whose values, name or place changed (created and deleted ones are in their own lists).
    const std::unordered_set<int>& changedNodes() const;
    std::size_t changedAttributeCount() const { return changedKeys().size(); }
    const std::string& description() const { return m_description; }

    // Recording, used by the database while a block is open.
    void recordAttribute(const AttrKey& key, int topLevelSlot, ValueType type, const NodeDef& def);
    void recordObject(int node, const NodeDef& def);
    void recordCreated(int node, const NodeDef& def);
    void recordDeleted(int node, const NodeDef& def);
    void recordRenamed(int node, const NodeDef& def);
    void recordReparented(int node, const NodeDef& def);
    void recordConnection(bool created, bool reference);
    void recordSelection() { m_selectionChanged = true; }
    // A value written directly (not through evaluation). Only "one key, or more than one" matters.
    void recordDirect(const AttrKey& key) {
        if (m_directCount == 0) m_directKey = key, m_directCount = 1;
        else if (m_directCount == 1 && !(m_directKey == key)) m_directCount = 2;
    }
    void setTransient(bool transient) { m_transient = transient; }
    void setPlayback(bool playback) { m_playback = playback; }
    void setDescription(std::string d) { m_description = std::move(d); }
    // Folds a later change into this one (transient rounds gathered into their commit).
    void merge(const DatabaseChange& later);

private:
    struct TypeSlot {
        const NodeDef* def;
        int slot;
        bool operator==(const TypeSlot& o) const { return def == o.def && slot == o.slot; }
    };
    struct TypeSlotHash {
        std::size_t operator()(const TypeSlot& t) const noexcept {
            return std::hash<const void*>()(t.def) ^ (static_cast<std::size_t>(t.slot) * 0x9E3779B97F4A7C15ull);
        }
    };
    void recordSlot(const NodeDef& def, int slot);
    void logKey(const AttrKey& key) {
        if (m_keyLog.empty() || !(m_keyLog.back() == key)) m_keyLog.push_back(key);
    }
    const std::unordered_set<AttrKey, AttrKeyHash>& changedKeys() const;

    static void addUnique(std::vector<int>& list, std::unordered_set<int>& set, int node);
    void recordDef(const NodeDef& def);

    std::vector<int> m_nodeLog;      // objects whose values, name or place changed, repeats and all
    std::vector<AttrKey> m_keyLog;   // attributes that changed, repeats and all
    mutable std::unordered_set<int> m_changedNodes;  // the logs indexed, as far as they were asked
    mutable std::unordered_set<AttrKey, AttrKeyHash> m_changedKeys;
    mutable std::size_t m_nodesIndexed = 0, m_keysIndexed = 0;
    std::unordered_set<const NodeDef*> m_changedDefs;
    std::unordered_set<TypeSlot, TypeSlotHash> m_changedSlots;
    TypeSlot m_lastSlot{nullptr, -1};  // skips the set insert for runs of one attribute
    const NodeDef* m_lastDef = nullptr;  // skips the set insert for runs of one type
    AttrKey m_directKey;     // the first value written directly
    int m_directCount = 0;   // distinct keys written directly: 0, 1, or 2 for "more than one"
    std::uint32_t m_changedTypes = 0;
    std::vector<int> m_created, m_deleted, m_renamed, m_reparented;
    std::unordered_set<int> m_createdSet, m_deletedSet, m_renamedSet, m_reparentedSet;
    bool m_connectionCreated = false;
    bool m_connectionDeleted = false;
    bool m_referenceChanged = false;
    bool m_selectionChanged = false;
    bool m_transient = false;
    bool m_playback = false;
    std::string m_description;
};

}  // namespace db

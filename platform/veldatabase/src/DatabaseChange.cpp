#include <veldatabase/DatabaseChange.h>
#include <veldatabase/NodeDef.h>

namespace db {

bool DatabaseChange::isEmpty() const {
    return m_nodeLog.empty() && m_keyLog.empty() && m_created.empty() && m_deleted.empty() &&
           !m_connectionCreated && !m_connectionDeleted && !m_selectionChanged;
}

bool DatabaseChange::hasEdits() const {
    return !m_nodeLog.empty() || !m_keyLog.empty() || !m_created.empty() || !m_deleted.empty() ||
           m_connectionCreated || m_connectionDeleted;
}

bool DatabaseChange::isTypeChanged(const NodeDef& def) const {
    for (const NodeDef* changed : m_changedDefs)
        if (changed->isA(def)) return true;
    return false;
}

void DatabaseChange::addUnique(std::vector<int>& list, std::unordered_set<int>& set, int node) {
    if (set.insert(node).second) list.push_back(node);
}

void DatabaseChange::recordDef(const NodeDef& def) {
    if (m_lastDef == &def) return;
    m_lastDef = &def;
    m_changedDefs.insert(&def);
}

const std::unordered_set<int>& DatabaseChange::changedNodes() const {
    for (; m_nodesIndexed < m_nodeLog.size(); ++m_nodesIndexed) m_changedNodes.insert(m_nodeLog[m_nodesIndexed]);
    return m_changedNodes;
}

const std::unordered_set<AttrKey, AttrKeyHash>& DatabaseChange::changedKeys() const {
    for (; m_keysIndexed < m_keyLog.size(); ++m_keysIndexed) m_changedKeys.insert(m_keyLog[m_keysIndexed]);
    return m_changedKeys;
}

void DatabaseChange::recordObject(int node, const NodeDef& def) {
    if (m_nodeLog.empty() || m_nodeLog.back() != node) m_nodeLog.push_back(node);
    recordDef(def);
}

void DatabaseChange::recordAttribute(const AttrKey& key, int topLevelSlot, ValueType type, const NodeDef& def) {
    recordObject(key.node, def);
    logKey(key);
    if (key.element >= 0) logKey(key.arrayKey());
    if (topLevelSlot >= 0 && topLevelSlot != key.slot) logKey(AttrKey{key.node, topLevelSlot});
    m_changedTypes |= 1u << static_cast<unsigned>(type);
    recordSlot(def, key.slot);
    if (topLevelSlot >= 0 && topLevelSlot != key.slot) recordSlot(def, topLevelSlot);
}

bool DatabaseChange::isAttributeNameChanged(const std::string& name) const {
    for (const TypeSlot& changed : m_changedSlots)
        if (changed.def->findTopLevel(name) == changed.slot) return true;
    return false;
}

void DatabaseChange::recordSlot(const NodeDef& def, int slot) {
    const TypeSlot entry{&def, slot};
    if (entry == m_lastSlot) return;
    m_changedSlots.insert(entry);
    m_lastSlot = entry;
}

void DatabaseChange::recordCreated(int node, const NodeDef& def) {
    recordDef(def);
    addUnique(m_created, m_createdSet, node);
}

void DatabaseChange::recordDeleted(int node, const NodeDef& def) {
    recordDef(def);
    addUnique(m_deleted, m_deletedSet, node);
}

void DatabaseChange::recordRenamed(int node, const NodeDef& def) {
    recordObject(node, def);
    addUnique(m_renamed, m_renamedSet, node);
}

void DatabaseChange::recordReparented(int node, const NodeDef& def) {
    recordObject(node, def);
    addUnique(m_reparented, m_reparentedSet, node);
}

void DatabaseChange::recordConnection(bool created, bool reference) {
    (created ? m_connectionCreated : m_connectionDeleted) = true;
    if (reference) m_referenceChanged = true;
}

bool DatabaseChange::isOnlyAttributeChanged(const AttrKey& key) const {
    return changedKeys().size() == 1 && changedKeys().count(key) && m_created.empty() && m_deleted.empty() &&
           m_renamed.empty() && m_reparented.empty() && !m_connectionCreated && !m_connectionDeleted;
}

bool DatabaseChange::isOnlyValueSet(const AttrKey& key) const {
    return m_directCount == 1 && m_directKey == key && m_created.empty() && m_deleted.empty() &&
           m_renamed.empty() && m_reparented.empty() && !m_connectionCreated && !m_connectionDeleted;
}

void DatabaseChange::merge(const DatabaseChange& later) {
    m_nodeLog.insert(m_nodeLog.end(), later.m_nodeLog.begin(), later.m_nodeLog.end());
    m_keyLog.insert(m_keyLog.end(), later.m_keyLog.begin(), later.m_keyLog.end());
    m_changedDefs.insert(later.m_changedDefs.begin(), later.m_changedDefs.end());
    m_changedSlots.insert(later.m_changedSlots.begin(), later.m_changedSlots.end());
    if (later.m_directCount > 0) recordDirect(later.m_directKey);
    if (later.m_directCount > 1) m_directCount = 2;
    m_changedTypes |= later.m_changedTypes;
    for (int n : later.m_created) addUnique(m_created, m_createdSet, n);
    for (int n : later.m_deleted) addUnique(m_deleted, m_deletedSet, n);
    for (int n : later.m_renamed) addUnique(m_renamed, m_renamedSet, n);
    for (int n : later.m_reparented) addUnique(m_reparented, m_reparentedSet, n);
    m_connectionCreated |= later.m_connectionCreated;
    m_connectionDeleted |= later.m_connectionDeleted;
    m_referenceChanged |= later.m_referenceChanged;
    m_selectionChanged |= later.m_selectionChanged;
    if (!later.m_description.empty()) m_description = later.m_description;
}

}  // namespace db

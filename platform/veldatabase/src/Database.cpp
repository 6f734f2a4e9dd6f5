#include <veldatabase/Database.h>

#include "ImplicitBlock.h"
#include "Journal.h"
#include "NameIndex.h"

#include <algorithm>
#include <cctype>

namespace db {

namespace {

AttributeDef rootMessage() {
    AttributeDef a;
    a.name = "message";
    a.displayName = "Message";
    a.type = ValueType::ObjectRef;
    a.flags = Internal;
    return a;
}

const NodeDef& sceneRootDef() {
    static const NodeDef def("SceneRoot", nullptr, {rootMessage()}, SupportsChildren, "Scene");
    return def;
}

constexpr int PackedNodeLimit = 1 << 22;
constexpr int PackedSlotLimit = 256;
constexpr int ExtraIdBase = 1 << 30;

}  // namespace

Database::Database() : m_names(std::make_unique<NameIndex>()) {
    m_nodes.push_back(std::make_unique<Node>(RootId, sceneRootDef(), std::string()));
    m_liveCount = 1;
}

Database::~Database() {
    m_undo.clear();
    m_redo.clear();
}

// ---------------------------------------------------------------- types

void Database::registerType(const NodeDef& def) { m_types[def.typeName()] = &def; }

const NodeDef* Database::findType(const std::string& typeName) const {
    auto it = m_types.find(typeName);
    return it == m_types.end() ? nullptr : it->second;
}

std::vector<const NodeDef*> Database::types() const {
    std::vector<const NodeDef*> out;
    for (auto& [name, def] : m_types) out.push_back(def);
    return out;
}

const NodeDef& Database::rootType() const { return sceneRootDef(); }

// ---------------------------------------------------------------- objects

const Node* Database::node(int id) const {
    if (id < 0 || id >= static_cast<int>(m_nodes.size())) return nullptr;
    return m_nodes[static_cast<std::size_t>(id)].get();
}

Node* Database::node(int id) {
    if (id < 0 || id >= static_cast<int>(m_nodes.size())) return nullptr;
    return m_nodes[static_cast<std::size_t>(id)].get();
}

std::string Database::sanitizeName(const std::string& name) {
    std::string out;
    out.reserve(name.size());
    for (std::size_t i = 0; i < name.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(name[i]);
        if (std::isalnum(c) || c == '_') {
            out += static_cast<char>(c);
        } else if (c >= 0x80) {
            // One replacement per UTF-8 encoded character.
            if ((c & 0xC0) != 0x80) out += '_';
        } else {
            out += '_';
        }
    }
    if (out.empty()) return "object";
    if (std::isdigit(static_cast<unsigned char>(out[0]))) out.insert(out.begin(), '_');
    return out;
}

int Database::findChild(int parent, const std::string& name) const {
    return m_names->find(parent, name, [&](int id) {
        const Node* n = node(id);
        return n && n->m_parent == parent && n->m_name == name;
    });
}

int Database::findPath(const std::string& path) const {
    int current = RootId;
    std::size_t start = 0;
    if (path.empty()) return RootId;
    while (start <= path.size()) {
        std::size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        current = findChild(current, path.substr(start, end - start));
        if (current < 0) return -1;
        start = end + 1;
    }
    return current;
}

std::string Database::path(int id) const {
    const Node* n = node(id);
    if (!n || id == RootId) return {};
    std::vector<const std::string*> parts;
    for (; n && n->m_id != RootId; n = node(n->m_parent)) parts.push_back(&n->m_name);
    std::string out;
    for (auto it = parts.rbegin(); it != parts.rend(); ++it) {
        if (!out.empty()) out += '/';
        out += **it;
    }
    return out;
}

bool Database::isAncestor(int ancestor, int id) const {
    const Node* n = node(id);
    while (n && n->m_parent >= 0) {
        if (n->m_parent == ancestor) return true;
        n = node(n->m_parent);
    }
    return false;
}

std::string Database::uniqueName(int parent, const std::string& wanted, int self) const {
    auto taken = [&](const std::string& candidate) {
        int other = findChild(parent, candidate);
        return other >= 0 && other != self;
    };
    if (!taken(wanted)) return wanted;
    std::size_t cut = wanted.size();
    while (cut > 0 && std::isdigit(static_cast<unsigned char>(wanted[cut - 1]))) --cut;
    std::string base = wanted.substr(0, cut);
    if (base.empty() || base == "_") base = wanted + "_";
    int& hint = m_names->suffixHint(parent, base);
    int n = std::max(hint, 1);
    while (taken(base + std::to_string(n))) ++n;
    hint = n + 1;
    return base + std::to_string(n);
}

int Database::create(const NodeDef& def, const std::string& name, int parent) {
    Node* p = node(parent);
    if (!p || def.hasFlag(Abstract) || !p->def().hasFlag(SupportsChildren)) return -1;
    ImplicitBlock block(*this);
    int id = static_cast<int>(m_nodes.size());
    m_nodes.emplace_back();
    std::string unique = uniqueName(parent, sanitizeName(name), -1);
    JournalOp op;
    op.kind = JournalOp::Kind::Attach;
    op.node = id;
    op.toParent = parent;
    op.toIndex = static_cast<int>(p->m_children.size());
    std::vector<std::unique_ptr<Node>> owned;
    owned.push_back(std::make_unique<Node>(id, def, std::move(unique)));
    attachRoots(parent, {{op.toIndex, id}}, owned);
    journal(std::move(op));
    return id;
}

void Database::collectSubtree(int root, std::vector<int>& out) const {
    std::size_t first = out.size();
    out.push_back(root);
    for (std::size_t i = first; i < out.size(); ++i) {
        const Node* n = node(out[i]);
        if (n) out.insert(out.end(), n->m_children.begin(), n->m_children.end());
    }
}

void Database::attachRoots(int parent, const std::vector<std::pair<int, int>>& roots,
                           std::vector<std::unique_ptr<Node>>& owned) {
    // Roots are (re)linked below; only the nodes inside their subtrees keep their parent links.
    std::unordered_set<int> rootIds;
    if (owned.size() > 1)
        for (const auto& root : roots) rootIds.insert(root.second);
    for (auto& up : owned) {
        Node* n = up.get();
        int id = n->m_id;
        m_nodes[static_cast<std::size_t>(id)] = std::move(up);
        ++m_liveCount;
        if (n->def().hasTimeDependentSlots()) {
            m_timeNodes.insert(id);
            m_timeOutputsStale = true;
        }
        const bool isRoot = owned.size() == 1 || rootIds.count(id) != 0;
        if (n->m_parent >= 0 && !isRoot) m_names->add(n->m_parent, n->m_name, id);
        if (m_open && m_recording) m_open->change->recordCreated(id, n->def());
    }
    owned.clear();
    Node* p = node(parent);
    for (const auto& [index, id] : roots) {
        Node* n = node(id);
        n->m_parent = parent;
        auto pos = std::min<std::size_t>(static_cast<std::size_t>(index), p->m_children.size());
        p->m_children.insert(p->m_children.begin() + static_cast<std::ptrdiff_t>(pos), id);
        m_names->add(parent, n->m_name, id);
    }
}

void Database::detachRoots(int parent, const std::vector<std::pair<int, int>>& roots,
                           std::vector<std::unique_ptr<Node>>& owned) {
    std::vector<int> all;
    for (const auto& root : roots) collectSubtree(root.second, all);
    for (int id : all) {
        Node* n = node(id);
        if (m_open && m_recording) m_open->change->recordDeleted(id, n->def());
        if (n->m_parent >= 0) m_names->remove(n->m_parent, n->m_name, id);
        m_cachedCount -= n->dropCache();
        if (m_timeNodes.erase(id)) m_timeOutputsStale = true;
        owned.push_back(std::move(m_nodes[static_cast<std::size_t>(id)]));
        --m_liveCount;
    }
    unlinkChildren(node(parent)->m_children, roots);
}

void Database::unlinkChildren(std::vector<int>& kids, const std::vector<std::pair<int, int>>& roots) {
    // Undoing creations and reverting a script's work unlink one child at a time, usually at the
    // index it was linked at and at the end of the list: that costs nothing per child, where a
    // search of the siblings would make reverting n creations cost n squared. Many roots at once
    // (a large deletion) take one pass over the list instead.
    constexpr std::size_t FewRoots = 8;
    bool atTheirPlaces = roots.size() <= FewRoots;
    for (std::size_t r = atTheirPlaces ? roots.size() : 0; r-- > 0;) {
        const auto index = static_cast<std::size_t>(roots[r].first);
        if (roots[r].first >= 0 && index < kids.size() && kids[index] == roots[r].second) {
            kids.erase(kids.begin() + static_cast<std::ptrdiff_t>(index));
        } else {
            atTheirPlaces = false;
        }
    }
    if (atTheirPlaces) return;
    std::unordered_set<int> rootSet;
    for (const auto& root : roots) rootSet.insert(root.second);
    kids.erase(std::remove_if(kids.begin(), kids.end(), [&](int c) { return rootSet.count(c) != 0; }), kids.end());
}

bool Database::remove(int id) { return remove(std::vector<int>{id}); }

bool Database::remove(const std::vector<int>& ids) {
    std::unordered_set<int> requested;
    for (int id : ids) {
        const Node* n = node(id);
        if (n && id != RootId && n->def().hasFlag(Deletable)) requested.insert(id);
    }
    // Only the topmost of the requested objects matter: their subtrees go with them.
    std::vector<int> roots;
    for (int id : ids) {
        if (!requested.count(id)) continue;
        bool covered = false;
        for (const Node* a = node(node(id)->m_parent); a && a->m_id != RootId; a = node(a->m_parent)) {
            if (requested.count(a->m_id)) {
                covered = true;
                break;
            }
        }
        if (!covered) roots.push_back(id);
    }
    std::sort(roots.begin(), roots.end());
    roots.erase(std::unique(roots.begin(), roots.end()), roots.end());
    if (roots.empty()) return false;

    ImplicitBlock block(*this);
    std::vector<int> doomed;
    for (int r : roots) collectSubtree(r, doomed);
    std::unordered_set<int> doomedSet(doomed.begin(), doomed.end());

    std::vector<int> keep;
    bool selectionTouched = false;
    for (int s : m_selection) {
        if (doomedSet.count(s)) selectionTouched = true;
        else keep.push_back(s);
    }
    if (selectionTouched) setSelection(keep);
    for (int d : doomed)
        if (node(d)->m_connections > 0) disconnectAll(d);

    std::map<int, std::vector<std::pair<int, int>>> byParent;
    std::unordered_set<int> rootSet(roots.begin(), roots.end());
    std::unordered_set<int> parents;
    for (int r : roots) parents.insert(node(r)->m_parent);
    for (int p : parents) {
        const auto& kids = node(p)->m_children;
        for (std::size_t i = 0; i < kids.size(); ++i)
            if (rootSet.count(kids[i])) byParent[p].emplace_back(static_cast<int>(i), kids[i]);
    }
    for (auto& [parent, list] : byParent) {
        JournalOp op;
        op.kind = JournalOp::Kind::Detach;
        op.fromParent = parent;
        op.data().roots = list;
        detachRoots(parent, list, op.data().owned);
        journal(std::move(op));
    }
    return true;
}

void Database::reset() {
    m_undo.clear();
    m_redo.clear();
    m_transient.reset();
    m_playback.reset();
    m_open.reset();
    m_depth = 0;
    m_selection.clear();
    m_inputs.clear();
    m_outputs.clear();
    if (Node* root = node(RootId)) root->dropCache();
    m_cachedCount = 0;
    m_timeNodes.clear();
    m_timeOutputsStale = true;
    m_names->clear();
    m_extraAttributeIds.clear();
    m_extraAttributeKeys.clear();
    for (std::size_t i = 1; i < m_nodes.size(); ++i) m_nodes[i].reset();
    Node* root = node(RootId);
    root->m_children.clear();
    root->m_connections = 0;
    root->m_inputs = 0;
    root->m_inputSlots = root->m_outputSlots = 0;
    root->m_inputLinks.clear();
    root->m_outputLinks.clear();
    root->m_selected = false;
    m_liveCount = 1;
    m_timeKey = AttrKey{};
}

std::string Database::rename(int id, const std::string& name) {
    Node* n = node(id);
    if (!n || id == RootId || !n->def().hasFlag(Renamable)) return {};
    const std::string wanted = sanitizeName(name);
    std::string unique = uniqueName(n->m_parent, wanted, id);
    // Asking for a taken name that this object already carries a numbered form of keeps it.
    auto base = [](const std::string& s) { return s.substr(0, s.find_last_not_of("0123456789") + 1); };
    if (unique != wanted && base(n->m_name) == base(wanted)) unique = n->m_name;
    if (unique == n->m_name) return unique;
    ImplicitBlock block(*this);
    renameJournaled(id, unique);
    return unique;
}

void Database::renameJournaled(int id, const std::string& name) {
    JournalOp op;
    op.kind = JournalOp::Kind::Rename;
    op.node = id;
    op.data().textBefore = node(id)->m_name;
    op.data().textAfter = name;
    doRename(id, name);
    journal(std::move(op));
}

void Database::doRename(int id, const std::string& name) {
    Node* n = node(id);
    m_names->remove(n->m_parent, n->m_name, id);
    n->m_name = name;
    m_names->add(n->m_parent, n->m_name, id);
    if (m_recording) m_open->change->recordRenamed(id, n->def());
}

bool Database::setParent(int id, int newParent, int index) {
    Node* n = node(id);
    Node* p = node(newParent);
    if (!n || !p || id == RootId || !n->def().hasFlag(Reparentable) || !p->def().hasFlag(SupportsChildren))
        return false;
    if (newParent == id || isAncestor(id, newParent)) return false;
    int count = static_cast<int>(p->m_children.size());
    if (n->m_parent == newParent) --count;
    int target = (index < 0 || index > count) ? count : index;
    const auto& oldKids = node(n->m_parent)->m_children;
    int oldIndex = static_cast<int>(std::find(oldKids.begin(), oldKids.end(), id) - oldKids.begin());
    if (n->m_parent == newParent && oldIndex == target) return true;

    ImplicitBlock block(*this);
    if (n->m_parent != newParent) {
        // The name must be unique among the new siblings; the old ones no longer matter.
        std::string unique = uniqueName(newParent, n->m_name, id);
        if (unique != n->m_name) renameJournaled(id, unique);
    }
    JournalOp op;
    op.kind = JournalOp::Kind::Reparent;
    op.node = id;
    op.fromParent = n->m_parent;
    op.fromIndex = oldIndex;
    op.toParent = newParent;
    op.toIndex = target;
    doReparent(id, newParent, target);
    journal(std::move(op));
    return true;
}

void Database::doReparent(int id, int newParent, int index) {
    Node* n = node(id);
    auto& oldKids = node(n->m_parent)->m_children;
    oldKids.erase(std::find(oldKids.begin(), oldKids.end(), id));
    m_names->remove(n->m_parent, n->m_name, id);
    auto& kids = node(newParent)->m_children;
    auto pos = std::min<std::size_t>(static_cast<std::size_t>(index), kids.size());
    kids.insert(kids.begin() + static_cast<std::ptrdiff_t>(pos), id);
    n->m_parent = newParent;
    m_names->add(newParent, n->m_name, id);
    if (m_recording) m_open->change->recordReparented(id, n->def());
    for (const auto& link : n->def().parentLinks()) markDirty(AttrKey{id, link.second});
}

// ---------------------------------------------------------------- selection

bool Database::isSelected(int id) const {
    const Node* n = node(id);
    return n && n->m_selected;
}

void Database::setSelection(const std::vector<int>& ids) {
    std::vector<int> clean;
    clean.reserve(ids.size());
    std::unordered_set<int> seen;
    for (int id : ids)
        if (id != RootId && node(id) && seen.insert(id).second) clean.push_back(id);
    if (clean == m_selection) return;
    ImplicitBlock block(*this);
    JournalOp op;
    op.kind = JournalOp::Kind::Select;
    op.data().idsBefore = m_selection;
    op.data().idsAfter = clean;
    doSelect(clean);
    journal(std::move(op));
}

void Database::doSelect(const std::vector<int>& ids) {
    for (int id : m_selection)
        if (Node* n = node(id)) n->m_selected = false;
    m_selection = ids;
    for (int id : m_selection)
        if (Node* n = node(id)) n->m_selected = true;
    if (m_recording) m_open->change->recordSelection();
}

// ---------------------------------------------------------------- attribute ids

int Database::attributeId(const AttrKey& key) const {
    if (!isValidKey(key)) return -1;
    if (key.element < 0 && key.child < 0 && key.node < PackedNodeLimit && key.slot < PackedSlotLimit)
        return (key.node << 8) | key.slot;
    auto it = m_extraAttributeIds.find(key);
    if (it != m_extraAttributeIds.end()) return it->second;
    int id = ExtraIdBase + static_cast<int>(m_extraAttributeKeys.size());
    m_extraAttributeIds.emplace(key, id);
    m_extraAttributeKeys.push_back(key);
    return id;
}

AttrKey Database::attributeKey(int id) const {
    if (id < 0) return {};
    if (id < ExtraIdBase) return AttrKey{id >> 8, id & 0xFF};
    std::size_t i = static_cast<std::size_t>(id - ExtraIdBase);
    return i < m_extraAttributeKeys.size() ? m_extraAttributeKeys[i] : AttrKey{};
}

// ---------------------------------------------------------------- observers

void Database::addObserver(DatabaseObserver* observer) {
    if (observer && std::find(m_observers.begin(), m_observers.end(), observer) == m_observers.end())
        m_observers.push_back(observer);
}

void Database::removeObserver(DatabaseObserver* observer) {
    m_observers.erase(std::remove(m_observers.begin(), m_observers.end(), observer), m_observers.end());
}

void Database::deliver(std::shared_ptr<DatabaseChange> change, UndoStep* step) {
    m_queue.emplace_back(std::move(change), step);
    if (m_notifying) return;  // delivered after the current round
    m_notifying = true;
    struct Reset {
        Database& db;
        ~Reset() {
            db.m_notifying = false;
            db.m_reactionStep = nullptr;
        }
    } reset{*this};
    while (!m_queue.empty()) {
        std::shared_ptr<const DatabaseChange> current = m_queue.front().first;
        m_reactionStep = m_queue.front().second;
        m_queue.pop_front();
        std::vector<DatabaseObserver*> snapshot = m_observers;
        for (DatabaseObserver* o : snapshot) {
            if (std::find(m_observers.begin(), m_observers.end(), o) != m_observers.end())
                o->onDatabaseChanged(*this, current);
        }
    }
}

}  // namespace db

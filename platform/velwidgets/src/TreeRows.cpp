#include "TreeRows.h"

#include <algorithm>

namespace wxUtils {

void TreeRows::ensure() {
    if (!m_dirty) return;
    m_dirty = false;
    m_rows.clear();
    if (m_root) {
        m_rows.push_back(m_root);
        if (m_root->IsExpanded()) collectBelow(m_root, m_rows);
    }
    m_staleFrom = 0;
    m_work = 0;
    renumber();
}

void TreeRows::renumber() {
    for (size_t i = m_staleFrom; i < m_rows.size(); ++i) m_rows[i]->m_row = i;
    m_staleFrom = m_rows.size();
}

void TreeRows::collectBelow(TreeItem* item, std::vector<TreeItem*>& out) {
    // Iterative depth-first walk: deep hierarchies must not exhaust the stack.
    std::vector<std::pair<TreeItem*, size_t>> stack{{item, 0}};
    while (!stack.empty()) {
        auto& [parent, next] = stack.back();
        if (next >= parent->GetChildCount()) {
            stack.pop_back();
            continue;
        }
        TreeItem* child = parent->GetChild(next++);
        out.push_back(child);
        if (child->IsExpanded() && child->HasChildren()) stack.emplace_back(child, 0);
    }
}

size_t TreeRows::countBelow(const TreeItem* item) {
    size_t count = 0;
    std::vector<const TreeItem*> stack{item};
    while (!stack.empty()) {
        const TreeItem* parent = stack.back();
        stack.pop_back();
        count += parent->GetChildCount();
        for (const TreeItem* child : *parent)
            if (child->IsExpanded() && child->HasChildren()) stack.push_back(child);
    }
    return count;
}

long TreeRows::rowOf(const TreeItem* item) {
    if (!item) return -1;
    ensure();
    auto fresh = [&] { return item->m_row < m_staleFrom && m_rows[item->m_row] == item; };
    if (fresh()) return long(item->m_row);
    if (m_staleFrom < m_rows.size()) renumber();
    return fresh() ? long(item->m_row) : -1;
}

// Each splice moves the rows after it and later renumbers them. Once that work since the last
// rebuild exceeds a few lengths of the list, the list is rebuilt at the next question instead, so a
// burst of single edits costs at most a constant number of rebuilds.
bool TreeRows::overBudget(size_t position) {
    m_work += m_rows.size() - std::min(position, m_rows.size()) + 1;
    if (m_work <= 4 * m_rows.size() + 4096) return false;
    invalidate();
    return true;
}

void TreeRows::insertAt(size_t position, const std::vector<TreeItem*>& rows) {
    if (overBudget(position)) return;
    m_rows.insert(m_rows.begin() + long(position), rows.begin(), rows.end());
    if (position < m_staleFrom) m_staleFrom = position;
}

void TreeRows::eraseAt(size_t position, size_t count) {
    if (overBudget(position)) return;
    m_rows.erase(m_rows.begin() + long(position), m_rows.begin() + long(position + count));
    if (position < m_staleFrom) m_staleFrom = position;
}

void TreeRows::itemShown(TreeItem* item, size_t index) {
    if (m_dirty) return;
    TreeItem* parent = item->GetParent();
    if (!parent) {
        invalidate();
        return;
    }
    // The row after the previous sibling's last shown descendant (found by following last children).
    long anchor;
    if (index > 0) {
        const TreeItem* last = parent->GetChild(index - 1);
        while (last->IsExpanded() && last->HasChildren()) last = last->GetChild(last->GetChildCount() - 1);
        anchor = rowOf(last);
    } else {
        anchor = rowOf(parent);
    }
    if (anchor < 0) {
        invalidate();
        return;
    }
    std::vector<TreeItem*> rows{item};
    if (item->IsExpanded()) collectBelow(item, rows);
    insertAt(size_t(anchor + 1), rows);
}

void TreeRows::itemHidden(TreeItem* item) {
    if (m_dirty) return;
    const long row = rowOf(item);
    if (row < 0) return;
    eraseAt(size_t(row), 1 + (item->IsExpanded() ? countBelow(item) : 0));
}

void TreeRows::childrenShown(TreeItem* item) {
    if (m_dirty) return;
    const long row = rowOf(item);
    if (row < 0) return;
    std::vector<TreeItem*> rows;
    collectBelow(item, rows);
    insertAt(size_t(row + 1), rows);
}

void TreeRows::childrenHidden(TreeItem* item) {
    if (m_dirty) return;
    const long row = rowOf(item);
    if (row < 0) return;
    eraseAt(size_t(row + 1), countBelow(item));
}

}  // namespace wxUtils

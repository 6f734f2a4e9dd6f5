#pragma once

#include <velwidgets/TreeItem.h>

#include <vector>

namespace wxUtils {

// The flattened list of shown items of a tree: the root, then depth first the children of every
// expanded item. A bulk change marks it dirty and the next question rebuilds it; a single change
// (one item shown, hidden, expanded or collapsed) splices its rows in or out. Row numbers kept in the
// items are renumbered lazily from the first splice on.
class TreeRows {
public:
    void setRoot(TreeItem* root) { m_root = root; invalidate(); }
    void invalidate() { m_dirty = true; }
    bool isDirty() const { return m_dirty; }

    size_t size() { ensure(); return m_rows.size(); }
    TreeItem* at(size_t row) { ensure(); return row < m_rows.size() ? m_rows[row] : nullptr; }
    long rowOf(const TreeItem* item);

    // The item was just attached under a shown, expanded parent: its rows go in after its previous
    // sibling's last shown row.
    void itemShown(TreeItem* item, size_t index);
    // The item is about to leave: its row and its shown descendants' rows go.
    void itemHidden(TreeItem* item);
    // The item (shown) was expanded or collapsed: the rows of its shown descendants come or go.
    void childrenShown(TreeItem* item);
    void childrenHidden(TreeItem* item);

    // Shown rows below the item, whatever its own expansion flag says.
    static size_t countBelow(const TreeItem* item);

private:
    void ensure();
    void renumber();
    static void collectBelow(TreeItem* item, std::vector<TreeItem*>& out);
    void insertAt(size_t position, const std::vector<TreeItem*>& rows);
    void eraseAt(size_t position, size_t count);
    bool overBudget(size_t position);

    TreeItem* m_root = nullptr;
    std::vector<TreeItem*> m_rows;
    size_t m_staleFrom = 0;
    size_t m_work = 0;  // rows moved by splices since the last rebuild
    bool m_dirty = true;
};

}  // namespace wxUtils

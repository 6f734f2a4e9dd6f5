#include "TreeGraveyard.h"

namespace wxUtils {

void TreeGraveyard::bury(TreeItem* root) {
    if (!root) return;
    root->m_tree = nullptr;
    m_items.push_back(root);
}

bool TreeGraveyard::destroySome(size_t count) {
    for (; count > 0 && !m_items.empty(); --count) {
        TreeItem* item = m_items.back();
        m_items.pop_back();
        for (TreeItem* child : item->m_children) {
            child->m_parent = nullptr;
            child->m_tree = nullptr;
            m_items.push_back(child);
        }
        item->m_children.clear();
        delete item;
    }
    return !m_items.empty();
}

}  // namespace wxUtils

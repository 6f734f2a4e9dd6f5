#include <velwidgets/TreeItemDrag.h>

#include <velwidgets/TreeItem.h>

#include <cstdlib>

namespace wxUtils {

void TreeItemDrag::press(TreeItem* item, const wxPoint& client, std::vector<TreeItem*> items) {
    reset();
    m_pressed = item;
    m_pressPoint = client;
    m_items = std::move(items);
}

bool TreeItemDrag::move(const wxPoint& client, int threshold) {
    if (m_dragging || !m_pressed || m_items.empty()) return false;
    if (std::abs(client.x - m_pressPoint.x) < threshold && std::abs(client.y - m_pressPoint.y) < threshold) return false;
    m_dragging = true;
    return true;
}

void TreeItemDrag::aim(TreeItem* target, TreeDropPlace place, bool allowed) {
    m_target = target;
    m_place = place;
    m_allowed = allowed;  // without a target: a drop outside the tree
}

void TreeItemDrag::reset() {
    m_pressed = nullptr;
    m_items.clear();
    m_dragging = false;
    m_target = nullptr;
    m_allowed = false;
}

bool TreeItemDrag::targetsItself(const TreeItem* target) const {
    for (const TreeItem* item : m_items)
        if (item == target || item->IsAncestorOf(target)) return true;
    return false;
}

TreeDropPlace TreeItemDrag::placeIn(int offsetInRow, int rowHeight) {
    if (offsetInRow < rowHeight / 4) return TreeDropPlace::Above;
    if (offsetInRow >= rowHeight - rowHeight / 4) return TreeDropPlace::Below;
    return TreeDropPlace::Onto;
}

}  // namespace wxUtils

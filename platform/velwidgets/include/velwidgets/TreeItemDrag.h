#pragma once

#include <wx/gdicmn.h>

#include <vector>

namespace wxUtils {

class TreeItem;

// Where dragged items would go relative to the row under the pointer.
enum class TreeDropPlace { Above, Onto, Below };

// The state of one drag of tree items with the mouse: pressed on an item, moved far enough to
// count as a drag, and the drop place under the pointer. The tree control feeds it mouse positions
// and asks its owner whether a drop is allowed; this class holds no window.
class TreeItemDrag {
public:
    // The left button went down on an item (null: nowhere); `items` are what a drag would carry.
    void press(TreeItem* item, const wxPoint& client, std::vector<TreeItem*> items);
    // The pointer moved with the button down; true when this move starts the drag.
    bool move(const wxPoint& client, int threshold);
    void aim(TreeItem* target, TreeDropPlace place, bool allowed);
    void reset();

    bool isDragging() const { return m_dragging; }
    const std::vector<TreeItem*>& items() const { return m_items; }
    TreeItem* target() const { return m_target; }
    TreeDropPlace place() const { return m_place; }
    bool isAllowed() const { return m_allowed; }
    // Whether the target is one of the dragged items or below one of them (never a drop place).
    bool targetsItself(const TreeItem* target) const;

    // The place within a row of this height for a point this far below the row's top: the upper
    // quarter is above, the lower quarter below, the rest onto.
    static TreeDropPlace placeIn(int offsetInRow, int rowHeight);

private:
    TreeItem* m_pressed = nullptr;
    wxPoint m_pressPoint;
    std::vector<TreeItem*> m_items;
    bool m_dragging = false;
    TreeItem* m_target = nullptr;
    TreeDropPlace m_place = TreeDropPlace::Onto;
    bool m_allowed = false;
};

}  // namespace wxUtils

// The tree control's selection, focus and mouse handling.
#include <velwidgets/TreeControl.h>

#include <wx/settings.h>

#include "TreeGraveyard.h"
#include "TreeRows.h"

#include <algorithm>

namespace wxUtils {

// ---------------------------------------------------------------------------------------------
// Selection

void TreeControl::notifySelectionChanged() {
    if (m_selectionEventsDisabled > 0) return;
    onSelectionChanged();
    TreeEvent event(wxEVT_VEL_TREE_SEL_CHANGED, GetId(), m_focus);
    event.SetEventObject(this);
    ProcessWindowEvent(event);
}

void TreeControl::changeSelection(const std::vector<TreeItem*>& items, bool byUser) {
    std::vector<TreeItem*> old;
    old.swap(m_selection);
    for (TreeItem* item : old) {
        item->m_selected = false;
        item->m_mark = true;  // was selected
    }
    for (TreeItem* item : items) {
        if (!item || item->GetTree() != this || item->m_selected) continue;
        item->m_selected = true;
        m_selection.push_back(item);
    }
    const bool changed = old != m_selection;
    const bool tell = byUser && m_selectionEventsDisabled == 0;
    if (tell) {
        for (TreeItem* item : old)
            if (!item->m_selected) onItemSelectionChanged(item, false);
        for (TreeItem* item : m_selection)
            if (!item->m_mark) onItemSelectionChanged(item, true);
    }
    for (TreeItem* item : old) item->m_mark = false;
    Refresh();
    if (changed) notifySelectionChanged();
}

void TreeControl::SetSelection(const std::vector<TreeItem*>& items) { changeSelection(items, false); }

void TreeControl::SelectItem(TreeItem* item, bool select) {
    if (!item || item->GetTree() != this || item->IsSelected() == select) return;
    std::vector<TreeItem*> items = m_selection;
    if (select) items.push_back(item);
    else items.erase(std::remove(items.begin(), items.end(), item), items.end());
    changeSelection(items, false);
}

void TreeControl::UnselectAll() { changeSelection({}, false); }

void TreeControl::SelectAllShown() {
    const size_t count = m_rows->size();
    std::vector<TreeItem*> items;
    items.reserve(count);
    for (size_t row = 0; row < count; ++row) items.push_back(m_rows->at(row));
    changeSelection(items, true);
}

void TreeControl::SetFocusItem(TreeItem* item) {
    if (item && item->GetTree() != this) return;
    m_focus = item;
    Refresh();
}

void TreeControl::userSelect(TreeItem* item, bool ctrl, bool shift) {
    std::vector<TreeItem*> items;
    if (shift && m_anchor && IsShown(m_anchor)) {
        if (ctrl) items = m_selection;
        long from = m_rows->rowOf(m_anchor), to = m_rows->rowOf(item);
        const bool down = from <= to;
        for (long row = from;; row += down ? 1 : -1) {
            items.push_back(m_rows->at(size_t(row)));
            if (row == to) break;
        }
    } else if (ctrl) {
        items = m_selection;
        auto it = std::find(items.begin(), items.end(), item);
        if (it != items.end()) items.erase(it);
        else items.push_back(item);
        m_anchor = item;
    } else {
        items.push_back(item);
        m_anchor = item;
    }
    m_focus = item;
    changeSelection(items, true);
}

// ---------------------------------------------------------------------------------------------
// Mouse

void TreeControl::onMouse(wxMouseEvent& event) {
    SetFocus();
    if (m_editItem) EndLabelEdit(false);
    TreeItem* item = HitTest(event.GetPosition());
    const wxPoint logical = clientToLogical(event.GetPosition());
    if (event.RightDown()) {
        if (item) {
            SetFocusItem(item);
            showItemMenu(item, logical);
        }
        return;
    }
    if (!item) {
        if (event.LeftDown() && !event.ControlDown() && !event.ShiftDown()) changeSelection({}, true);
        return;
    }
    const int depthX = 2 + item->GetDepth() * (ExpanderWidth + m_indent);
    const bool onExpander = logical.x >= depthX && logical.x < depthX + ExpanderWidth && item->HasChildren();
    const int check = checkBoxHit(item, logical.x);
    // The second press of a double-click arrives as the double-click alone: on the expander or a
    // check box, or with a modifier, it counts as a click; on a plain row it activates the item.
    if (event.LeftDClick() && !onExpander && check < 0 && !event.ControlDown() && !event.ShiftDown()) {
        activate(item);
        return;
    }
    if (onExpander) {
        const bool expand = !item->IsExpanded();
        expand ? item->Expand() : item->Collapse();
        TreeEvent changed(expand ? wxEVT_VEL_TREE_ITEM_EXPANDED : wxEVT_VEL_TREE_ITEM_COLLAPSED, GetId(), item);
        changed.SetEventObject(this);
        ProcessWindowEvent(changed);
        updateScrollbars();
        return;
    }
    if (check >= 0) {
        toggleCheck(item, check);
        return;
    }
    userSelect(item, event.ControlDown(), event.ShiftDown());
    // A press on a selected item may become a drag of the whole selection.
    if (event.LeftDown() && item->IsSelected()) m_drag.press(item, event.GetPosition(), m_selection);
    else m_drag.reset();
}

// ---------------------------------------------------------------------------------------------
// Dragging items

void TreeControl::onMiddlePress(wxMouseEvent& event) {
    event.Skip();
    // The middle button drags the item under the pointer without selecting it, so that it can be
    // dropped onto a panel that shows the selection.
    TreeItem* item = HitTest(event.GetPosition());
    m_middleDrag = item != nullptr && item != GetRoot();
    if (m_middleDrag) m_drag.press(item, event.GetPosition(), {item});
    else m_drag.reset();
}

void TreeControl::onDragMotion(wxMouseEvent& event) {
    event.Skip();
    if (!(m_middleDrag ? event.MiddleIsDown() : event.LeftIsDown())) return;
    if (m_drag.move(event.GetPosition(), std::max(3, wxSystemSettings::GetMetric(wxSYS_DRAG_X, this))))
        CaptureMouse();
    if (!m_drag.isDragging()) return;
    m_dragOutside = !GetClientRect().Contains(event.GetPosition());
    if (m_dragOutside) {
        m_dragScreenPoint = ClientToScreen(event.GetPosition());
        const bool allowed = canDropItemsOutside(m_drag.items(), m_dragScreenPoint);
        m_drag.aim(nullptr, TreeDropPlace::Onto, allowed);
        SetCursor(wxCursor(allowed ? wxCURSOR_ARROW : wxCURSOR_NO_ENTRY));
        Refresh(false);
        return;
    }
    TreeItem* target = HitTest(event.GetPosition());
    TreeDropPlace place = TreeDropPlace::Onto;
    if (target) {
        const wxRect label = GetLabelRect(target);
        place = TreeItemDrag::placeIn(event.GetPosition().y - label.y, label.height);
    }
    const bool allowed = target && !m_drag.targetsItself(target) && canDropItems(m_drag.items(), target, place);
    m_drag.aim(target, place, allowed);
    SetCursor(wxCursor(allowed ? wxCURSOR_ARROW : wxCURSOR_NO_ENTRY));
    Refresh(false);
}

void TreeControl::onDragRelease(wxMouseEvent& event) {
    event.Skip();
    endDrag(m_drag.isDragging() && m_drag.isAllowed());
}

void TreeControl::endDrag(bool drop) {
    const bool wasDragging = m_drag.isDragging();
    const std::vector<TreeItem*> items = m_drag.items();
    TreeItem* target = m_drag.target();
    const TreeDropPlace place = m_drag.place();
    const bool outside = m_dragOutside;
    m_dragOutside = false;
    m_middleDrag = false;
    m_drag.reset();
    if (HasCapture()) ReleaseMouse();
    if (!wasDragging) return;
    SetCursor(wxNullCursor);
    Refresh(false);
    if (drop && outside) onDropItemsOutside(items, m_dragScreenPoint);
    else if (drop) onDropItems(items, target, place);
}

void TreeControl::toggleCheck(TreeItem* item, int column) {
    // Off becomes on; on, and on but overridden, become off.
    item->SetCheckState(column, item->GetCheckState(column) == 1 ? 2 : 1);
    onCheckChanged(item, column);
    TreeEvent event(wxEVT_VEL_TREE_CHECK_CHANGED, GetId(), item);
    event.SetEventObject(this);
    event.SetColumn(column);
    ProcessWindowEvent(event);
}

void TreeControl::activate(TreeItem* item) {
    if (!item) return;
    onItemActivated(item);
    TreeEvent event(wxEVT_VEL_TREE_ITEM_ACTIVATED, GetId(), item);
    event.SetEventObject(this);
    if (!ProcessWindowEvent(event) && item->HasChildren()) {
        item->IsExpanded() ? item->Collapse() : item->Expand();
        updateScrollbars();
    }
}

void TreeControl::showItemMenu(TreeItem* item, const wxPoint& logical) {
    TreeEvent event(wxEVT_VEL_TREE_ITEM_MENU, GetId(), item);
    event.SetEventObject(this);
    event.SetPoint(logical);
    onItemMenu(event);
    ProcessWindowEvent(event);
}

void TreeControl::onContextMenu(wxContextMenuEvent& event) {
    // The menu key or Shift+F10: the focus item's menu, at its label.
    TreeItem* item = m_focus;
    if (!item || !IsShown(item)) return;
    EnsureVisible(item);
    const wxRect label = GetLabelRect(item);
    showItemMenu(item, clientToLogical(wxPoint(label.x + 4, label.GetBottom())));
}

}  // namespace wxUtils

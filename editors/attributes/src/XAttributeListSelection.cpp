#include <velxui/XAttributeListControl.h>
#include <velxui/XAttributeListSelection.h>
#include <velxui/XAttributeSource.h>

#include <veleditors/VelAttributeGroup.h>

#include <wx/scrolwin.h>

#include <algorithm>

namespace VelXUI {

XAttributeListSelection::XAttributeListSelection(const std::vector<XAttributeListControl*>& lists,
                                                 wxScrolledWindow* const& scroll)
    : m_lists(lists), m_scroll(scroll) {}

template <typename Apply>
void XAttributeListSelection::setOnSelectedRows(Apply apply) const {
    for (XAttributeListControl* list : m_lists) {
        for (int row : list->getSelectedItems()) {
            wxUtils::VelAttributeGroup* group = list->GetAttributeGroup(row);
            if (!group || list->isItemReadOnly(row)) continue;
            if (apply(*group)) group->rebuild();
        }
        list->Refresh(false);
    }
}

void XAttributeListSelection::setValue(int value) const {
    setOnSelectedRows([value](wxUtils::VelAttributeGroup& group) {
        if (group.getType() == wxUtils::VelAttribute::Integer) return group.setIntegerValue(value);
        if (group.getType() == wxUtils::VelAttribute::Float) return group.setFloatValue(static_cast<float>(value));
        return false;
    });
}

void XAttributeListSelection::setValue(float value) const {
    setOnSelectedRows([value](wxUtils::VelAttributeGroup& group) {
        if (group.getType() == wxUtils::VelAttribute::Integer) return group.setIntegerValue(static_cast<int>(value));
        if (group.getType() == wxUtils::VelAttribute::Float) return group.setFloatValue(value);
        return false;
    });
}

void XAttributeListSelection::setValue(bool value) const {
    setOnSelectedRows([value](wxUtils::VelAttributeGroup& group) {
        return group.getType() == wxUtils::VelAttribute::Boolean && group.setBooleanValue(value);
    });
}

void XAttributeListSelection::setValue(const std::wstring& value) const {
    const wxString text(value);
    setOnSelectedRows([&text](wxUtils::VelAttributeGroup& group) {
        if (group.getType() == wxUtils::VelAttribute::Enumeration) return group.setEnumerationValue(text);
        if (group.getType() == wxUtils::VelAttribute::String) return group.setStringValue(text);
        return false;
    });
}

void XAttributeListSelection::rememberScrubStart() const {
    for (XAttributeListControl* list : m_lists)
        for (int row : list->getSelectedItems())
            if (wxUtils::VelAttributeGroup* group = list->GetAttributeGroup(row))
                static_cast<XAttributeSource*>(group->getAttribute())->rememberScrubStart();
}

void XAttributeListSelection::offsetValue(float delta) const {
    setOnSelectedRows([delta](wxUtils::VelAttributeGroup& group) {
        return static_cast<XAttributeSource*>(group.getAttribute())->offsetFromScrubStart(delta);
    });
}

int XAttributeListSelection::listIndex(const XAttributeListControl* list) const {
    const auto found = std::find(m_lists.begin(), m_lists.end(), list);
    return found == m_lists.end() ? -1 : static_cast<int>(found - m_lists.begin());
}

void XAttributeListSelection::clear() const {
    for (XAttributeListControl* list : m_lists) list->clearSelection();
}

void XAttributeListSelection::selectAll() const {
    for (XAttributeListControl* list : m_lists) list->selectAll();
}

void XAttributeListSelection::clearHighlighted(int column) const {
    for (XAttributeListControl* list : m_lists) list->clearHighlightedItems(column);
}

void XAttributeListSelection::selectExclusively(XAttributeListControl* list, int item) const {
    clear();
    if (list) list->selectExclusively(item);
}

void XAttributeListSelection::moveToList(size_t index, XAttributeListControl* from, bool toEnd) const {
    // Collapsed and empty sections are passed over: their rows are not on screen.
    while (index < m_lists.size() && (!m_lists[index]->isExpanded() || m_lists[index]->getItemCount() == 0)) {
        if (toEnd && index == 0) return;
        index = toEnd ? index - 1 : index + 1;
    }
    if (index >= m_lists.size()) return;
    XAttributeListControl* target = m_lists[index];
    clear();
    target->SetFocus();
    if (from) target->setSelectionColumn(from->getSelectionColumn());
    if (toEnd) target->selectEnd();
    else target->selectHome();
    if (m_scroll) {
        // Bring the new row into view.
        const wxRect row = target->getItemRect(target->getFocusItem());
        const wxPoint at = m_scroll->CalcUnscrolledPosition(target->GetPosition() + row.GetTopLeft());
        int unitX = 0, unitY = 0;
        m_scroll->GetScrollPixelsPerUnit(&unitX, &unitY);
        const int viewTop = m_scroll->GetViewStart().y * std::max(unitY, 1);
        const int viewHeight = m_scroll->GetClientSize().y;
        if (unitY > 0 && (at.y < viewTop || at.y + row.height > viewTop + viewHeight))
            m_scroll->Scroll(-1, std::max(0, at.y - viewHeight / 2) / unitY);
    }
}

void XAttributeListSelection::selectHome(XAttributeListControl* list, int, bool, bool) const {
    if (!m_lists.empty()) moveToList(0, list, false);
}

void XAttributeListSelection::selectEnd(XAttributeListControl* list, int, bool, bool) const {
    if (!m_lists.empty()) moveToList(m_lists.size() - 1, list, true);
}

void XAttributeListSelection::selectNextRow(XAttributeListControl* list, int item, bool extend, bool toggle) const {
    const int index = listIndex(list);
    if (index < 0) return;
    if (item < list->getItemCount() - 1) list->selectNextRow(item, extend, toggle);
    else moveToList(static_cast<size_t>(index) + 1, list, false);
}

void XAttributeListSelection::selectPreviousRow(XAttributeListControl* list, int item, bool extend, bool toggle) const {
    const int index = listIndex(list);
    if (index < 0) return;
    if (item >= 1) list->selectPreviousRow(item, extend, toggle);
    else if (index > 0) moveToList(static_cast<size_t>(index) - 1, list, true);
}

void XAttributeListSelection::selectPageDown(XAttributeListControl* list, int item, bool extend, bool) const {
    const int index = listIndex(list);
    if (index < 0) return;
    if (item >= list->getItemCount() - 1) moveToList(static_cast<size_t>(index) + 1, list, false);
    else list->selectEnd(extend);
}

void XAttributeListSelection::selectPageUp(XAttributeListControl* list, int item, bool extend, bool) const {
    const int index = listIndex(list);
    if (index < 0) return;
    if (item <= 0) {
        if (index > 0) moveToList(static_cast<size_t>(index) - 1, list, true);
    } else {
        list->selectHome(extend);
    }
}

void XAttributeListSelection::highlightInScreenRect(int column, const wxRect& screenRect, bool add) const {
    for (XAttributeListControl* list : m_lists)
        if (list->hasListWindow()) list->highlightItemsInScreenRect(column, screenRect, add);
}

wxUtils::VelListItem XAttributeListSelection::hitTest(const wxPoint& screenPoint, int* column) const {
    for (XAttributeListControl* list : m_lists) {
        const int row = list->itemHitTest(screenPoint, column);
        if (row >= 0) return wxUtils::VelListItem{list, row};
    }
    return {};
}

bool XAttributeListSelection::editInNextList(XAttributeListControl* list, bool backwards) const {
    const int index = listIndex(list);
    if (index < 0) return false;
    const int step = backwards ? -1 : 1;
    for (int i = index + step; i >= 0 && i < static_cast<int>(m_lists.size()); i += step) {
        XAttributeListControl* target = m_lists[i];
        const int row = backwards ? target->findTypableRow(target->getItemCount() - 1, -1) : target->findTypableRow(0, 1);
        if (row < 0) continue;
        selectExclusively(target, row);
        target->SetFocus();
        return target->beginEdit(row);
    }
    return false;
}

}  // namespace VelXUI

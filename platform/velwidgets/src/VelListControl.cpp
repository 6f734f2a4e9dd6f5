#include <velwidgets/VelListControl.h>
#include <velwidgets/VelListEvent.h>

#include <wx/dcbuffer.h>
#include <wx/dcclient.h>
#include <wx/renderer.h>

#include <algorithm>

namespace wxUtils {

namespace {
constexpr int DragThreshold = 3;  // pixels the pointer moves before a press becomes a drag
}

VelListControl::VelListControl() = default;

VelListControl::~VelListControl() {
    if (HasCapture()) ReleaseMouse();
}

bool VelListControl::Create(wxWindow* parent, wxWindowID id, const wxPoint& pos, const wxSize& size, long style,
                            const wxString& name) {
    if (!parent || GetHandle()) return false;
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    if (!wxWindow::Create(parent, id, pos, size, style | wxWANTS_CHARS | wxFULL_REPAINT_ON_RESIZE, name))
        return false;
    m_rowHeight = std::max(18, GetCharHeight() + 6);
    Bind(wxEVT_PAINT, &VelListControl::onPaint, this);
    Bind(wxEVT_SIZE, &VelListControl::onSize, this);
    Bind(wxEVT_LEFT_DOWN, &VelListControl::onLeftDown, this);
    Bind(wxEVT_LEFT_DCLICK, &VelListControl::onLeftDown, this);
    Bind(wxEVT_LEFT_UP, &VelListControl::onLeftUp, this);
    Bind(wxEVT_MOTION, &VelListControl::onMotion, this);
    Bind(wxEVT_RIGHT_DOWN, &VelListControl::onRightDown, this);
    Bind(wxEVT_CONTEXT_MENU, &VelListControl::onContextMenuKey, this);
    Bind(wxEVT_KEY_DOWN, &VelListControl::onKeyDown, this);
    Bind(wxEVT_SET_FOCUS, &VelListControl::onFocus, this);
    Bind(wxEVT_KILL_FOCUS, &VelListControl::onFocus, this);
    Bind(wxEVT_MOUSE_CAPTURE_LOST, &VelListControl::onCaptureLost, this);
    return true;
}

void VelListControl::setTitle(const wxString& title) {
    m_title = title;
    rowsChanged();
}

void VelListControl::setExpanded(bool expanded) {
    if (m_expanded == expanded) return;
    m_expanded = expanded;
    rowsChanged();
    VelListEvent event(wxEVT_VELLIST_ROLLUP, GetId(), -1);
    event.SetEventObject(this);
    event.SetInt(expanded ? 1 : 0);
    ProcessWindowEvent(event);
}

void VelListControl::setNameColumnShare(float share) {
    if (!(share >= 0.1f)) share = 0.1f;  // NaN lands here too
    m_nameShare = std::min(share, 0.9f);
    Refresh(false);
}

int VelListControl::getNameColumnWidth() const {
    return static_cast<int>(GetClientSize().x * m_nameShare);
}

wxRect VelListControl::getItemRect(int row) const {
    if (!m_expanded || row < 0 || row >= getItemCount()) return wxRect();
    return wxRect(0, getTitleHeight() + row * m_rowHeight, GetClientSize().x, m_rowHeight);
}

int VelListControl::hitTestRow(const wxPoint& client, int* column) const {
    if (column) *column = client.x < getNameColumnWidth() ? NameColumn : ValueColumn;
    const int y = client.y - getTitleHeight();
    if (!m_expanded || y < 0 || client.x < 0 || client.x >= GetClientSize().x) return -1;
    const int row = y / m_rowHeight;
    return row < getItemCount() ? row : -1;
}

int VelListControl::itemHitTest(const wxPoint& screen, int* column) const {
    if (!hasListWindow()) return -1;
    return hitTestRow(ScreenToClient(screen), column);
}

bool VelListControl::isItemSelected(int row) const {
    return row >= 0 && row < static_cast<int>(m_selected.size()) && m_selected[row];
}

int VelListControl::getSelectedCount() const {
    return static_cast<int>(std::count(m_selected.begin(), m_selected.end(), true));
}

std::vector<int> VelListControl::getSelectedItems() const {
    std::vector<int> rows;
    for (size_t i = 0; i < m_selected.size(); ++i)
        if (m_selected[i]) rows.push_back(static_cast<int>(i));
    return rows;
}

void VelListControl::selectItem(int row, bool select) {
    const int count = getItemCount();
    if (row < 0 || row >= count) return;
    m_selected.resize(count, false);
    if (m_selected[row] == select) return;
    m_selected[row] = select;
    RefreshRect(getItemRect(row), false);
    notifySelectionChanged();
}

void VelListControl::selectExclusively(int row) {
    const int count = getItemCount();
    m_selected.assign(count, false);
    if (row >= 0 && row < count) {
        m_selected[row] = true;
        m_anchor = row;
        setFocusItem(row);
    }
    Refresh(false);
    notifySelectionChanged();
}

void VelListControl::selectRange(int from, int to) {
    const int count = getItemCount();
    if (count == 0) return;
    from = std::clamp(from < 0 ? to : from, 0, count - 1);
    to = std::clamp(to, 0, count - 1);
    m_selected.assign(count, false);
    for (int i = std::min(from, to); i <= std::max(from, to); ++i) m_selected[i] = true;
    setFocusItem(to);
    Refresh(false);
    notifySelectionChanged();
}

void VelListControl::selectNextRow(int row, bool extend, bool toggle) {
    const int count = getItemCount();
    if (count == 0) return;
    const int next = row < 0 ? 0 : std::min(row + 1, count - 1);
    if (extend) selectRange(m_anchor, next);
    else if (toggle) setFocusItem(next);
    else selectExclusively(next);
}

void VelListControl::selectPreviousRow(int row, bool extend, bool toggle) {
    const int count = getItemCount();
    if (count == 0) return;
    const int previous = row < 0 ? count - 1 : std::max(row - 1, 0);
    if (extend) selectRange(m_anchor, previous);
    else if (toggle) setFocusItem(previous);
    else selectExclusively(previous);
}

void VelListControl::selectHome(bool extend) {
    if (getItemCount() == 0) return;
    if (extend) selectRange(m_anchor, 0);
    else selectExclusively(0);
}

void VelListControl::selectEnd(bool extend) {
    const int count = getItemCount();
    if (count == 0) return;
    if (extend) selectRange(m_anchor, count - 1);
    else selectExclusively(count - 1);
}

void VelListControl::selectPageDown(int row, bool extend, bool toggle) {
    const int count = getItemCount();
    if (count == 0) return;
    const wxWindow* view = GetParent() ? GetParent() : this;
    const int page = std::max(1, view->GetClientSize().y / m_rowHeight - 1);
    const int target = std::min(std::max(row, 0) + page, count - 1);
    if (extend) selectRange(m_anchor, target);
    else if (toggle) setFocusItem(target);
    else selectExclusively(target);
}

void VelListControl::selectPageUp(int row, bool extend, bool toggle) {
    const int count = getItemCount();
    if (count == 0) return;
    const wxWindow* view = GetParent() ? GetParent() : this;
    const int page = std::max(1, view->GetClientSize().y / m_rowHeight - 1);
    const int target = std::max((row < 0 ? count - 1 : row) - page, 0);
    if (extend) selectRange(m_anchor, target);
    else if (toggle) setFocusItem(target);
    else selectExclusively(target);
}

void VelListControl::selectAll() {
    m_selected.assign(getItemCount(), true);
    Refresh(false);
    notifySelectionChanged();
}

void VelListControl::clearSelection() {
    if (getSelectedCount() == 0) return;
    m_selected.assign(getItemCount(), false);
    Refresh(false);
    notifySelectionChanged();
}

void VelListControl::clearHighlightedItems(int) {
    clearSelection();
}

void VelListControl::highlightItemsInScreenRect(int, const wxRect& screenRect, bool add) {
    if (!hasListWindow()) return;
    const wxRect rect(ScreenToClient(screenRect.GetTopLeft()), screenRect.GetSize());
    const int count = getItemCount();
    m_selected.resize(count, false);
    bool changed = false;
    for (int row = 0; row < count; ++row) {
        const bool inside = m_expanded && getItemRect(row).Intersects(rect);
        const bool selected = inside || (add && m_selected[row]);
        if (m_selected[row] != selected) {
            m_selected[row] = selected;
            changed = true;
        }
    }
    if (changed) {
        Refresh(false);
        notifySelectionChanged();
    }
}

void VelListControl::renderTo(wxDC& dc, const wxRect& clip) {
    const ColourScheme& colours = scheme();
    const wxSize size = GetClientSize();
    dc.SetBrush(wxBrush(colours.windowBackground));
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.DrawRectangle(clip);
    dc.SetFont(GetFont());
    if (hasTitle()) drawTitle(dc, wxRect(0, 0, size.x, getTitleHeight()));
    const int count = getItemCount();
    if (!m_expanded || count == 0) return;
    const int top = getTitleHeight();
    // Only the rows that meet the clip are drawn.
    const int first = std::max(0, (clip.GetTop() - top) / m_rowHeight);
    const int last = std::min(count - 1, (clip.GetBottom() - top) / m_rowHeight);
    for (int row = first; row <= last; ++row) {
        const wxRect rect(0, top + row * m_rowHeight, size.x, m_rowHeight);
        drawItem(dc, row, rect, isItemSelected(row));
        if (row == m_focus && HasFocus()) {
            dc.SetBrush(*wxTRANSPARENT_BRUSH);
            dc.SetPen(wxPen(colours.focusOutline, 1, wxPENSTYLE_DOT));
            dc.DrawRectangle(wxRect(rect).Deflate(1));
        }
    }
}

void VelListControl::drawTitle(wxDC& dc, const wxRect& rect) {
    const ColourScheme& colours = scheme();
    dc.SetBrush(wxBrush(colours.titleBackground));
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.DrawRectangle(rect);
    // The expander triangle, pointing down when open.
    const int cx = rect.x + 9, cy = rect.y + rect.height / 2;
    wxPoint triangle[3];
    if (m_expanded) {
        triangle[0] = {cx - 4, cy - 2};
        triangle[1] = {cx + 4, cy - 2};
        triangle[2] = {cx, cy + 3};
    } else {
        triangle[0] = {cx - 2, cy - 4};
        triangle[1] = {cx - 2, cy + 4};
        triangle[2] = {cx + 3, cy};
    }
    dc.SetBrush(wxBrush(colours.text));
    dc.DrawPolygon(3, triangle);
    wxFont bold = GetFont();
    bold.MakeBold();
    dc.SetFont(bold);
    dc.SetTextForeground(colours.text);
    dc.DrawLabel(m_title, wxRect(rect.x + 18, rect.y, rect.width - 20, rect.height), wxALIGN_LEFT | wxALIGN_CENTRE_VERTICAL);
    dc.SetFont(GetFont());
}

void VelListControl::onColourSchemeChanged(const ColourScheme&) {
    if (GetHandle()) Refresh(false);
}

wxSize VelListControl::DoGetBestClientSize() const {
    const int rows = m_expanded ? getItemCount() : 0;
    return wxSize(120, getTitleHeight() + rows * m_rowHeight);
}

void VelListControl::rowsChanged() {
    const int count = getItemCount();
    m_selected.resize(count, false);
    if (m_focus >= count) m_focus = count - 1;
    if (m_anchor >= count) m_anchor = -1;
    if (!GetHandle()) return;
    InvalidateBestSize();
    SetMinClientSize(DoGetBestClientSize());
    Refresh(false);
}

void VelListControl::notifySelectionChanged() {
    if (!GetHandle()) return;
    VelListEvent event(wxEVT_VELLIST_SELECTION_CHANGED, GetId(), m_focus);
    event.SetEventObject(this);
    ProcessWindowEvent(event);
}

void VelListControl::setFocusItem(int row) {
    if (row == m_focus) return;
    RefreshRect(getItemRect(m_focus), false);
    m_focus = row;
    RefreshRect(getItemRect(m_focus), false);
}

bool VelListControl::onItemClicked(int, int, const wxMouseEvent&) { return false; }
bool VelListControl::onItemDragStart(int, int, const wxPoint&) { return false; }
void VelListControl::onItemDrag(const wxPoint&) {}
void VelListControl::onItemDragEnd() {}
bool VelListControl::onItemKey(int, const wxKeyEvent&) { return false; }

void VelListControl::onRequestSelectNextRow(int row, bool extend, bool toggle) { selectNextRow(row, extend, toggle); }
void VelListControl::onRequestSelectPreviousRow(int row, bool extend, bool toggle) {
    selectPreviousRow(row, extend, toggle);
}
void VelListControl::onRequestSelectEnd(int, bool extend, bool) { selectEnd(extend); }
void VelListControl::onRequestSelectHome(int, bool extend, bool) { selectHome(extend); }
void VelListControl::onRequestSelectPageDown(int row, bool extend, bool toggle) { selectPageDown(row, extend, toggle); }
void VelListControl::onRequestSelectPageUp(int row, bool extend, bool toggle) { selectPageUp(row, extend, toggle); }
void VelListControl::onRequestSelectAll() { selectAll(); }
void VelListControl::onRequestSelectExclusively(int row) { selectExclusively(row); }
void VelListControl::onRequestClearHighlightedItems(int column) { clearHighlightedItems(column); }
void VelListControl::onRequestHighlightItemsInScreenRect(int column, const wxRect& screenRect, bool add) {
    highlightItemsInScreenRect(column, screenRect, add);
}
VelListItem VelListControl::onRequestItemHitTest(const wxPoint& screen, int* column) {
    const int row = itemHitTest(screen, column);
    return row < 0 ? VelListItem{} : VelListItem{this, row};
}

void VelListControl::onPaint(wxPaintEvent&) {
    wxAutoBufferedPaintDC dc(this);
    renderTo(dc, GetUpdateRegion().GetBox());
}

void VelListControl::onSize(wxSizeEvent& event) {
    Refresh(false);
    event.Skip();
}

void VelListControl::onLeftDown(wxMouseEvent& event) {
    SetFocus();
    const wxPoint at = event.GetPosition();
    if (hasTitle() && at.y < getTitleHeight()) {
        setExpanded(!m_expanded);
        return;
    }
    int column = NameColumn;
    const int row = hitTestRow(at, &column);
    m_selectionColumn = column;
    m_pressRow = row;
    m_pressColumn = column;
    m_pressScreen = ClientToScreen(at);
    m_pressAdd = event.ControlDown() || event.ShiftDown();
    if (row >= 0) {
        if (event.ControlDown()) {
            selectItem(row, !isItemSelected(row));
            m_anchor = row;
            setFocusItem(row);
        } else if (event.ShiftDown()) {
            selectRange(m_anchor, row);
        } else if (!isItemSelected(row) || (getSelectedCount() != 1 && column != ValueColumn)) {
            // A press on the value of a row that is part of a larger selection keeps the selection:
            // the typed or scrubbed value then goes to every selected row.
            onRequestSelectExclusively(row);
        }
    }
    m_gesture = Gesture::Pending;
    if (!HasCapture()) CaptureMouse();
}

void VelListControl::onMotion(wxMouseEvent& event) {
    if (m_gesture == Gesture::None || !event.LeftIsDown()) return;
    const wxPoint screen = ClientToScreen(event.GetPosition());
    if (m_gesture == Gesture::Pending) {
        const wxPoint moved = screen - m_pressScreen;
        if (std::abs(moved.x) < DragThreshold && std::abs(moved.y) < DragThreshold) return;
        const bool plain = !m_pressAdd;
        if (m_pressRow >= 0 && plain && onItemDragStart(m_pressRow, m_pressColumn, ScreenToClient(m_pressScreen)))
            m_gesture = Gesture::Item;
        else
            m_gesture = Gesture::Rectangle;
    }
    if (m_gesture == Gesture::Item) {
        onItemDrag(event.GetPosition());
    } else {
        wxRect rect(m_pressScreen, screen);
        onRequestHighlightItemsInScreenRect(m_selectionColumn, rect, m_pressAdd);
    }
}

void VelListControl::onLeftUp(wxMouseEvent& event) {
    const Gesture gesture = m_gesture;
    endMouseGesture();
    if (gesture == Gesture::Item) {
        onItemDragEnd();
    } else if (gesture == Gesture::Pending && m_pressRow >= 0 && !m_pressAdd) {
        int column = NameColumn;
        if (hitTestRow(event.GetPosition(), &column) == m_pressRow) onItemClicked(m_pressRow, column, event);
    }
}

void VelListControl::onCaptureLost(wxMouseCaptureLostEvent&) {
    const Gesture gesture = m_gesture;
    m_gesture = Gesture::None;
    if (gesture == Gesture::Item) onItemDragEnd();
}

void VelListControl::endMouseGesture() {
    m_gesture = Gesture::None;
    if (HasCapture()) ReleaseMouse();
}

void VelListControl::onRightDown(wxMouseEvent& event) {
    SetFocus();
    const int row = hitTestRow(event.GetPosition());
    if (row >= 0 && !isItemSelected(row)) onRequestSelectExclusively(row);
    VelListEvent menu(wxEVT_VELLIST_CONTEXT_MENU, GetId(), row);
    menu.SetEventObject(this);
    menu.setPosition(event.GetPosition());
    ProcessWindowEvent(menu);
}

void VelListControl::onContextMenuKey(wxContextMenuEvent& event) {
    // The Menu key or Shift+F10 (a right click also arrives here, with a position: it was handled
    // on the button press): the focus row's menu, at the row.
    if (event.GetPosition() != wxDefaultPosition) {
        event.Skip();
        return;
    }
    int row = m_focus;
    if (row < 0 && !getSelectedItems().empty()) row = getSelectedItems().back();
    if (row < 0) {
        event.Skip();
        return;
    }
    if (!isItemSelected(row)) onRequestSelectExclusively(row);
    const wxRect rect = getItemRect(row);
    VelListEvent menu(wxEVT_VELLIST_CONTEXT_MENU, GetId(), row);
    menu.SetEventObject(this);
    menu.setPosition(wxPoint(rect.x + rect.width / 3, rect.GetBottom()));
    ProcessWindowEvent(menu);
}

void VelListControl::onKeyDown(wxKeyEvent& event) {
    const bool extend = event.ShiftDown();
    const bool toggle = event.ControlDown();
    const int row = m_focus;
    switch (event.GetKeyCode()) {
    case WXK_DOWN: onRequestSelectNextRow(row, extend, toggle); return;
    case WXK_UP: onRequestSelectPreviousRow(row, extend, toggle); return;
    case WXK_HOME: onRequestSelectHome(row, extend, toggle); return;
    case WXK_END: onRequestSelectEnd(row, extend, toggle); return;
    case WXK_PAGEDOWN: onRequestSelectPageDown(row, extend, toggle); return;
    case WXK_PAGEUP: onRequestSelectPageUp(row, extend, toggle); return;
    default: break;
    }
    if (toggle && (event.GetKeyCode() == 'A' || event.GetKeyCode() == 'a')) {
        onRequestSelectAll();
        return;
    }
    if (!onItemKey(row, event)) event.Skip();
}

void VelListControl::onFocus(wxFocusEvent& event) {
    RefreshRect(getItemRect(m_focus), false);
    event.Skip();
}

}  // namespace wxUtils

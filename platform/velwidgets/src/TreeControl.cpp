#include <velwidgets/TreeControl.h>

#include "TreeGraveyard.h"
#include "TreeRows.h"

#include <wx/app.h>
#include <wx/dcbuffer.h>
#include <wx/renderer.h>
#include <wx/textctrl.h>
#include <wx/time.h>

#include <algorithm>
#include <limits>

namespace wxUtils {

wxDEFINE_EVENT(wxEVT_VEL_TREE_SEL_CHANGED, TreeEvent);
wxDEFINE_EVENT(wxEVT_VEL_TREE_ITEM_ACTIVATED, TreeEvent);
wxDEFINE_EVENT(wxEVT_VEL_TREE_ITEM_MENU, TreeEvent);
wxDEFINE_EVENT(wxEVT_VEL_TREE_ITEM_EXPANDED, TreeEvent);
wxDEFINE_EVENT(wxEVT_VEL_TREE_ITEM_COLLAPSED, TreeEvent);
wxDEFINE_EVENT(wxEVT_VEL_TREE_BEGIN_LABEL_EDIT, TreeEvent);
wxDEFINE_EVENT(wxEVT_VEL_TREE_END_LABEL_EDIT, TreeEvent);
wxDEFINE_EVENT(wxEVT_VEL_TREE_CHECK_CHANGED, TreeEvent);
wxDEFINE_EVENT(wxEVT_VEL_TREE_KEY_DOWN, TreeEvent);

namespace {
const int SwatchSize = 12;
const int Gap = 3;
const long long TypeAheadPauseMs = 1000;

// Case-insensitive prefix test without building lowered copies (type-ahead scans many rows).
bool startsWithNoCase(const wxString& text, const wxString& prefix) {
    if (text.length() < prefix.length()) return false;
    auto t = text.begin();
    for (auto p = prefix.begin(); p != prefix.end(); ++p, ++t)
        if (wxTolower(*t) != wxTolower(*p)) return false;
    return true;
}
}  // namespace

TreeControl::TreeControl() { init(); }

TreeControl::TreeControl(wxWindow* parent, wxWindowID id, const wxPoint& pos, const wxSize& size, long style,
                         const wxString& name) {
    init();
    Create(parent, id, pos, size, style, name);
}

void TreeControl::init() {
    m_rows = std::make_unique<TreeRows>();
    m_graveyard = std::make_unique<TreeGraveyard>();
    m_columns.push_back({wxString(), -1});
    m_scheme = activeColourScheme();
    m_expanderBrush = wxBrush(m_scheme.dimmedText);
    m_selectedExpanderBrush = wxBrush(m_scheme.selectionText);
}

TreeControl::~TreeControl() {
    m_destroying = true;
    if (m_editor) m_editor->Destroy();
    m_editor = nullptr;
    m_editItem = nullptr;
    TreeItem* root = m_root;
    m_root = nullptr;
    m_selection.clear();
    m_graveyard->bury(root);
    releaseReplacedItems();
}

void TreeControl::releaseReplacedItems() { m_graveyard->destroySome(std::numeric_limits<size_t>::max()); }

void TreeControl::buryTree(TreeItem* root) {
    // A replaced tree is no longer reachable from the control; its items are freed over the next turns
    // of the event loop, so that a large tree is replaced at once and freed without a long stall.
    const bool first = m_graveyard->empty();
    m_graveyard->bury(root);
    if (first) CallAfter([this] { destroyBuriedLater(); });
}

void TreeControl::destroyBuriedLater() {
    if (m_graveyard->destroySome(BuriedItemsPerTurn)) CallAfter([this] { destroyBuriedLater(); });
}

bool TreeControl::Create(wxWindow* parent, wxWindowID id, const wxPoint& pos, const wxSize& size, long style,
                         const wxString& name) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    if (!wxWindow::Create(parent, id, pos, size, style | wxVSCROLL | wxWANTS_CHARS | wxFULL_REPAINT_ON_RESIZE, name))
        return false;
    m_rowHeight = std::max(IconSize + 2, GetCharHeight() + 4);
    SetBackgroundColour(m_scheme.windowBackground);
    Bind(wxEVT_PAINT, &TreeControl::onPaint, this);
    Bind(wxEVT_SIZE, &TreeControl::onSize, this);
    Bind(wxEVT_LEFT_DOWN, &TreeControl::onMouse, this);
    Bind(wxEVT_LEFT_DCLICK, &TreeControl::onMouse, this);
    Bind(wxEVT_RIGHT_DOWN, &TreeControl::onMouse, this);
    Bind(wxEVT_MOUSEWHEEL, &TreeControl::onWheel, this);
    Bind(wxEVT_CONTEXT_MENU, &TreeControl::onContextMenu, this);
    Bind(wxEVT_KEY_DOWN, &TreeControl::onKeyDown, this);
    Bind(wxEVT_CHAR, &TreeControl::onChar, this);
    Bind(wxEVT_SET_FOCUS, &TreeControl::onFocus, this);
    Bind(wxEVT_KILL_FOCUS, &TreeControl::onFocus, this);
    Bind(wxEVT_SCROLLWIN_TOP, &TreeControl::onScroll, this);
    Bind(wxEVT_SCROLLWIN_BOTTOM, &TreeControl::onScroll, this);
    Bind(wxEVT_SCROLLWIN_LINEUP, &TreeControl::onScroll, this);
    Bind(wxEVT_SCROLLWIN_LINEDOWN, &TreeControl::onScroll, this);
    Bind(wxEVT_SCROLLWIN_PAGEUP, &TreeControl::onScroll, this);
    Bind(wxEVT_SCROLLWIN_PAGEDOWN, &TreeControl::onScroll, this);
    Bind(wxEVT_SCROLLWIN_THUMBTRACK, &TreeControl::onScroll, this);
    Bind(wxEVT_SCROLLWIN_THUMBRELEASE, &TreeControl::onScroll, this);
    updateScrollbars();
    return true;
}

// ---------------------------------------------------------------------------------------------
// Structure

void TreeControl::SetRoot(TreeItem* root) {
    if (root && (root->GetParent() || root->GetTree())) return;  // only an unattached item
    EndLabelEdit(true);
    for (TreeItem* item : m_selection) item->m_selected = false;
    m_selection.clear();
    m_focus = m_anchor = m_pendingVisible = nullptr;
    TreeItem* old = m_root;
    m_root = nullptr;
    m_rows->setRoot(nullptr);
    if (old) buryTree(old);
    if (root) {
        root->setTreeRecursive(this);
        m_root = root;
        m_mayHaveExpanded = root->IsExpanded() || root->HasChildren();
        m_rows->setRoot(root);
        for (std::vector<TreeItem*> stack{root}; !stack.empty();) {  // selection flags of a prepared tree
            TreeItem* item = stack.back();
            stack.pop_back();
            if (item->m_selected) m_selection.push_back(item);
            stack.insert(stack.end(), item->begin(), item->end());
        }
    }
    m_topRow = 0;
    m_widest = 0;
    updateScrollbars();
    Refresh();
}

void TreeControl::DeleteAllItems() { SetRoot(nullptr); }

void TreeControl::setExpandedBelow(TreeItem* top, bool expanded) {
    // Flags are set directly and the rows rebuilt once, instead of a splice per item.
    m_rows->invalidate();
    for (std::vector<TreeItem*> stack{top}; !stack.empty();) {
        TreeItem* item = stack.back();
        stack.pop_back();
        if (!item->HasChildren()) continue;
        stack.insert(stack.end(), item->begin(), item->end());
        item->m_expanded = expanded;
    }
}

void TreeControl::ExpandAll(TreeItem* item) {
    if (!item) item = m_root;
    if (!item || item->GetTree() != this) return;
    m_mayHaveExpanded = true;
    setExpandedBelow(item, true);
    updateScrollbars();
    Refresh();
}

void TreeControl::CollapseAll(TreeItem* item) {
    if (!item) item = m_root;
    if (!item || item->GetTree() != this) return;
    // Nothing was opened since the whole tree was last collapsed: a freshly built tree costs nothing.
    if (!m_mayHaveExpanded) return;
    setExpandedBelow(item, false);
    if (item == m_root) m_mayHaveExpanded = false;
    if (m_focus && !IsShown(m_focus)) m_focus = item;
    updateScrollbars();
    Refresh();
}

void TreeControl::itemAttached(TreeItem* item, size_t index) {
    if (item->IsExpanded() || item->HasChildren()) m_mayHaveExpanded = true;  // maybe opened inside
    TreeItem* parent = item->GetParent();
    // While the rows wait for a rebuild (building a tree), there is nothing to patch.
    if (!m_rows->isDirty() && parent && parent->IsExpanded() && IsShown(parent)) m_rows->itemShown(item, index);
    requestRepaint();
}

void TreeControl::itemDetaching(TreeItem* item) {
    if (m_rows->isDirty() || IsShown(item)) m_rows->itemHidden(item);
    if (m_editItem && (m_editItem == item || item->IsAncestorOf(m_editItem))) EndLabelEdit(true);
}

void TreeControl::itemDestroying(TreeItem* item) {
    if (m_focus == item) m_focus = nullptr;
    if (m_anchor == item) m_anchor = nullptr;
    if (m_pendingVisible == item) m_pendingVisible = nullptr;
    if (m_editItem == item) dropEditor();
    if (item->m_selected) {
        item->m_selected = false;
        auto it = std::find(m_selection.rbegin(), m_selection.rend(), item);
        if (it != m_selection.rend()) m_selection.erase(std::next(it).base());
    }
    if (m_root == item) {
        m_root = nullptr;
        m_rows->setRoot(nullptr);
    }
}

void TreeControl::itemChanged(TreeItem*) { requestRepaint(); }

void TreeControl::requestRepaint() {
    // Building a large tree changes many items before anything is drawn; one request is enough.
    if (m_repaintRequested) return;
    m_repaintRequested = true;
    Refresh();
}

void TreeControl::itemExpansionChanged(TreeItem* item, bool expanded) {
    if (expanded) m_mayHaveExpanded = true;
    if (IsShown(item)) expanded ? m_rows->childrenShown(item) : m_rows->childrenHidden(item);
    if (!expanded && m_focus && item->IsAncestorOf(m_focus)) m_focus = item;
    requestRepaint();
}

bool TreeControl::IsShown(const TreeItem* item) const {
    if (!item || item->GetTree() != this || !m_root) return false;
    for (const TreeItem* p = item->GetParent(); p; p = p->GetParent())
        if (!p->IsExpanded()) return false;
    // The top of the chain must be this tree's root (a detached branch still carries the tree).
    const TreeItem* top = item;
    while (top->GetParent()) top = top->GetParent();
    return top == m_root;
}

size_t TreeControl::GetShownRowCount() const { return m_rows->size(); }
TreeItem* TreeControl::GetRowItem(size_t row) const { return m_rows->at(row); }
long TreeControl::GetRowOf(const TreeItem* item) const {
    return item && item->GetTree() == this ? m_rows->rowOf(item) : -1;
}

// ---------------------------------------------------------------------------------------------
// Visibility and scrolling

void TreeControl::EnsureVisible(TreeItem* item) {
    if (!item) {
        EndLabelEdit(true);
        m_pendingVisible = nullptr;
        return;
    }
    if (item->GetTree() != this) return;
    // Bottom up: an item expanded under a collapsed parent adds no rows until the parent opens, and
    // then comes in with it, so the order does not matter and no list of ancestors is needed.
    for (TreeItem* p = item->GetParent(); p; p = p->GetParent()) p->Expand();
    // The scroll position is worked out when it is next needed (bringing many items into view in a
    // row scrolls once, to the last).
    m_pendingVisible = item;
    requestRepaint();
}

void TreeControl::resolvePendingVisible(bool updateBars) {
    TreeItem* item = m_pendingVisible;
    if (!item) return;
    m_pendingVisible = nullptr;
    const long row = m_rows->rowOf(item);
    if (row < 0) return;
    const size_t page = size_t(std::max(1, GetPageRows()));
    if (size_t(row) < m_topRow) m_topRow = size_t(row);
    else if (size_t(row) >= m_topRow + page) m_topRow = size_t(row) + 1 - page;
    if (updateBars) updateScrollbars();
    else if (GetHandle()) CallAfter([this] { updateScrollbars(); });  // not while drawing
}

size_t TreeControl::GetTopRow() const {
    const_cast<TreeControl*>(this)->resolvePendingVisible();
    return m_topRow;
}

int TreeControl::GetPageRows() const {
    return std::max(0, (GetClientSize().y - headerHeight()) / m_rowHeight);
}

void TreeControl::ScrollToRow(size_t row) {
    m_pendingVisible = nullptr;
    const size_t count = m_rows->size();
    const size_t page = size_t(std::max(1, GetPageRows()));
    const size_t last = count > page ? count - page : 0;
    m_topRow = std::min(row, last);
    updateScrollbars();
    Refresh();
}

void TreeControl::updateScrollbars() {
    if (!GetHandle()) return;
    resolvePendingVisible();
    const size_t count = m_rows->size();
    const int page = std::max(1, GetPageRows());
    const size_t last = count > size_t(page) ? count - size_t(page) : 0;
    if (m_topRow > last) m_topRow = last;
    SetScrollbar(wxVERTICAL, int(m_topRow), page, int(count));
    if (HasFlag(wxHSCROLL)) {
        const int width = GetClientSize().x;
        if (m_xOffset > std::max(0, m_widest - width)) m_xOffset = std::max(0, m_widest - width);
        SetScrollbar(wxHORIZONTAL, m_xOffset, width, m_widest);
    }
}

void TreeControl::onScroll(wxScrollWinEvent& event) {
    const bool vertical = event.GetOrientation() == wxVERTICAL;
    const int page = vertical ? std::max(1, GetPageRows()) : std::max(1, GetClientSize().x);
    const int line = vertical ? 1 : m_rowHeight;
    long position = vertical ? long(m_topRow) : m_xOffset;
    const wxEventType type = event.GetEventType();
    if (type == wxEVT_SCROLLWIN_TOP) position = 0;
    else if (type == wxEVT_SCROLLWIN_BOTTOM) position = vertical ? long(m_rows->size()) : m_widest;
    else if (type == wxEVT_SCROLLWIN_LINEUP) position -= line;
    else if (type == wxEVT_SCROLLWIN_LINEDOWN) position += line;
    else if (type == wxEVT_SCROLLWIN_PAGEUP) position -= page;
    else if (type == wxEVT_SCROLLWIN_PAGEDOWN) position += page;
    else position = event.GetPosition();
    position = std::max(0L, position);
    if (vertical) {
        ScrollToRow(size_t(position));
    } else {
        m_xOffset = int(std::min<long>(position, std::max(0, m_widest - GetClientSize().x)));
        updateScrollbars();
        Refresh();
    }
}

void TreeControl::onWheel(wxMouseEvent& event) {
    if (event.GetWheelAxis() != wxMOUSE_WHEEL_VERTICAL || event.GetWheelDelta() == 0) return;
    const long lines = long(event.GetWheelRotation()) * std::max(1, event.GetLinesPerAction()) / event.GetWheelDelta();
    ScrollToRow(size_t(std::max(0L, long(m_topRow) - lines)));
}

void TreeControl::onSize(wxSizeEvent& event) {
    updateScrollbars();
    if (m_editItem && m_editor) m_editor->SetSize(GetLabelRect(m_editItem));
    Refresh();
    event.Skip();
}

// ---------------------------------------------------------------------------------------------
// Geometry

wxPoint TreeControl::logicalToClient(const wxPoint& logical) const {
    const_cast<TreeControl*>(this)->resolvePendingVisible();
    return wxPoint(logical.x - m_xOffset, logical.y - int(m_topRow) * m_rowHeight + headerHeight());
}

wxPoint TreeControl::clientToLogical(const wxPoint& client) const {
    const_cast<TreeControl*>(this)->resolvePendingVisible();
    return wxPoint(client.x + m_xOffset, client.y + int(m_topRow) * m_rowHeight - headerHeight());
}

TreeItem* TreeControl::HitTest(const wxPoint& client) const {
    const_cast<TreeControl*>(this)->resolvePendingVisible();
    const int y = client.y - headerHeight();
    if (y < 0 || client.y >= GetClientSize().y) return nullptr;
    return m_rows->at(m_topRow + size_t(y / m_rowHeight));
}

wxRect TreeControl::GetItemRect(const TreeItem* item) const {
    const_cast<TreeControl*>(this)->resolvePendingVisible();
    const long row = GetRowOf(item);
    if (row < 0) return wxRect();
    return wxRect(0, headerHeight() + int(row - long(m_topRow)) * m_rowHeight, GetClientSize().x, m_rowHeight);
}

wxRect TreeControl::GetLabelRect(const TreeItem* item) const {
    wxRect row = GetItemRect(item);
    if (row.IsEmpty()) return row;
    const int left = labelLeft(item) - m_xOffset;
    const int right = m_columns.size() > 1 ? m_columns[0].width - m_xOffset : row.GetRight();
    return wxRect(left, row.y, std::max(40, right - left), row.height);
}

int TreeControl::labelLeft(const TreeItem* item) const {
    int x = 2 + item->GetDepth() * (ExpanderWidth + m_indent) + ExpanderWidth;
    if (item->GetCheckState(0) != 0) x += CheckBoxSize + Gap;
    auto* self = const_cast<TreeControl*>(this);
    auto* mutableItem = const_cast<TreeItem*>(item);
    if (self->getItemIcon(mutableItem, Normal)) x += IconSize + Gap;
    if (item->HasSwatch()) x += SwatchSize + Gap;
    return x;
}

int TreeControl::GetColumnWidth(int column) const {
    if (column < 0 || column >= GetColumnCount()) return 0;
    return m_columns[size_t(column)].width < 0 ? GetClientSize().x : m_columns[size_t(column)].width;
}

int TreeControl::AddColumn(const wxString& title, int width) {
    if (m_columns.size() == 1 && m_columns[0].width < 0) m_columns[0].width = 200;
    m_columns.push_back({title, std::max(10, width)});
    updateScrollbars();
    Refresh();
    return int(m_columns.size()) - 1;
}

int TreeControl::hitColumn(int logicalX) const {
    if (m_columns.size() == 1) return 0;
    int x = 0;
    for (size_t c = 0; c < m_columns.size(); ++c) {
        x += m_columns[c].width;
        if (logicalX < x) return int(c);
    }
    return -1;
}

int TreeControl::checkBoxHit(const TreeItem* item, int logicalX) const {
    const int column = hitColumn(logicalX);
    if (column < 0 || item->GetCheckState(column) == 0) return -1;
    int left;
    if (column == 0) {
        left = 2 + item->GetDepth() * (ExpanderWidth + m_indent) + ExpanderWidth;
    } else {
        left = 2;
        for (int c = 0; c < column; ++c) left += m_columns[size_t(c)].width;
    }
    return logicalX >= left && logicalX < left + CheckBoxSize ? column : -1;
}

void TreeControl::setItemIndent(int indent) {
    m_indent = std::max(0, indent);
    Refresh();
}

// ---------------------------------------------------------------------------------------------
// Painting

void TreeControl::onPaint(wxPaintEvent&) {
    wxAutoBufferedPaintDC dc(this);
    RenderTo(dc, GetClientSize());
}

void TreeControl::RenderTo(wxDC& dc, const wxSize& size) {
    m_repaintRequested = false;
    resolvePendingVisible(false);
    dc.SetBackground(wxBrush(m_scheme.windowBackground));
    dc.Clear();
    dc.SetFont(GetFont());
    m_paintCharHeight = dc.GetCharHeight();  // one font query per paint, not per row
    const int widest = m_widest;
    const size_t count = m_rows->size();
    int y = headerHeight();
    for (size_t row = m_topRow; row < count && y < size.y; ++row, y += m_rowHeight)
        drawRow(dc, m_rows->at(row), wxRect(0, y, size.x, m_rowHeight));
    if (headerHeight() > 0) drawHeader(dc, size.x);
    if (m_widest != widest && HasFlag(wxHSCROLL) && GetHandle())
        CallAfter([this] { updateScrollbars(); });  // scroll bars are not changed while drawing
}

void TreeControl::drawHeader(wxDC& dc, int width) {
    dc.SetPen(wxPen(m_scheme.gridLine));
    dc.SetBrush(wxBrush(m_scheme.titleBackground));
    dc.DrawRectangle(0, 0, width, m_rowHeight);
    dc.SetTextForeground(m_scheme.text);
    int x = -m_xOffset;
    for (const Column& column : m_columns) {
        dc.DrawText(column.title, x + 4, (m_rowHeight - dc.GetCharHeight()) / 2);
        x += column.width;
        dc.DrawLine(x - 1, 0, x - 1, m_rowHeight);
    }
}

static void drawCheckBox(wxDC& dc, const wxRect& box, int state, const ColourScheme& scheme) {
    dc.SetPen(wxPen(scheme.text));
    dc.SetBrush(wxBrush(scheme.windowBackground));
    dc.DrawRectangle(box);
    if (state < 2) return;
    // On: a tick; on but overridden: the tick in the dimmed colour over a grey box.
    if (state == 3) {
        dc.SetBrush(wxBrush(scheme.gridLine));
        dc.DrawRectangle(wxRect(box).Deflate(2));
    }
    dc.SetPen(wxPen(state == 3 ? scheme.dimmedText : scheme.text, 2));
    const wxPoint tick[] = {{box.x + 3, box.y + box.height / 2}, {box.x + box.width / 2 - 1, box.GetBottom() - 3},
                            {box.GetRight() - 2, box.y + 3}};
    dc.DrawLines(3, tick);
}

void TreeControl::drawRow(wxDC& dc, TreeItem* item, const wxRect& row) {
    preDrawItem(item, dc, row);
    const int depthX = 2 + item->GetDepth() * (ExpanderWidth + m_indent) - m_xOffset;
    const int midY = row.y + row.height / 2;
    if (item->IsSeparator()) {
        dc.SetPen(wxPen(m_scheme.dimmedText));
        dc.DrawLine(depthX, midY, row.GetRight() - 4, midY);
        postDrawItem(item, dc, row);
        return;
    }
    const int column0 = m_columns.size() > 1 ? m_columns[0].width - m_xOffset : row.GetRight();
    const TreeItemState state = TreeItemState((item->IsSelected() ? Selected : Normal) |
                                              (item->IsExpanded() && item->HasChildren() ? Expanded : Normal));
    const wxBitmap* icon = getItemIcon(item, state);
    int x = depthX + ExpanderWidth;
    const int checkX = x;
    if (item->GetCheckState(0) != 0) x += CheckBoxSize + Gap;
    const int iconX = x;
    if (icon) x += IconSize + Gap;
    const int swatchX = x;
    if (item->HasSwatch()) x += SwatchSize + Gap;
    if (item->m_labelWidth < 0 || item->m_labelFont != m_fontGeneration) {
        item->m_labelWidth = dc.GetTextExtent(item->GetLabel()).x;  // measured once per label and font
        item->m_labelFont = m_fontGeneration;
    }
    const wxSize text(item->m_labelWidth, m_paintCharHeight);
    const int labelRight = x + text.x + 4;
    m_widest = std::max(m_widest, labelRight + m_xOffset);

    if (item->IsSelected()) {
        dc.SetPen(*wxTRANSPARENT_PEN);
        dc.SetBrush(wxBrush(m_scheme.selectionBackground));
        if (HasFlag(FullRowHighlight)) dc.DrawRectangle(row);
        else dc.DrawRectangle(x - 2, row.y, std::min(labelRight, column0) - x + 2, row.height);
    }
    if (item == m_focus) {
        dc.SetPen(wxPen(m_scheme.focusOutline, 1, HasFocus() ? wxPENSTYLE_SOLID : wxPENSTYLE_DOT));
        dc.SetBrush(*wxTRANSPARENT_BRUSH);
        dc.DrawRectangle(HasFlag(FullRowHighlight) ? row : wxRect(x - 2, row.y, labelRight - x + 2, row.height));
    }
    if (item->HasChildren()) {
        // A small triangle: pointing right when collapsed, down when expanded.
        dc.SetPen(*wxTRANSPARENT_PEN);
        dc.SetBrush(item->IsSelected() && HasFlag(FullRowHighlight) ? m_selectedExpanderBrush : m_expanderBrush);
        const int cx = depthX + ExpanderWidth / 2 - 1;
        if (item->IsExpanded()) {
            const wxPoint down[] = {{cx - 4, midY - 2}, {cx + 4, midY - 2}, {cx, midY + 2}};
            dc.DrawPolygon(3, down);
        } else {
            const wxPoint right[] = {{cx - 2, midY - 4}, {cx + 2, midY}, {cx - 2, midY + 4}};
            dc.DrawPolygon(3, right);
        }
    }
    if (item->GetCheckState(0) != 0)
        drawCheckBox(dc, wxRect(checkX, midY - CheckBoxSize / 2, CheckBoxSize, CheckBoxSize), item->GetCheckState(0), m_scheme);
    if (icon && icon->IsOk()) dc.DrawBitmap(*icon, iconX, midY - IconSize / 2, true);
    if (item->HasSwatch()) {
        dc.SetPen(wxPen(m_scheme.text));
        dc.SetBrush(wxBrush(item->GetSwatch()));
        dc.DrawRectangle(swatchX, midY - SwatchSize / 2, SwatchSize, SwatchSize);
    }
    dc.SetTextForeground(item->IsSelected() ? m_scheme.selectionText : m_scheme.text);
    if (m_columns.size() > 1) dc.SetClippingRegion(0, row.y, std::max(0, column0 - 2), row.height);
    dc.DrawText(item->GetLabel(), x, midY - text.y / 2);
    if (m_columns.size() > 1) {
        dc.DestroyClippingRegion();
        int left = column0;
        for (size_t c = 1; c < m_columns.size(); ++c) {
            int cx = left + 2;
            const int check = item->GetCheckState(int(c));
            if (check != 0) {
                drawCheckBox(dc, wxRect(cx, midY - CheckBoxSize / 2, CheckBoxSize, CheckBoxSize), check, m_scheme);
                cx += CheckBoxSize + Gap;
            }
            dc.SetTextForeground(m_scheme.text);
            dc.SetClippingRegion(left, row.y, m_columns[c].width - 2, row.height);
            dc.DrawText(item->GetColumnText(int(c)), cx, midY - text.y / 2);
            dc.DestroyClippingRegion();
            left += m_columns[c].width;
        }
    }
    const bool upper = hasUpperSeparator(item), lower = hasLowerSeparator(item);
    if (upper || lower) dc.SetPen(wxPen(m_scheme.gridLine));
    if (upper) dc.DrawLine(depthX, row.y, row.GetRight(), row.y);
    if (lower) dc.DrawLine(depthX, row.GetBottom(), row.GetRight(), row.GetBottom());
    postDrawItem(item, dc, row);
}

bool TreeControl::SetFont(const wxFont& font) {
    ++m_fontGeneration;  // every cached label width is stale
    const bool changed = wxWindow::SetFont(font);
    if (GetHandle()) m_rowHeight = std::max(IconSize + 2, GetCharHeight() + 4);
    Refresh();
    return changed;
}

void TreeControl::onColourSchemeChanged(const ColourScheme& scheme) {
    m_scheme = scheme;
    m_expanderBrush = wxBrush(scheme.dimmedText);  // made once per scheme, not once per row
    m_selectedExpanderBrush = wxBrush(scheme.selectionText);
    if (GetHandle()) SetBackgroundColour(scheme.windowBackground);
    Refresh();
}

void TreeControl::onFocus(wxFocusEvent& event) {
    Refresh();
    event.Skip();
}

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

// ---------------------------------------------------------------------------------------------
// Keyboard

void TreeControl::moveFocusTo(long row, bool ctrl, bool shift) {
    const long count = long(m_rows->size());
    if (count == 0) return;
    row = std::clamp(row, 0L, count - 1);
    TreeItem* item = m_rows->at(size_t(row));
    if (ctrl && !shift) SetFocusItem(item);  // moves the focus only; Ctrl+Space selects
    else userSelect(item, ctrl, shift);
    EnsureVisible(item);
}

void TreeControl::onKeyDown(wxKeyEvent& event) {
    TreeEvent key(wxEVT_VEL_TREE_KEY_DOWN, GetId(), m_focus);
    key.SetEventObject(this);
    key.SetKey(event.GetKeyCode(), event.GetModifiers());
    if (ProcessWindowEvent(key)) return;  // a handler took the key

    const bool ctrl = event.ControlDown(), shift = event.ShiftDown();
    const long focusRow = m_focus ? m_rows->rowOf(m_focus) : -1;
    const long page = std::max(1, GetPageRows() - 1);
    switch (event.GetKeyCode()) {
    case WXK_UP: case WXK_NUMPAD_UP: moveFocusTo(focusRow < 0 ? 0 : focusRow - 1, ctrl, shift); return;
    case WXK_DOWN: case WXK_NUMPAD_DOWN: moveFocusTo(focusRow + 1, ctrl, shift); return;
    case WXK_HOME: case WXK_NUMPAD_HOME: moveFocusTo(0, ctrl, shift); return;
    case WXK_END: case WXK_NUMPAD_END: moveFocusTo(long(m_rows->size()) - 1, ctrl, shift); return;
    case WXK_PAGEUP: case WXK_NUMPAD_PAGEUP: moveFocusTo(std::max(0L, focusRow - page), ctrl, shift); return;
    case WXK_PAGEDOWN: case WXK_NUMPAD_PAGEDOWN: moveFocusTo(focusRow + page, ctrl, shift); return;
    case WXK_LEFT: case WXK_NUMPAD_LEFT:
        if (!m_focus) return;
        if (m_focus->IsExpanded() && m_focus->HasChildren()) {
            m_focus->Collapse();
            updateScrollbars();
        } else if (m_focus->GetParent()) {
            moveFocusTo(m_rows->rowOf(m_focus->GetParent()), false, false);
        }
        return;
    case WXK_RIGHT: case WXK_NUMPAD_RIGHT:
        if (!m_focus || !m_focus->HasChildren()) return;
        if (shift) ExpandAll(m_focus);
        else if (!m_focus->IsExpanded()) m_focus->Expand();
        else moveFocusTo(focusRow + 1, false, false);
        updateScrollbars();
        return;
    case WXK_MULTIPLY: case WXK_NUMPAD_MULTIPLY:
        if (m_focus) ExpandAll(m_focus);
        return;
    case WXK_F2:
        EditLabel(m_focus);
        return;
    case WXK_RETURN: case WXK_NUMPAD_ENTER:
        activate(m_focus);
        return;
    case WXK_SPACE:
        if (m_focus) userSelect(m_focus, ctrl, false);
        return;
    case WXK_MENU:
        onContextMenu(*std::make_unique<wxContextMenuEvent>());
        return;
    case WXK_F10:
        if (shift) {
            onContextMenu(*std::make_unique<wxContextMenuEvent>());
            return;
        }
        break;
    case 'A':
        if (ctrl) {
            SelectAllShown();
            return;
        }
        break;
    default:
        break;
    }
    event.Skip();  // printable keys come back as character events for type-ahead
}

void TreeControl::onChar(wxKeyEvent& event) {
    const wxChar c = event.GetUnicodeKey();
    if (c == WXK_NONE || c < 32 || event.ControlDown() || event.AltDown()) {
        event.Skip();
        return;
    }
    if (c == '*') {
        if (m_focus) ExpandAll(m_focus);
        return;
    }
    typeAhead(c);
}

bool TreeControl::typeAhead(wxChar c) {
    const long long now = wxGetLocalTimeMillis().GetValue();
    if (now - m_typeAheadTime > TypeAheadPauseMs) m_typeAhead.clear();
    m_typeAheadTime = now;
    m_typeAhead += c;
    const size_t count = m_rows->size();
    if (count == 0) return false;
    const long focusRow = m_focus ? m_rows->rowOf(m_focus) : -1;
    // A new word starts after the focus row; a longer prefix may still match the focus row.
    size_t start = focusRow < 0 ? 0 : size_t(focusRow) + (m_typeAhead.length() == 1 ? 1 : 0);
    for (size_t i = 0; i < count; ++i) {
        TreeItem* item = m_rows->at((start + i) % count);
        if (startsWithNoCase(item->GetLabel(), m_typeAhead)) {
            userSelect(item, false, false);
            EnsureVisible(item);
            return true;
        }
    }
    return false;
}

// ---------------------------------------------------------------------------------------------
// Label editing

bool TreeControl::EditLabel(TreeItem* item) {
    if (!item || item->GetTree() != this || !canRenameItem(item)) return false;
    EndLabelEdit(false);
    TreeEvent begin(wxEVT_VEL_TREE_BEGIN_LABEL_EDIT, GetId(), item);
    begin.SetEventObject(this);
    begin.SetLabel(item->GetLabel());
    ProcessWindowEvent(begin);
    if (!begin.IsAllowed() || item->GetTree() != this) return false;
    EnsureVisible(item);
    m_editItem = item;
    m_editor = new wxTextCtrl(this, wxID_ANY, item->GetLabel(), wxDefaultPosition, wxDefaultSize,
                              wxTE_PROCESS_ENTER | wxBORDER_SIMPLE);
    m_editor->SetSize(GetLabelRect(item));
    m_editor->SelectAll();
    m_editor->SetFocus();
    wxTextCtrl* editor = m_editor;
    m_editor->Bind(wxEVT_TEXT_ENTER, [this](wxCommandEvent&) { EndLabelEdit(false); });
    m_editor->Bind(wxEVT_KEY_DOWN, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() == WXK_ESCAPE) EndLabelEdit(true);
        else event.Skip();
    });
    m_editor->Bind(wxEVT_KILL_FOCUS, [this, editor](wxFocusEvent& event) {
        event.Skip();
        // Leaving the editor commits, once the focus change has finished.
        CallAfter([this, editor] {
            if (m_editor == editor) EndLabelEdit(false);
        });
    });
    return true;
}

void TreeControl::dropEditor() {
    m_editItem = nullptr;
    if (!m_editor) return;
    m_editor->Hide();
    // The editor may be inside its own event handler right now.
    if (wxTheApp) wxTheApp->ScheduleForDestruction(m_editor);
    else m_editor->Destroy();
    m_editor = nullptr;
}

void TreeControl::EndLabelEdit(bool cancel) {
    if (!m_editItem) return;
    TreeItem* item = m_editItem;
    const wxString label = m_editor ? m_editor->GetValue() : item->GetLabel();
    dropEditor();
    if (m_destroying) return;
    if (!HasFocus()) SetFocus();
    TreeEvent end(wxEVT_VEL_TREE_END_LABEL_EDIT, GetId(), item);
    end.SetEventObject(this);
    end.SetLabel(label);
    end.SetEditCancelled(cancel);
    const bool handled = ProcessWindowEvent(end);
    if (!cancel && !handled && end.IsAllowed() && item->GetTree() == this) onLabelEdited(item, label);
    Refresh();
}

}  // namespace wxUtils

#include <velwidgets/TreeControl.h>

#include "TreeGraveyard.h"
#include "TreeRows.h"

#include <wx/app.h>
#include <wx/textctrl.h>

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
    Bind(wxEVT_MOTION, &TreeControl::onDragMotion, this);
    Bind(wxEVT_LEFT_UP, &TreeControl::onDragRelease, this);
    Bind(wxEVT_MIDDLE_DOWN, &TreeControl::onMiddlePress, this);
    Bind(wxEVT_MIDDLE_UP, &TreeControl::onDragRelease, this);
    Bind(wxEVT_MOUSE_CAPTURE_LOST, [this](wxMouseCaptureLostEvent&) { endDrag(false); });
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

}  // namespace wxUtils

#pragma once

#include <velwidgets/ColourSchemeClient.h>
#include <velwidgets/TreeEvent.h>
#include <velwidgets/TreeItem.h>
#include <velwidgets/TreeItemDrag.h>
#include <velwidgets/TreeTypeAhead.h>

#include <wx/bitmap.h>
#include <wx/window.h>

#include <memory>
#include <vector>

class wxTextCtrl;
class wxTimer;

namespace wxUtils {

class TreeGraveyard;
class TreeRows;

// A custom-drawn, virtualised tree. The rows on screen come from a flattened list of the shown items
// (the root, and the children of every expanded item), rebuilt lazily after bulk changes and patched
// in place after single ones, so painting and hit-testing cost what is on screen, and expanding,
// collapsing, adding, removing or relabelling one item leaves the rest alone.
//
// It offers several columns with per-column check boxes, colour swatches, separator rows, icons by
// item state, a focus item, in-place label editing, multi-selection by mouse and keyboard, type-ahead
// find and a context-menu event. Subclasses hook in through the protected virtuals; other windows
// through the TreeEvent events.
class TreeControl : public wxWindow, public ColourSchemeClient {
public:
    // Style bit: the selection highlight spans the whole row rather than the label.
    static const long FullRowHighlight = 0x2000;
    enum TreeItemState { Normal = 0, Selected = 1, Expanded = 2, SelectedExpanded = 3 };
    static const int IconSize = 16;
    static const int ExpanderWidth = 12;
    static const int CheckBoxSize = 13;

    TreeControl();
    TreeControl(wxWindow* parent, wxWindowID id = wxID_ANY, const wxPoint& pos = wxDefaultPosition,
                const wxSize& size = wxDefaultSize, long style = 0, const wxString& name = "TreeControl");
    ~TreeControl() override;
    bool Create(wxWindow* parent, wxWindowID id = wxID_ANY, const wxPoint& pos = wxDefaultPosition,
                const wxSize& size = wxDefaultSize, long style = 0, const wxString& name = "TreeControl");

    // Structure. SetRoot takes ownership of an unattached item and destroys the previous root.
    TreeItem* GetRoot() const { return m_root; }
    void SetRoot(TreeItem* root);
    void DeleteAllItems();
    // Expands or collapses an item and everything below it (the whole tree for null).
    void ExpandAll(TreeItem* item = nullptr);
    void CollapseAll(TreeItem* item = nullptr);

    // Scrolls the item into view, expanding its ancestors. With null it forgets a pending scroll:
    // callers do that before a structural edit, since the item waiting to be scrolled to may be
    // about to go. A label edit goes on unless its own item (or an ancestor) is detached.
    void EnsureVisible(TreeItem* item);

    // Selection in selection order. SetSelection ignores null, foreign and repeated items.
    const std::vector<TreeItem*>& GetSelection() const { return m_selection; }
    void SetSelection(const std::vector<TreeItem*>& items);
    void SelectItem(TreeItem* item, bool select = true);
    void UnselectAll();
    void SelectAllShown();

    TreeItem* GetFocusItem() const { return m_focus; }
    void SetFocusItem(TreeItem* item);

    // In-place editing of the label of an item that may be renamed: Enter commits, Escape cancels,
    // leaving the editor commits. False when the item cannot be edited or a handler vetoed it.
    bool EditLabel(TreeItem* item);
    // The clock type-ahead measures pauses with (milliseconds; the steady clock by default).
    void SetTypeAheadClock(TreeTypeAhead::Clock clock) { m_typeAhead.setClock(std::move(clock)); }
    bool IsEditingLabel() const { return m_editItem != nullptr; }
    void EndLabelEdit(bool cancel);
    wxTextCtrl* GetLabelEditor() const { return m_editor; }

    // Columns: column 0 holds the tree; with more than one a header row shows the titles.
    int AddColumn(const wxString& title, int width);
    int GetColumnCount() const { return int(m_columns.size()); }
    int GetColumnWidth(int column) const;

    void setItemIndent(int indent);
    int getItemIndent() const { return m_indent; }
    int GetRowHeight() const { return m_rowHeight; }

    // The flattened rows (rebuilt first when needed): what a scroll bar position maps to.
    size_t GetShownRowCount() const;
    TreeItem* GetRowItem(size_t row) const;
    long GetRowOf(const TreeItem* item) const;  // -1 when the item is not shown
    bool IsShown(const TreeItem* item) const;   // attached here, and every ancestor expanded
    size_t GetTopRow() const;
    void ScrollToRow(size_t row);  // makes the row the first one on screen (clamped)
    int GetPageRows() const;       // whole rows that fit on screen
    // Hit-testing in client coordinates: the item of the row under the point, or null.
    TreeItem* HitTest(const wxPoint& client) const;
    wxRect GetItemRect(const TreeItem* item) const;   // the row, in client coordinates
    wxRect GetLabelRect(const TreeItem* item) const;
    // Whether the user is dragging items with the mouse right now.
    bool IsDraggingItems() const { return m_drag.isDragging(); }  // the label part of the row, in client coordinates
    wxPoint logicalToClient(const wxPoint& logical) const;
    wxPoint clientToLogical(const wxPoint& client) const;

    // Draws what the window shows (header, visible rows, focus) into any DC, by the same code as the
    // paint handler; off-screen bitmaps use it for previews and timing.
    void RenderTo(wxDC& dc, const wxSize& size);

    void onColourSchemeChanged(const ColourScheme& scheme) override;
    bool SetFont(const wxFont& font) override;

    // Item bookkeeping, called by TreeItem.
    void itemAttached(TreeItem* item, size_t index);
    void itemDetaching(TreeItem* item);
    void itemDestroying(TreeItem* item);
    void itemChanged(TreeItem* item);
    void itemExpansionChanged(TreeItem* item, bool expanded);

protected:
    friend class VelTreeControlSelectionEventDisabler;

    // The user (or a program) changed the selection; not called while a disabler lives.
    virtual void onSelectionChanged() {}
    // One item entered or left the selection by the user's hand (mouse or keyboard).
    virtual void onItemSelectionChanged(TreeItem* item, bool selected) {}
    virtual void onItemActivated(TreeItem* item) {}
    // The user asked for a context menu on the item; the event is sent to handlers afterwards.
    virtual void onItemMenu(TreeEvent& event) {}
    virtual bool canRenameItem(TreeItem* item) { return true; }
    // A committed edit no handler took: the default sets the label.
    virtual void onLabelEdited(TreeItem* item, const wxString& label) { item->SetLabel(label); }
    virtual void onCheckChanged(TreeItem* item, int column) {}
    // The icon for an item in a state; null draws none.
    virtual const wxBitmap* getItemIcon(TreeItem* item, TreeItemState state) { return nullptr; }
    virtual void preDrawItem(TreeItem* item, wxDC& dc, const wxRect& row) {}
    virtual void postDrawItem(TreeItem* item, wxDC& dc, const wxRect& row) {}
    // Dragging selected items with the mouse: whether they may go above, onto or below the target,
    // and the drop itself. By default nothing may be dropped.
    virtual bool canDropItems(const std::vector<TreeItem*>& items, TreeItem* target, TreeDropPlace place) {
        return false;
    }
    virtual void onDropItems(const std::vector<TreeItem*>& items, TreeItem* target, TreeDropPlace place) {}
    // Dragging them out of the tree onto another window of the application, at a point on the
    // screen: whether they may be dropped there, and the drop. By default nothing may be.
    virtual bool canDropItemsOutside(const std::vector<TreeItem*>& items, const wxPoint& screen) { return false; }
    virtual void onDropItemsOutside(const std::vector<TreeItem*>& items, const wxPoint& screen) {}
    // Lines drawn above or below a row, for trees that group their items.
    virtual bool hasUpperSeparator(TreeItem* item) { return false; }
    virtual bool hasLowerSeparator(TreeItem* item) { return false; }
    const ColourScheme& scheme() const { return m_scheme; }
    // Frees at once the items of replaced trees that are still waiting to be freed.
    void releaseReplacedItems();

private:
    struct Column {
        wxString title;
        int width;
    };
    void init();
    void notifySelectionChanged();
    void changeSelection(const std::vector<TreeItem*>& items, bool byUser);
    void userSelect(TreeItem* item, bool ctrl, bool shift);
    void moveFocusTo(long row, bool ctrl, bool shift);
    void toggleCheck(TreeItem* item, int column);
    void showItemMenu(TreeItem* item, const wxPoint& logical);
    void activate(TreeItem* item);
    bool typeAhead(wxChar c);
    void updateScrollbars();
    int headerHeight() const { return m_columns.size() > 1 ? m_rowHeight : 0; }
    int labelLeft(const TreeItem* item) const;
    int hitColumn(int logicalX) const;
    int checkBoxHit(const TreeItem* item, int logicalX) const;
    void drawRow(wxDC& dc, TreeItem* item, const wxRect& row);
    void drawHeader(wxDC& dc, int width);
    void dropEditor();
    void resolvePendingVisible(bool updateBars = true);
    void buryTree(TreeItem* root);
    void destroyBuriedLater();
    static const size_t BuriedItemsPerTurn = 50000;
    void requestRepaint();
    void setExpandedBelow(TreeItem* top, bool expanded);

    void onPaint(wxPaintEvent& event);
    void onSize(wxSizeEvent& event);
    void onMouse(wxMouseEvent& event);
    void onDragMotion(wxMouseEvent& event);
    void onDragRelease(wxMouseEvent& event);
    void onMiddlePress(wxMouseEvent& event);
    void endDrag(bool drop);
    void drawDropIndicator(wxDC& dc);
    void onWheel(wxMouseEvent& event);
    void onContextMenu(wxContextMenuEvent& event);
    void onKeyDown(wxKeyEvent& event);
    void onChar(wxKeyEvent& event);
    void onScroll(wxScrollWinEvent& event);
    void onFocus(wxFocusEvent& event);

    std::unique_ptr<TreeRows> m_rows;
    TreeItem* m_root = nullptr;
    std::vector<TreeItem*> m_selection;
    TreeItemDrag m_drag;
    bool m_middleDrag = false;   // the middle button drags one item and leaves the selection alone
    bool m_dragOutside = false;  // the drag is over another window, at m_dragScreenPoint
    wxPoint m_dragScreenPoint;
    std::unique_ptr<TreeGraveyard> m_graveyard;  // replaced items waiting to be freed
    TreeItem* m_focus = nullptr;
    TreeItem* m_anchor = nullptr;
    TreeItem* m_editItem = nullptr;
    TreeItem* m_pendingVisible = nullptr;
    wxTextCtrl* m_editor = nullptr;
    std::vector<Column> m_columns;
    ColourScheme m_scheme;
    wxBrush m_expanderBrush, m_selectedExpanderBrush;
    TreeTypeAhead m_typeAhead;
    size_t m_topRow = 0;
    int m_xOffset = 0;
    int m_widest = 0;
    int m_indent = 6;
    int m_rowHeight = 18;
    int m_paintCharHeight = 0;
    int m_selectionEventsDisabled = 0;
    unsigned short m_fontGeneration = 0;
    bool m_destroying = false;
    bool m_repaintRequested = false;
    bool m_mayHaveExpanded = false;  // false: no item is expanded since the last CollapseAll of the tree
};

}  // namespace wxUtils

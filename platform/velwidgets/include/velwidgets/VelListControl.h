#pragma once

#include <velwidgets/ColourSchemeClient.h>
#include <velwidgets/VelListItem.h>

#include <wx/window.h>

#include <vector>

class wxDC;

namespace wxUtils {

// A custom-drawn list of rows with an optional rollup section title, a name column and a value
// column. Painting is virtualised: only rows inside the damaged area are drawn, so the cost of a
// paint follows what is on screen. Rows come from the derived class (getItemCount, drawItem).
//
// Every selection change that the user asks for by keyboard or mouse goes through an
// onRequest...() hook first. The defaults act on this list alone; an owner that shows several lists
// as one overrides them and coordinates the lists itself (moving from the last row of one list to
// the first of the next, selecting across lists).
class VelListControl : public wxWindow, public ColourSchemeClient {
public:
    enum Column { NameColumn = 0, ValueColumn = 1 };

    VelListControl();
    ~VelListControl() override;
    bool Create(wxWindow* parent, wxWindowID id = wxID_ANY, const wxPoint& pos = wxDefaultPosition,
                const wxSize& size = wxDefaultSize, long style = 0, const wxString& name = "VelListControl");

    virtual int getItemCount() const = 0;

    // The rollup section: a title row that expands and collapses the rows. No title, no title row.
    void setTitle(const wxString& title);
    const wxString& getTitle() const { return m_title; }
    bool hasTitle() const { return !m_title.empty(); }
    void setExpanded(bool expanded);
    bool isExpanded() const { return m_expanded; }

    // The share of the width given to the name column (0.1 .. 0.9).
    void setNameColumnShare(float share);
    float getNameColumnShare() const { return m_nameShare; }
    int getNameColumnWidth() const;

    int getRowHeight() const { return m_rowHeight; }
    int getTitleHeight() const { return hasTitle() ? m_rowHeight + 2 : 0; }
    wxRect getItemRect(int row) const;  // client coordinates; empty when collapsed or out of range
    // The row under a client point (-1 for none), and which column it is in.
    int hitTestRow(const wxPoint& client, int* column = nullptr) const;
    // The same for a point in screen coordinates.
    int itemHitTest(const wxPoint& screen, int* column) const;
    bool hasListWindow() const { return GetHandle() != nullptr; }

    // Selection.
    bool isItemSelected(int row) const;
    int getSelectedCount() const;
    std::vector<int> getSelectedItems() const;
    int getFocusItem() const { return m_focus; }
    void selectItem(int row, bool select = true);
    void selectExclusively(int row);
    void selectRange(int from, int to);
    void selectNextRow(int row, bool extend, bool toggle);
    void selectPreviousRow(int row, bool extend, bool toggle);
    void selectHome(bool extend = false);
    void selectEnd(bool extend = false);
    void selectPageDown(int row, bool extend, bool toggle);
    void selectPageUp(int row, bool extend, bool toggle);
    void selectAll();
    void clearSelection();
    int getSelectionColumn() const { return m_selectionColumn; }
    void setSelectionColumn(int column) { m_selectionColumn = column; }
    // Highlighting is the drag-rectangle selection: rows inside a screen rectangle are selected
    // (added to the selection when add is true).
    void clearHighlightedItems(int column);
    void highlightItemsInScreenRect(int column, const wxRect& screenRect, bool add);

    // Draws the whole list into any DC (a window's or an off-screen bitmap's) with the same code
    // that paints the window; clip is in client coordinates.
    void renderTo(wxDC& dc, const wxRect& clip);

    void onColourSchemeChanged(const ColourScheme& scheme) override;

protected:
    wxSize DoGetBestClientSize() const override;
    // Re-reads the row count: new best size, selection trimmed, repaint.
    void rowsChanged();

    virtual void drawItem(wxDC& dc, int row, const wxRect& rect, bool selected) = 0;

    // A left click on a row that the derived class may take (a check box, a value to edit). True
    // when taken; the selection click has already happened.
    virtual bool onItemClicked(int row, int column, const wxMouseEvent& event);
    // A left-button drag that starts on a row; true when the derived class takes the drag over.
    virtual bool onItemDragStart(int row, int column, const wxPoint& client);
    virtual void onItemDrag(const wxPoint& client);
    virtual void onItemDragEnd();
    // A key that the list does not handle itself; true when used.
    virtual bool onItemKey(int row, const wxKeyEvent& event);

    // Selection requests (see the class comment).
    virtual void onRequestSelectNextRow(int row, bool extend, bool toggle);
    virtual void onRequestSelectPreviousRow(int row, bool extend, bool toggle);
    virtual void onRequestSelectEnd(int row, bool extend, bool toggle);
    virtual void onRequestSelectHome(int row, bool extend, bool toggle);
    virtual void onRequestSelectPageDown(int row, bool extend, bool toggle);
    virtual void onRequestSelectPageUp(int row, bool extend, bool toggle);
    virtual void onRequestSelectAll();
    virtual void onRequestSelectExclusively(int row);
    virtual void onRequestClearHighlightedItems(int column);
    virtual void onRequestHighlightItemsInScreenRect(int column, const wxRect& screenRect, bool add);
    virtual VelListItem onRequestItemHitTest(const wxPoint& screen, int* column);

    const ColourScheme& scheme() const { return activeColourScheme(); }
    void notifySelectionChanged();

private:
    void onPaint(wxPaintEvent& event);
    void onSize(wxSizeEvent& event);
    void onLeftDown(wxMouseEvent& event);
    void onLeftUp(wxMouseEvent& event);
    void onMotion(wxMouseEvent& event);
    void onRightDown(wxMouseEvent& event);
    void onContextMenuKey(wxContextMenuEvent& event);
    void onKeyDown(wxKeyEvent& event);
    void onFocus(wxFocusEvent& event);
    void onCaptureLost(wxMouseCaptureLostEvent& event);
    void drawTitle(wxDC& dc, const wxRect& rect);
    void setFocusItem(int row);
    void endMouseGesture();

    enum class Gesture { None, Pending, Rectangle, Item };

    wxString m_title;
    bool m_expanded = true;
    float m_nameShare = 0.6f;
    int m_rowHeight = 20;
    std::vector<bool> m_selected;
    int m_focus = -1;
    int m_anchor = -1;
    int m_selectionColumn = NameColumn;
    Gesture m_gesture = Gesture::None;
    wxPoint m_pressScreen;
    int m_pressRow = -1;
    int m_pressColumn = NameColumn;
    bool m_pressAdd = false;
};

}  // namespace wxUtils

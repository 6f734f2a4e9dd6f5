#pragma once

#include <velwidgets/VelListItem.h>

#include <string>
#include <vector>

class wxPoint;
class wxRect;
class wxScrolledWindow;

namespace VelXUI {

class XAttributeListControl;

// The attribute editor's lists act as one list: selection, keyboard moves and rectangle
// highlighting cross from one list into the next, and a value goes to every selected row of every
// list. The lists and the scroll window are the attribute editor's; this only acts on them.
class XAttributeListSelection {
public:
    XAttributeListSelection(const std::vector<XAttributeListControl*>& lists, wxScrolledWindow* const& scroll);

    // One value to every selected row of every list (rows of kinds that take it).
    void setValue(int value) const;
    void setValue(float value) const;
    void setValue(bool value) const;
    void setValue(const std::wstring& value) const;
    // A scrub: the selected rows note their objects' values, then move each by the same amount.
    void rememberScrubStart() const;
    void offsetValue(float delta) const;

    void clear() const;
    void selectAll() const;
    void clearHighlighted(int column) const;
    void selectExclusively(XAttributeListControl* list, int item) const;
    void selectHome(XAttributeListControl* list, int item, bool extend, bool toggle) const;
    void selectEnd(XAttributeListControl* list, int item, bool extend, bool toggle) const;
    void selectNextRow(XAttributeListControl* list, int item, bool extend, bool toggle) const;
    void selectPreviousRow(XAttributeListControl* list, int item, bool extend, bool toggle) const;
    void selectPageDown(XAttributeListControl* list, int item, bool extend, bool toggle) const;
    void selectPageUp(XAttributeListControl* list, int item, bool extend, bool toggle) const;
    void highlightInScreenRect(int column, const wxRect& screenRect, bool add) const;
    wxUtils::VelListItem hitTest(const wxPoint& screenPoint, int* column) const;
    // Edits the first typable row of the next list that has one (the last of the previous,
    // backwards); false when there is none.
    bool editInNextList(XAttributeListControl* list, bool backwards) const;

private:
    template <typename Apply> void setOnSelectedRows(Apply apply) const;
    int listIndex(const XAttributeListControl* list) const;
    // Moves the selection to the first (or last) row of another list and scrolls it into view.
    void moveToList(size_t index, XAttributeListControl* from, bool toEnd) const;

    const std::vector<XAttributeListControl*>& m_lists;
    wxScrolledWindow* const& m_scroll;
};

}  // namespace VelXUI

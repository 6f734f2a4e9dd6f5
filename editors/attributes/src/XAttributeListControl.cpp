#include <velxui/XAttributeControl.h>
#include <velxui/XAttributeEditor.h>
#include <velxui/XAttributeListControl.h>
#include <velxui/XStatusNote.h>

#include <velwidgets/VelPopupMenu.h>
#include <velxcore/XScene.h>

namespace VelXUI {

XAttributeListControl::XAttributeListControl(XAttributeControl& control, const std::wstring& objectType)
    : m_control(control), m_objectType(objectType) {
    clearSelection();
}

bool XAttributeListControl::Create(wxWindow* parent, long style) {
    if (!VelAttributeControl::Create(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, style, "VelAttributeControl"))
        return false;
    Bind(wxUtils::wxEVT_VELLIST_CONTEXT_MENU, &XAttributeListControl::OnContextMenu, this);
    return true;
}

template <typename Value>
bool XAttributeListControl::setInOneStep(const Value& value) {
    // Nested in the drag's transient block while scrubbing; one undo step either way.
    VelX::XDatabase& database = m_control.Scene().Database();
    if (m_interactive) database.BeginChangeBlock(true);
    else database.BeginChangeBlock();
    m_control.SetAttributes(value);
    database.EndChangeBlock();
    m_control.ForgetRowWrites();
    return true;
}

bool XAttributeListControl::onSetAttributes(int value) { return setInOneStep(value); }
bool XAttributeListControl::onSetAttributes(bool value) { return setInOneStep(value); }
bool XAttributeListControl::onSetAttributes(float value) { return setInOneStep(value); }
bool XAttributeListControl::onSetAttributes(const wxString& value) { return setInOneStep(value.ToStdWstring()); }

void XAttributeListControl::onBeginInteractiveEdit() { m_interactive = true; }

void XAttributeListControl::onEndInteractiveEdit() {
    if (!m_interactive) return;
    m_interactive = false;
    // The drag's transient rounds become one undo step, with a final notification.
    m_control.Scene().Database().CommitTransient();
}

bool XAttributeListControl::onRequestEditNextList(bool backwards) {
    return m_control.EditInNextList(this, backwards);
}

void XAttributeListControl::onRequestSelectNextRow(int row, bool extend, bool toggle) {
    m_control.SelectNextRow(this, row, extend, toggle);
}
void XAttributeListControl::onRequestSelectPreviousRow(int row, bool extend, bool toggle) {
    m_control.SelectPreviousRow(this, row, extend, toggle);
}
void XAttributeListControl::onRequestSelectEnd(int row, bool extend, bool toggle) {
    m_control.SelectEnd(this, row, extend, toggle);
}
void XAttributeListControl::onRequestSelectHome(int row, bool extend, bool toggle) {
    m_control.SelectHome(this, row, extend, toggle);
}
void XAttributeListControl::onRequestSelectPageDown(int row, bool extend, bool toggle) {
    m_control.SelectPageDown(this, row, extend, toggle);
}
void XAttributeListControl::onRequestSelectPageUp(int row, bool extend, bool toggle) {
    m_control.SelectPageUp(this, row, extend, toggle);
}
void XAttributeListControl::onRequestSelectAll() { m_control.SelectAll(); }
void XAttributeListControl::onRequestSelectExclusively(int row) { m_control.SelectExclusively(this, row); }
void XAttributeListControl::onRequestClearHighlightedItems(int column) { m_control.ClearHighlightedItems(column); }
void XAttributeListControl::onRequestHighlightItemsInScreenRect(int column, const wxRect& screenRect, bool add) {
    m_control.HighlightItemsInScreenRect(column, screenRect, add);
}
wxUtils::VelListItem XAttributeListControl::onRequestItemHitTest(const wxPoint& screen, int* column) {
    return m_control.ItemHitTest(screen, column);
}

void XAttributeListControl::OnContextMenu(wxUtils::VelListEvent& event) {
    const std::vector<int> selected = getSelectedItems();
    const bool anyWritable =
        std::any_of(selected.begin(), selected.end(), [this](int row) { return !isItemReadOnly(row); });
    if (!anyWritable) return;
    wxUtils::VelPopupMenu menu;
    menu.appendItem(m_control.CommandId(0), XAttributeEditor::CommandNames[0]);
    menu.appendSeparator();
    menu.appendItem(m_control.CommandId(2), XAttributeEditor::CommandNames[2]);
    menu.appendItem(m_control.CommandId(4), XAttributeEditor::CommandNames[4]);
    menu.appendSeparator();
    menu.appendItem(m_control.CommandId(6), XAttributeEditor::CommandNames[6]);
    // The chosen command arrives as a menu event that climbs to the attribute control.
    menu.popup(this, event.getPosition());
}

void XAttributeListControl::onTextRefused(int, const wxString&, const wxString& reason) {
    XStatusNote::Show(this, reason);
}

}  // namespace VelXUI

#include <velxui/XAttributeControl.h>
#include <velxui/XAttributeEditor.h>
#include <velxui/XAttributeListControl.h>
#include <velxui/XAttributeSource.h>
#include <velxui/XObjectNameCompleter.h>
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

bool XAttributeListControl::onOffsetAttributes(float delta) {
    VelX::XDatabase& database = m_control.Scene().Database();
    database.BeginChangeBlock(m_interactive);
    m_control.OffsetAttributes(delta);
    database.EndChangeBlock();
    m_control.ForgetRowWrites();
    return true;
}

void XAttributeListControl::onBeginInteractiveEdit() {
    m_interactive = true;
    m_control.RememberScrubStart();
}

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
    // The menu opens on every row; each command is enabled when it applies to a selected row.
    bool keyable = false, animated = false, connected = false, unifiable = false;
    for (int row : getSelectedItems()) {
        const wxUtils::VelAttributeGroup* group = GetAttributeGroup(row);
        const auto* source = group ? static_cast<const XAttributeSource*>(group->getAttribute()) : nullptr;
        if (!source) continue;
        const bool editable = !isItemReadOnly(row);
        keyable = keyable || (editable && source->anyKeyable());
        animated = animated || source->anyAnimated();
        connected = connected || source->anyConnected();
        unifiable = unifiable || (editable && source->attributeCount() > 1);
    }
    wxUtils::VelPopupMenu menu;
    const int key = m_control.CommandId(0), clearKeys = m_control.CommandId(2), clearInputs = m_control.CommandId(4),
              unify = m_control.CommandId(6);
    menu.appendItem(key, XAttributeEditor::CommandNames[0]);
    menu.appendSeparator();
    menu.appendItem(clearKeys, XAttributeEditor::CommandNames[2]);
    menu.appendItem(clearInputs, XAttributeEditor::CommandNames[4]);
    menu.appendSeparator();
    menu.appendItem(unify, XAttributeEditor::CommandNames[6]);
    menu.enableItem(key, keyable);
    menu.enableItem(clearKeys, animated);
    menu.enableItem(clearInputs, connected);
    menu.enableItem(unify, unifiable);
    // The chosen command arrives as a menu event that climbs to the attribute control.
    menu.popup(this, event.getPosition());
}

wxTextCompleter* XAttributeListControl::onRequestCompleter(int row) {
    const wxUtils::VelAttributeGroup* group = GetAttributeGroup(row);
    const auto* source = group ? static_cast<const XAttributeSource*>(group->getAttribute()) : nullptr;
    return source && source->isObjectReference() ? new XObjectNameCompleter(m_control.Scene()) : nullptr;
}

bool XAttributeListControl::acceptsDroppedText(int row) const {
    const wxUtils::VelAttributeGroup* group = GetAttributeGroup(row);
    const auto* source = group ? static_cast<const XAttributeSource*>(group->getAttribute()) : nullptr;
    return source && source->isObjectReference() && VelAttributeControl::acceptsDroppedText(row);
}

void XAttributeListControl::onTextRefused(int, const wxString&, const wxString& reason) {
    XStatusNote::Show(this, reason);
}

}  // namespace VelXUI

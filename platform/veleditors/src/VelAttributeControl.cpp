#include <veleditors/VelAttributeControl.h>

#include <velwidgets/GUIServices.h>

#include <wx/dc.h>
#include <wx/frame.h>
#include <wx/menu.h>
#include <wx/textctrl.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace wxUtils {

namespace {
constexpr int TextInset = 6;
constexpr int ScrubPixelsPerInteger = 4;

bool parseInteger(const wxString& text, int& value) {
    long number = 0;
    if (!text.Strip(wxString::both).ToLong(&number)) return false;
    if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max()) return false;
    value = static_cast<int>(number);
    return true;
}

bool parseFloat(const wxString& text, float& value) {
    double number = 0.0;
    wxString trimmed = text.Strip(wxString::both);
    // Both decimal separators are taken, whatever the locale.
    if (!trimmed.ToCDouble(&number)) {
        trimmed.Replace(",", ".");
        if (!trimmed.ToCDouble(&number)) return false;
    }
    if (!std::isfinite(number) || std::fabs(number) > std::numeric_limits<float>::max()) return false;
    value = static_cast<float>(number);
    return true;
}
}  // namespace

VelAttributeControl::VelAttributeControl() = default;

VelAttributeControl::~VelAttributeControl() = default;

bool VelAttributeControl::Create(wxWindow* parent, wxWindowID id, const wxPoint& pos, const wxSize& size, long style,
                                 const wxString& name) {
    if (!VelListControl::Create(parent, id, pos, size, style, name)) return false;
    m_textHeight = GetCharHeight();
    return true;
}

void VelAttributeControl::clear() {
    cancelEdit();
    onPreClear();
    m_groups.clear();
    clearSelection();
    rowsChanged();
    onPostClear();
}

VelAttributeGroup* VelAttributeControl::addAttribute(VelAttribute* attribute, const wxString& customLabel) {
    if (!attribute) return nullptr;
    m_groups.push_back(std::make_unique<VelAttributeGroup>(attribute, customLabel));
    VelAttributeGroup* group = m_groups.back().get();
    onAddAttributeGroup(group);
    onAddAttribute(attribute);
    rowsChanged();
    return group;
}

bool VelAttributeControl::removeAttribute(int row) {
    if (row < 0 || row >= getItemCount()) return false;
    if (row == m_editRow) cancelEdit();
    VelAttribute* attribute = m_groups[row]->getAttribute();
    m_groups.erase(m_groups.begin() + row);
    onRemoveAttribute(attribute);
    clearSelection();
    rowsChanged();
    return true;
}

VelAttributeGroup* VelAttributeControl::GetAttributeGroup(int row) const {
    return row >= 0 && row < getItemCount() ? m_groups[row].get() : nullptr;
}

bool VelAttributeControl::isItemReadOnly(int row) const {
    const VelAttributeGroup* group = GetAttributeGroup(row);
    return !group || !group->isEditable() || group->getType() == VelAttribute::None;
}

void VelAttributeControl::rebuildAll() {
    for (auto& group : m_groups) group->rebuild();
    Refresh(false);
}

void VelAttributeControl::onPreClear() {}
void VelAttributeControl::onPostClear() {}
void VelAttributeControl::onAddAttributeGroup(VelAttributeGroup*) {}
void VelAttributeControl::onAddAttribute(VelAttribute*) {}
void VelAttributeControl::onRemoveAttribute(VelAttribute*) {}
void VelAttributeControl::onBeginInteractiveEdit() {}
bool VelAttributeControl::onRequestEditNextList(bool) { return false; }

int VelAttributeControl::findTypableRow(int from, int step) const {
    if (step == 0) return -1;
    for (int row = from; row >= 0 && row < getItemCount(); row += step) {
        const int type = m_groups[row]->getType();
        if (!isItemReadOnly(row) &&
            (type == VelAttribute::Integer || type == VelAttribute::Float || type == VelAttribute::String))
            return row;
    }
    return -1;
}
void VelAttributeControl::onEndInteractiveEdit() {}

bool VelAttributeControl::onSetAttributes(int value) {
    for (int row : getSelectedItems()) {
        VelAttributeGroup* group = m_groups[row].get();
        if (isItemReadOnly(row)) continue;
        if (group->getType() == VelAttribute::Integer) group->setIntegerValue(value);
        else if (group->getType() == VelAttribute::Float) group->setFloatValue(static_cast<float>(value));
        group->rebuild();
    }
    Refresh(false);
    return true;
}

bool VelAttributeControl::onSetAttributes(bool value) {
    for (int row : getSelectedItems()) {
        VelAttributeGroup* group = m_groups[row].get();
        if (isItemReadOnly(row) || group->getType() != VelAttribute::Boolean) continue;
        group->setBooleanValue(value);
        group->rebuild();
    }
    Refresh(false);
    return true;
}

bool VelAttributeControl::onSetAttributes(float value) {
    for (int row : getSelectedItems()) {
        VelAttributeGroup* group = m_groups[row].get();
        if (isItemReadOnly(row)) continue;
        if (group->getType() == VelAttribute::Integer) group->setIntegerValue(static_cast<int>(value));
        else if (group->getType() == VelAttribute::Float) group->setFloatValue(value);
        group->rebuild();
    }
    Refresh(false);
    return true;
}

bool VelAttributeControl::onSetAttributes(const wxString& value) {
    for (int row : getSelectedItems()) {
        VelAttributeGroup* group = m_groups[row].get();
        if (isItemReadOnly(row)) continue;
        if (group->getType() == VelAttribute::Enumeration) group->setEnumerationValue(value);
        else if (group->getType() == VelAttribute::String) group->setStringValue(value);
        group->rebuild();
    }
    Refresh(false);
    return true;
}

wxRect VelAttributeControl::valueRect(int row) const {
    wxRect rect = getItemRect(row);
    const int name = getNameColumnWidth();
    rect.x += name;
    rect.width -= name;
    return rect;
}

void VelAttributeControl::drawItem(wxDC& dc, int row, const wxRect& rect, bool selected) {
    const ColourScheme& colours = scheme();
    const VelAttributeGroup& group = *m_groups[row];
    const bool readOnly = isItemReadOnly(row);
    const int nameWidth = getNameColumnWidth();
    const wxRect nameCell(rect.x, rect.y, nameWidth, rect.height);
    const wxRect valueCell(rect.x + nameWidth, rect.y, rect.width - nameWidth, rect.height);
    const int textHeight = m_textHeight > 0 ? m_textHeight : dc.GetCharHeight();
    const int textY = rect.y + (rect.height - textHeight) / 2;

    // No clipping regions (they are costly per cell): the name is drawn first and the value cell's
    // background then covers any part of a long name that runs into it.
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.SetBrush(wxBrush(selected ? colours.selectionBackground : colours.windowBackground));
    dc.DrawRectangle(nameCell);
    dc.SetTextForeground(selected ? colours.selectionText : (readOnly ? colours.readOnlyText : colours.text));
    dc.DrawText(group.getLabel(), nameCell.x + TextInset, textY);

    wxColour valueBackground = colours.windowBackground;
    if (group.isAnimated()) valueBackground = colours.animatedBackground;
    else if (group.isConnected()) valueBackground = colours.connectedBackground;
    else if (readOnly) valueBackground = colours.panelBackground;
    if (selected) valueBackground = GUIServices::alphaBlend(colours.selectionBackground, valueBackground, 0.25f);
    dc.SetBrush(wxBrush(valueBackground));
    dc.DrawRectangle(valueCell);
    dc.SetPen(wxPen(colours.gridLine));
    dc.DrawLine(rect.x, rect.GetBottom(), rect.GetRight() + 1, rect.GetBottom());
    dc.DrawLine(valueCell.x, rect.y, valueCell.x, rect.GetBottom());

    if (row == m_editRow) return;  // the edit field covers the value
    const wxColour valueColour = readOnly ? colours.readOnlyText : colours.text;
    dc.SetTextForeground(valueColour);
    const int textX = valueCell.x + TextInset;
    switch (group.getType()) {
    case VelAttribute::Boolean: drawCheckBox(dc, valueCell, group); break;
    case VelAttribute::Enumeration: {
        dc.DrawText(group.getValueText(), textX, textY);
        // A small arrow marks the choice, over a patch that ends a long text.
        const int ax = valueCell.GetRight() - 10, ay = valueCell.y + valueCell.height / 2;
        dc.SetPen(*wxTRANSPARENT_PEN);
        dc.SetBrush(wxBrush(valueBackground));
        dc.DrawRectangle(ax - 7, valueCell.y + 1, 17, valueCell.height - 2);
        const wxPoint arrow[3] = {{ax - 4, ay - 2}, {ax + 4, ay - 2}, {ax, ay + 2}};
        dc.SetBrush(wxBrush(valueColour));
        dc.DrawPolygon(3, arrow);
        break;
    }
    case VelAttribute::Float:
        dc.DrawText(group.getValueText(), textX, textY);
        if (!group.getUnits().empty()) {
            // Measuring text costs as much as drawing it: the few unit labels are measured once.
            auto measured = m_unitsWidths.find(group.getUnits());
            if (measured == m_unitsWidths.end())
                measured = m_unitsWidths.emplace(group.getUnits(), dc.GetTextExtent(group.getUnits()).x).first;
            const int unitsWidth = measured->second;
            const int unitsX = valueCell.GetRight() - TextInset - unitsWidth;
            dc.SetPen(*wxTRANSPARENT_PEN);
            dc.SetBrush(wxBrush(valueBackground));
            dc.DrawRectangle(unitsX - 2, valueCell.y + 1, unitsWidth + TextInset + 1, valueCell.height - 2);
            dc.SetTextForeground(colours.dimmedText);
            dc.DrawText(group.getUnits(), unitsX, textY);
        }
        break;
    default: dc.DrawText(group.getValueText(), textX, textY); break;
    }
}

void VelAttributeControl::drawCheckBox(wxDC& dc, const wxRect& cell, const VelAttributeGroup& group) {
    const ColourScheme& colours = scheme();
    const int side = std::min(cell.height - 6, 14);
    const wxRect box(cell.x + TextInset, cell.y + (cell.height - side) / 2, side, side);
    const bool readOnly = !group.isEditable();
    dc.SetBrush(wxBrush(colours.windowBackground));
    dc.SetPen(wxPen(readOnly ? colours.readOnlyText : colours.text));
    dc.DrawRectangle(box);
    dc.SetPen(wxPen(readOnly ? colours.readOnlyText : colours.text, 2));
    if (group.isMultiple()) {
        dc.DrawLine(box.x + 3, box.y + side / 2, box.GetRight() - 2, box.y + side / 2);
    } else if (group.getBooleanValue()) {
        dc.DrawLine(box.x + 3, box.y + side / 2, box.x + side / 2 - 1, box.GetBottom() - 3);
        dc.DrawLine(box.x + side / 2 - 1, box.GetBottom() - 3, box.GetRight() - 2, box.y + 3);
    }
}

void VelAttributeControl::toggleBoolean(int row) {
    const VelAttributeGroup* group = GetAttributeGroup(row);
    if (!group || isItemReadOnly(row) || group->getType() != VelAttribute::Boolean) return;
    // A mixed box turns on, as most check boxes do.
    const bool value = group->isMultiple() ? true : !group->getBooleanValue();
    onSetAttributes(value);
    Refresh(false);
}

void VelAttributeControl::chooseEnumeration(int row) {
    const VelAttributeGroup* group = GetAttributeGroup(row);
    if (!group || isItemReadOnly(row) || group->getEnumerationValues().empty()) return;
    wxMenu menu;
    const std::vector<wxString> values = group->getEnumerationValues();
    for (size_t i = 0; i < values.size(); ++i) {
        wxMenuItem* item = menu.AppendCheckItem(static_cast<int>(1000 + i), values[i]);
        item->Check(!group->isMultiple() && static_cast<int>(i) == group->getIntegerValue());
    }
    const wxRect cell = valueRect(row);
    const int chosen = GetPopupMenuSelectionFromUser(menu, cell.GetBottomLeft());
    if (chosen == wxID_NONE || chosen < 1000 || chosen >= 1000 + static_cast<int>(values.size())) return;
    onSetAttributes(values[chosen - 1000]);
    Refresh(false);
}

bool VelAttributeControl::onItemClicked(int row, int column, const wxMouseEvent&) {
    if (column != ValueColumn || isItemReadOnly(row)) return false;
    switch (GetAttributeGroup(row)->getType()) {
    case VelAttribute::Boolean: toggleBoolean(row); return true;
    case VelAttribute::Enumeration: chooseEnumeration(row); return true;
    default: return beginEdit(row);
    }
}

bool VelAttributeControl::onItemDragStart(int row, int column, const wxPoint& client) {
    const VelAttributeGroup* group = GetAttributeGroup(row);
    if (column != ValueColumn || isItemReadOnly(row)) return false;
    if (group->getType() != VelAttribute::Integer && group->getType() != VelAttribute::Float) return false;
    cancelEdit();
    m_scrubRow = row;
    m_scrubStartX = client.x;
    // A mixed row scrubs too: every object moves from its own value (see onOffsetAttributes).
    m_scrubStartValue = group->getType() == VelAttribute::Float ? group->getFloatValue()
                                                                 : static_cast<float>(group->getIntegerValue());
    m_scrubStep = ScrubStep(m_scrubStartValue, group->getUnits());
    onBeginInteractiveEdit();
    return true;
}

void VelAttributeControl::onItemDrag(const wxPoint& client) {
    const VelAttributeGroup* group = GetAttributeGroup(m_scrubRow);
    if (!group) return;
    const int dx = client.x - m_scrubStartX;
    const float speed = wxGetKeyState(WXK_SHIFT) ? 0.1f : (wxGetKeyState(WXK_CONTROL) ? 10.0f : 1.0f);
    if (group->getType() == VelAttribute::Integer)
        onOffsetAttributes(static_cast<float>(static_cast<int>(dx * speed) / ScrubPixelsPerInteger));
    else
        onOffsetAttributes(static_cast<float>(dx) * m_scrubStep * speed);
    RefreshRect(valueRect(m_scrubRow), false);
}

bool VelAttributeControl::onOffsetAttributes(float delta) {
    const VelAttributeGroup* group = GetAttributeGroup(m_scrubRow);
    if (group && group->getType() == VelAttribute::Integer)
        return onSetAttributes(static_cast<int>(m_scrubStartValue + delta));
    return onSetAttributes(m_scrubStartValue + delta);
}

float VelAttributeControl::ScrubStep(float value, const wxString& units) {
    const float magnitude = std::fabs(value);
    float step = magnitude >= 1.0f ? std::pow(10.0f, std::floor(std::log10(magnitude)) - 2.0f) : 0.01f;
    if (units == "deg" || units == wxString::FromUTF8("\xC2\xB0")) step = std::max(step, 0.1f);
    return step;
}

void VelAttributeControl::onItemDragEnd() {
    if (m_scrubRow < 0) return;
    m_scrubRow = -1;
    onEndInteractiveEdit();
    Refresh(false);
}

bool VelAttributeControl::onItemKey(int row, const wxKeyEvent& event) {
    const int key = event.GetKeyCode();
    if (key == WXK_RETURN || key == WXK_NUMPAD_ENTER || key == WXK_F2) {
        const VelAttributeGroup* group = GetAttributeGroup(row);
        if (!group) return false;
        if (group->getType() == VelAttribute::Enumeration) chooseEnumeration(row);
        else if (group->getType() == VelAttribute::Boolean) toggleBoolean(row);
        else beginEdit(row);
        return true;
    }
    if (key == WXK_SPACE) {
        toggleBoolean(row);
        return true;
    }
    return false;
}

bool VelAttributeControl::beginEdit(int row) {
    const VelAttributeGroup* group = GetAttributeGroup(row);
    if (!group || isItemReadOnly(row)) return false;
    const int type = group->getType();
    if (type != VelAttribute::Integer && type != VelAttribute::Float && type != VelAttribute::String) return false;
    if (m_editRow >= 0) commitEdit();
    // The typed value goes to the selected rows: the edited row is always one of them.
    if (!isItemSelected(row)) onRequestSelectExclusively(row);
    if (!m_editor) {
        m_editor = new wxTextCtrl(this, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize,
                                  wxTE_PROCESS_ENTER | wxBORDER_NONE);
        m_editor->Bind(wxEVT_TEXT_ENTER, &VelAttributeControl::onEditorEnter, this);
        m_editor->Bind(wxEVT_KEY_DOWN, &VelAttributeControl::onEditorKey, this);
        m_editor->Bind(wxEVT_KILL_FOCUS, &VelAttributeControl::onEditorFocusLost, this);
    }
    m_editRow = row;
    m_editor->SetSize(valueRect(row).Deflate(1));
    m_editor->ChangeValue(group->getEditText());
    m_editor->AutoComplete(onRequestCompleter(row));
    m_editor->Show();
    m_editor->SetFocus();
    m_editor->SelectAll();
    RefreshRect(getItemRect(row), false);
    return true;
}

void VelAttributeControl::commitEdit() {
    if (m_editRow < 0 || !m_editor) return;
    const int row = m_editRow;
    const wxString text = m_editor->GetValue();
    m_editRow = -1;
    m_editor->Hide();
    commitText(row, text);
    Refresh(false);
}

void VelAttributeControl::cancelEdit() {
    if (m_editRow < 0 || !m_editor) return;
    m_editRow = -1;
    m_editor->Hide();
    SetFocus();
    Refresh(false);
}

bool VelAttributeControl::commitText(int row, const wxString& text) {
    const VelAttributeGroup* group = GetAttributeGroup(row);
    if (!group) return false;
    // Text that is not a number leaves the value as it was, and the owner says why.
    const auto refuse = [&](const char* kind) {
        const wxString shown = text.length() > 40 ? text.Left(40) + "..." : text;
        onTextRefused(row, text,
                      wxString::Format("\"%s\" is not %s: %s keeps its value.", shown, kind, group->getLabel()));
        return false;
    };
    switch (group->getType()) {
    case VelAttribute::Integer: {
        int value = 0;
        if (!parseInteger(text, value)) {
            float real = 0.0f;  // "2.7" in an integer row means 2
            if (!parseFloat(text, real)) return refuse("a whole number");
            return onSetAttributes(real);
        }
        return onSetAttributes(value);
    }
    case VelAttribute::Float: {
        float value = 0.0f;
        if (!parseFloat(text, value)) return refuse("a number");
        return onSetAttributes(value);
    }
    case VelAttribute::String: return onSetAttributes(text);
    default: return false;
    }
}

bool VelAttributeControl::acceptsDroppedText(int row) const {
    const VelAttributeGroup* group = GetAttributeGroup(row);
    return group && group->getType() == VelAttribute::String && !isItemReadOnly(row);
}

bool VelAttributeControl::canDropText(const wxPoint& screen) const {
    const int row = hitTestRow(ScreenToClient(screen));
    return row >= 0 && acceptsDroppedText(row);
}

bool VelAttributeControl::dropText(const wxPoint& screen, const wxString& text) {
    const int row = hitTestRow(ScreenToClient(screen));
    if (row < 0 || !acceptsDroppedText(row)) return false;
    if (isEditing()) cancelEdit();
    onRequestSelectExclusively(row);
    return commitText(row, text);
}

void VelAttributeControl::onTextRefused(int, const wxString&, const wxString& reason) {
    if (auto* frame = dynamic_cast<wxFrame*>(wxGetTopLevelParent(this)))
        if (frame->GetStatusBar()) frame->SetStatusText(reason, 0);
}

wxTextCompleter* VelAttributeControl::onRequestCompleter(int) { return nullptr; }

void VelAttributeControl::onEditorEnter(wxCommandEvent&) {
    commitEdit();
    SetFocus();
}

void VelAttributeControl::onEditorKey(wxKeyEvent& event) {
    if (event.GetKeyCode() == WXK_ESCAPE) {
        cancelEdit();
        return;
    }
    if (event.GetKeyCode() == WXK_TAB) {
        const int row = m_editRow;
        commitEdit();
        // Tab (Shift+Tab backwards) moves the edit to the next row whose value can be typed.
        const int step = event.ShiftDown() ? -1 : 1;
        const int next = findTypableRow(row + step, step);
        if (next >= 0) {
            onRequestSelectExclusively(next);
            beginEdit(next);
        } else if (!onRequestEditNextList(step < 0)) {
            SetFocus();
        }
        return;
    }
    event.Skip();
}

void VelAttributeControl::onEditorFocusLost(wxFocusEvent& event) {
    // Clicking elsewhere commits, as in any property list; after Enter or Escape there is nothing left.
    if (m_editRow >= 0) CallAfter([this] { commitEdit(); });
    event.Skip();
}

}  // namespace wxUtils


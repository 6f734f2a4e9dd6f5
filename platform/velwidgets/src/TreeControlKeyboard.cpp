// The tree control's keyboard: moving the focus, expanding, type-ahead and label editing.
#include <velwidgets/TreeControl.h>

#include "TreeGraveyard.h"
#include "TreeRows.h"

#include <wx/app.h>
#include <wx/textctrl.h>

#include <algorithm>

namespace wxUtils {

namespace {
// Case-insensitive prefix test without building lowered copies (type-ahead scans many rows).
bool startsWithNoCase(const wxString& text, const wxString& prefix) {
    if (text.length() < prefix.length()) return false;
    auto t = text.begin();
    for (auto p = prefix.begin(); p != prefix.end(); ++p, ++t)
        if (wxTolower(*t) != wxTolower(*p)) return false;
    return true;
}
}  // namespace

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
    if (m_drag.isDragging() && event.GetKeyCode() == WXK_ESCAPE) {
        endDrag(false);  // Escape cancels a drag, as everywhere on the desktop
        return;
    }
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
    const wxString& word = m_typeAhead.type(c);
    const size_t count = m_rows->size();
    if (count == 0) return false;
    const long focusRow = m_focus ? m_rows->rowOf(m_focus) : -1;
    // A new word starts after the focus row; a longer prefix may still match the focus row.
    size_t start = focusRow < 0 ? 0 : size_t(focusRow) + (m_typeAhead.isNewWord() ? 1 : 0);
    for (size_t i = 0; i < count; ++i) {
        TreeItem* item = m_rows->at((start + i) % count);
        if (startsWithNoCase(item->GetLabel(), word)) {
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

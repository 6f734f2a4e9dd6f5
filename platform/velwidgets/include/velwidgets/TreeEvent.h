#pragma once

#include <wx/event.h>
#include <wx/gdicmn.h>

namespace wxUtils {

class TreeItem;

// What a TreeControl tells its handlers: the item concerned, the label of an edit, the point of a
// context-menu request (in the tree's logical coordinates, see TreeControl::logicalToClient), the
// column of a check box and the key of a key press. Handlers may Veto() the begin-edit event (no
// editor opens), the end-edit event (the label stays) and the key event (the tree's own handling is
// skipped).
class TreeEvent : public wxNotifyEvent {
public:
    TreeEvent(wxEventType type = wxEVT_NULL, int id = 0, TreeItem* item = nullptr)
        : wxNotifyEvent(type, id), m_item(item) {}
    wxEvent* Clone() const override { return new TreeEvent(*this); }

    TreeItem* GetItem() const { return m_item; }
    void SetItem(TreeItem* item) { m_item = item; }
    const wxString& GetLabel() const { return m_label; }
    void SetLabel(const wxString& label) { m_label = label; }
    bool IsEditCancelled() const { return m_editCancelled; }
    void SetEditCancelled(bool cancelled) { m_editCancelled = cancelled; }
    const wxPoint& GetPoint() const { return m_point; }
    void SetPoint(const wxPoint& point) { m_point = point; }
    int GetColumn() const { return m_column; }
    void SetColumn(int column) { m_column = column; }
    int GetKeyCode() const { return m_keyCode; }
    int GetKeyModifiers() const { return m_modifiers; }
    void SetKey(int keyCode, int modifiers) { m_keyCode = keyCode; m_modifiers = modifiers; }

private:
    TreeItem* m_item;
    wxString m_label;
    wxPoint m_point;
    int m_column = 0;
    int m_keyCode = 0;
    int m_modifiers = 0;
    bool m_editCancelled = false;
};

wxDECLARE_EVENT(wxEVT_VEL_TREE_SEL_CHANGED, TreeEvent);
wxDECLARE_EVENT(wxEVT_VEL_TREE_ITEM_ACTIVATED, TreeEvent);
wxDECLARE_EVENT(wxEVT_VEL_TREE_ITEM_MENU, TreeEvent);
wxDECLARE_EVENT(wxEVT_VEL_TREE_ITEM_EXPANDED, TreeEvent);
wxDECLARE_EVENT(wxEVT_VEL_TREE_ITEM_COLLAPSED, TreeEvent);
wxDECLARE_EVENT(wxEVT_VEL_TREE_BEGIN_LABEL_EDIT, TreeEvent);
wxDECLARE_EVENT(wxEVT_VEL_TREE_END_LABEL_EDIT, TreeEvent);
wxDECLARE_EVENT(wxEVT_VEL_TREE_CHECK_CHANGED, TreeEvent);
wxDECLARE_EVENT(wxEVT_VEL_TREE_KEY_DOWN, TreeEvent);

typedef void (wxEvtHandler::*TreeEventFunction)(TreeEvent&);
#define VelTreeEventHandler(func) wxEVENT_HANDLER_CAST(wxUtils::TreeEventFunction, func)

}  // namespace wxUtils

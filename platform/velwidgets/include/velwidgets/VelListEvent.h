#pragma once

#include <wx/event.h>

namespace wxUtils {

// What a list tells its owner: a context menu was asked for on a row, the selection changed, or
// the list's section was expanded or collapsed (its best size changed, so the owner lays out).
class VelListEvent : public wxCommandEvent {
public:
    VelListEvent(wxEventType type = wxEVT_NULL, int id = 0, int item = -1) : wxCommandEvent(type, id), m_item(item) {}
    int getItem() const { return m_item; }
    wxPoint getPosition() const { return m_position; }  // in the list's client coordinates
    void setPosition(const wxPoint& position) { m_position = position; }
    wxEvent* Clone() const override { return new VelListEvent(*this); }

private:
    int m_item;
    wxPoint m_position = wxDefaultPosition;
};

wxDECLARE_EVENT(wxEVT_VELLIST_CONTEXT_MENU, VelListEvent);
wxDECLARE_EVENT(wxEVT_VELLIST_SELECTION_CHANGED, VelListEvent);
wxDECLARE_EVENT(wxEVT_VELLIST_ROLLUP, VelListEvent);

}  // namespace wxUtils

#include "LogListView.h"

#include <orkacore/LogPane.h>

namespace Orka {

LogListView::LogListView(wxWindow* parent, const LogPane& pane)
    : wxListCtrl(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxLC_REPORT | wxLC_VIRTUAL | wxLC_HRULES),
      m_pane(pane) {
    AppendColumn("Time", wxLIST_FORMAT_LEFT, FromDIP(80));
    AppendColumn("Level", wxLIST_FORMAT_LEFT, FromDIP(90));
    AppendColumn("Message", wxLIST_FORMAT_LEFT, FromDIP(700));
}

wxString LogListView::OnGetItemText(long item, long column) const {
    return item < 0 ? wxString() : m_pane.rowText(static_cast<size_t>(item), static_cast<int>(column));
}

wxItemAttr* LogListView::OnGetItemAttr(long item) const {
    if (item < 0) return nullptr;
    // One attribute object reused for every row: the list reads it before asking for the next.
    m_attr.SetTextColour(m_pane.rowColour(static_cast<size_t>(item)));
    return &m_attr;
}

}  // namespace Orka

#pragma once

#include <wx/listctrl.h>

namespace Orka {

class LogPane;

// The log pane's list: virtual, so a full log costs only the rows on screen. It asks the pane for
// each row's text and colour.
class LogListView : public wxListCtrl {
public:
    LogListView(wxWindow* parent, const LogPane& pane);

protected:
    wxString OnGetItemText(long item, long column) const override;
    wxItemAttr* OnGetItemAttr(long item) const override;

private:
    const LogPane& m_pane;
    mutable wxItemAttr m_attr;
};

}  // namespace Orka

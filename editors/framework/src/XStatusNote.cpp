#include <velxui/XStatusNote.h>

#include <velxcore/XLog.h>

#include <wx/frame.h>

namespace VelXUI {

void XStatusNote::Show(wxWindow* panel, const wxString& note) {
    VelX::XLog::Write(note.ToStdWstring());
    if (!panel) return;
    if (auto* frame = dynamic_cast<wxFrame*>(wxGetTopLevelParent(panel)))
        if (frame->GetStatusBar()) frame->SetStatusText(note, 0);
}

}  // namespace VelXUI

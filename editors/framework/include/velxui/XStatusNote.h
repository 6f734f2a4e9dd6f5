#pragma once

#include <wx/string.h>

class wxWindow;

namespace VelXUI {

// A one-line note about input the panel rewrote or refused (a name the core changed, text that is
// not a number): shown in the status bar of the frame that holds the panel and written to the log,
// so that nothing a user typed changes or vanishes without a word.
class XStatusNote {
public:
    static void Show(wxWindow* panel, const wxString& note);
};

}  // namespace VelXUI

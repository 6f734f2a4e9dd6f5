#pragma once

#include <velwidgets/VelMenu.h>

#include <wx/gdicmn.h>

class wxWindow;

namespace wxUtils {

// A context menu. popup() shows it and returns when it closes; the chosen item arrives as wxEVT_MENU
// on the owner window, as for any popup menu.
class VelPopupMenu : public VelMenu {
public:
    explicit VelPopupMenu(const wxString& title = wxEmptyString);

    // Shows the menu at the pointer, or at a point in the owner's client coordinates. False when
    // there is no owner, the menu is empty or released, or the menu could not be shown.
    bool popup(wxWindow* owner, const wxPoint& at = wxDefaultPosition);

    // Pops up any VelMenu the same way (for menus that are filled by several hands first).
    static bool popup(VelMenu& menu, wxWindow* owner, const wxPoint& at = wxDefaultPosition);
};

}  // namespace wxUtils

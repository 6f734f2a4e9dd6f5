#include <velwidgets/VelPopupMenu.h>

#include <wx/menu.h>
#include <wx/window.h>

namespace wxUtils {

VelPopupMenu::VelPopupMenu(const wxString& title) : VelMenu(title) {}

bool VelPopupMenu::popup(wxWindow* owner, const wxPoint& at) { return popup(*this, owner, at); }

bool VelPopupMenu::popup(VelMenu& menu, wxWindow* owner, const wxPoint& at) {
    if (!owner || !menu.menu() || menu.itemCount() == 0 || !owner->IsShownOnScreen()) return false;
    // Modal: returns after the menu closes; a chosen item has been sent to the owner by then.
    return owner->PopupMenu(menu.menu(), at);
}

}  // namespace wxUtils

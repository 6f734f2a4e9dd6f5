#include <velwidgets/VelPanel.h>

namespace wxUtils {

const char* const VelPanel::DefaultName = "VelPanel";

VelPanel::VelPanel() = default;

VelPanel::VelPanel(wxWindow* parent, wxWindowID id, const wxPoint& pos, const wxSize& size, long style,
                   const wxString& name) {
    Create(parent, id, pos, size, style, name);
}

bool VelPanel::Create(wxWindow* parent, wxWindowID id, const wxPoint& pos, const wxSize& size, long style,
                      const wxString& name) {
    if (!parent || GetHandle()) return false;  // wx needs a parent; a created panel stays as it is
    if (!wxPanel::Create(parent, id, pos, size, style, name)) return false;
    applySchemeColours(activeColourScheme());
    return true;
}

void VelPanel::onColourSchemeChanged(const ColourScheme& scheme) {
    // A panel made with the default constructor has no window until Create.
    if (!GetHandle()) return;
    applySchemeColours(scheme);
    Refresh();
}

void VelPanel::applySchemeColours(const ColourScheme& scheme) {
    SetBackgroundColour(scheme.panelBackground);
    SetForegroundColour(scheme.text);
}

}  // namespace wxUtils

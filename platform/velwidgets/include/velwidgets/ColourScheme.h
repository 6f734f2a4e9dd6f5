#pragma once

#include <wx/colour.h>

namespace wxUtils {

// The colours every custom-drawn control paints with. The framework fills one for the light and
// one for the dark scheme and hands the active one to every ColourSchemeClient.
struct ColourScheme {
    bool dark = false;
    wxColour windowBackground{250, 250, 250};
    wxColour panelBackground{240, 240, 240};
    wxColour text{20, 20, 20};
    wxColour dimmedText{120, 120, 120};
    wxColour selectionBackground{51, 153, 255};
    wxColour selectionText{255, 255, 255};
    wxColour focusOutline{0, 102, 204};
    wxColour gridLine{220, 220, 220};
    wxColour titleBackground{225, 225, 225};
    wxColour readOnlyText{140, 140, 140};
    wxColour animatedBackground{214, 236, 255};
    wxColour connectedBackground{255, 244, 204};
};

}  // namespace wxUtils

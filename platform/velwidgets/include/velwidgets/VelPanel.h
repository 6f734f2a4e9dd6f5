#pragma once

#include <velwidgets/ColourSchemeClient.h>

#include <wx/panel.h>

namespace wxUtils {

// The panel every editor is built on: a wxPanel named "VelPanel" that paints its background and
// text in the active colour scheme and repaints when the scheme changes.
class VelPanel : public wxPanel, public ColourSchemeClient {
public:
    static const char* const DefaultName;  // "VelPanel"

    VelPanel();
    VelPanel(wxWindow* parent, wxWindowID id = wxID_ANY, const wxPoint& pos = wxDefaultPosition,
             const wxSize& size = wxDefaultSize, long style = wxTAB_TRAVERSAL, const wxString& name = DefaultName);

    // Two-step creation for panels made with the default constructor; false when wx refuses.
    bool Create(wxWindow* parent, wxWindowID id = wxID_ANY, const wxPoint& pos = wxDefaultPosition,
                const wxSize& size = wxDefaultSize, long style = wxTAB_TRAVERSAL, const wxString& name = DefaultName);

    void onColourSchemeChanged(const ColourScheme& scheme) override;

private:
    void applySchemeColours(const ColourScheme& scheme);
};

}  // namespace wxUtils

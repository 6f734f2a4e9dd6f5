#pragma once

#include <velwidgets/ColourSchemeClient.h>
#include <velxcore/XColour.h>

#include <wx/window.h>

#include <string>

class wxDC;

namespace VelXUI {

// The coloured strip above the lists of one object type: a gradient in the object's colour fading
// into the panel background, with the type label in bold and the name label beside it.
class XAttributeListTitle : public wxWindow, public wxUtils::ColourSchemeClient {
public:
    explicit XAttributeListTitle(wxWindow* parent);

    void SetColour(const VelX::XColour& colour);
    void SetTypeLabel(const std::wstring& label);
    void SetNameLabel(const std::wstring& label);
    const std::wstring& TypeLabel() const { return m_typeLabel; }
    const std::wstring& NameLabel() const { return m_nameLabel; }
    wxColour Colour() const { return m_colour; }

    // Draws the strip into any DC (the window's or an off-screen bitmap's).
    void renderTo(wxDC& dc);
    void onColourSchemeChanged(const wxUtils::ColourScheme& scheme) override;

protected:
    wxSize DoGetBestClientSize() const override;

private:
    void onPaint(wxPaintEvent& event);
    void onSize(wxSizeEvent& event);

    wxColour m_colour{128, 128, 128};
    std::wstring m_typeLabel;
    std::wstring m_nameLabel;
};

}  // namespace VelXUI

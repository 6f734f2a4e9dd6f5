#include <velxui/XAttributeListTitle.h>

#include <velwidgets/GUIServices.h>

#include <wx/dcbuffer.h>
#include <wx/graphics.h>

#include <algorithm>
#include <memory>

namespace VelXUI {

namespace {
unsigned char channel(float value) {
    if (!(value > 0.0f)) return 0;  // NaN too
    return static_cast<unsigned char>(std::min(value, 1.0f) * 255.0f + 0.5f);
}
}  // namespace

XAttributeListTitle::XAttributeListTitle(wxWindow* parent) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    Create(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxFULL_REPAINT_ON_RESIZE, "XAttributeListTitle");
    Bind(wxEVT_PAINT, &XAttributeListTitle::onPaint, this);
    Bind(wxEVT_SIZE, &XAttributeListTitle::onSize, this);
}

void XAttributeListTitle::SetColour(const VelX::XColour& colour) {
    m_colour = wxColour(channel(colour.r), channel(colour.g), channel(colour.b));
    Refresh(false);
}

void XAttributeListTitle::SetTypeLabel(const std::wstring& label) {
    m_typeLabel = label;
    Refresh(false);
}

void XAttributeListTitle::SetNameLabel(const std::wstring& label) {
    m_nameLabel = label;
    Refresh(false);
}

wxSize XAttributeListTitle::DoGetBestClientSize() const {
    return wxSize(100, GetCharHeight() + 10);
}

void XAttributeListTitle::renderTo(wxDC& dc) {
    const wxUtils::ColourScheme& scheme = activeColourScheme();
    const wxSize size = GetClientSize();
    dc.SetBrush(wxBrush(scheme.panelBackground));
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.DrawRectangle(wxRect(size));
    std::unique_ptr<wxGraphicsContext> gc(wxGraphicsContext::CreateFromUnknownDC(dc));
    if (!gc) return;
    // The strip: the object's colour on the left, fading into the panel on the right.
    const wxColour faded = wxUtils::GUIServices::alphaBlend(m_colour, scheme.panelBackground, 0.15f);
    gc->SetBrush(gc->CreateLinearGradientBrush(0, 0, size.x, 0, m_colour, faded));
    gc->SetPen(*wxTRANSPARENT_PEN);
    gc->DrawRoundedRectangle(1, 1, std::max(0, size.x - 2), std::max(0, size.y - 2), 3.0);
    // Text that reads on the colour it starts over.
    const wxColour text = wxUtils::GUIServices::contrastingTextColour(
        wxUtils::GUIServices::alphaBlend(m_colour, faded, 0.7f));
    wxFont bold = GetFont();
    bold.MakeBold();
    gc->SetFont(bold, text);
    double typeWidth = 0, height = 0;
    gc->GetTextExtent(m_typeLabel, &typeWidth, &height);
    const double y = (size.y - height) / 2.0;
    double x = 8.0;
    if (!m_typeLabel.empty()) {
        gc->DrawText(m_typeLabel, x, y);
        x += typeWidth + 10.0;
    }
    gc->SetFont(GetFont(), text);
    gc->DrawText(m_nameLabel, x, y);
}

void XAttributeListTitle::onColourSchemeChanged(const wxUtils::ColourScheme&) {
    if (GetHandle()) Refresh(false);
}

void XAttributeListTitle::onPaint(wxPaintEvent&) {
    wxAutoBufferedPaintDC dc(this);
    renderTo(dc);
}

void XAttributeListTitle::onSize(wxSizeEvent& event) {
    Refresh(false);
    event.Skip();
}

}  // namespace VelXUI

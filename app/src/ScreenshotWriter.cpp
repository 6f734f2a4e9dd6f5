#include <velxstudio/ScreenshotWriter.h>

#include <wx/bitmap.h>
#include <wx/dcmemory.h>
#include <wx/dcscreen.h>
#include <wx/image.h>
#include <wx/toplevel.h>

namespace {

void recursivePaintNow(wxWindow* window) {
    if (!window->IsShown()) return;
    window->Refresh(false);
    window->Update();
    for (wxWindow* child : window->GetChildren()) recursivePaintNow(child);
}

}  // namespace

void ScreenshotWriter::paintNow(wxWindow* window) {
    if (!window) return;
    window->Layout();
    recursivePaintNow(window);
}

bool ScreenshotWriter::save(wxTopLevelWindow* window, const wxString& fileName, wxString* error) {
    auto fail = [&](const wxString& message) {
        if (error) *error = message;
        return false;
    };
    if (!window || !window->IsShownOnScreen()) return fail("The window is not on screen.");
    // The client area plus the menu bar above it and the status bar within it: the frame's own
    // pixels, without decorations a window manager may draw.
    const wxPoint origin = window->GetScreenPosition();
    const wxSize size = window->GetSize();
    wxBitmap bitmap(size.x, size.y, 24);
    {
        wxScreenDC screen;
        wxMemoryDC memory(bitmap);
        if (!memory.Blit(0, 0, size.x, size.y, &screen, origin.x, origin.y))
            return fail("The screen could not be read.");
    }
    if (!wxImage::FindHandler(wxBITMAP_TYPE_PNG)) wxImage::AddHandler(new wxPNGHandler);
    if (!bitmap.ConvertToImage().SaveFile(fileName, wxBITMAP_TYPE_PNG))
        return fail(wxString::Format("Cannot write \"%s\".", fileName));
    return true;
}

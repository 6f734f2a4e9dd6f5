#pragma once

#include <wx/string.h>

class wxTopLevelWindow;
class wxWindow;

// Saves what a window shows on screen as a PNG image.
class ScreenshotWriter {
public:
    // Brings every pending layout and paint of the window and its children to the screen.
    static void paintNow(wxWindow* window);
    // Copies the window's area (menu bar and status bar included) from the screen into a PNG file.
    // Returns false with a reason when the window is not on screen or the file cannot be written.
    static bool save(wxTopLevelWindow* window, const wxString& fileName, wxString* error = nullptr);
};

#pragma once

#include <wx/string.h>

namespace VelX {
class XScene;
}

// Runs a script file of the user's (Lua or Python, by its extension) against the scene as one undo
// step named after the file. A script that fails is rolled back by the core and leaves the scene as
// it was; the reason goes to the application log.
class StudioScriptRunner {
public:
    // Returns whether the script ran to its end. error receives why not (unreadable file, unknown
    // kind, or the script's own failure).
    static bool runFile(const wxString& fileName, VelX::XScene& scene, wxString* error = nullptr);
};

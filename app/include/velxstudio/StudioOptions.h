#pragma once

#include <wx/string.h>

// What the studio was asked to do on its command line.
struct StudioOptions {
    wxString sceneFile;       // --scene FILE: open this scene instead of the demo scene
    wxString screenshotFile;  // --screenshot FILE.png: lay out, paint, save the window, exit
    wxString scriptFile;      // --run FILE.lua|FILE.py: run against the scene after start
    bool showHelp = false;
    wxString error;           // not empty when the command line was not understood

    bool screenshotMode() const { return !screenshotFile.empty(); }

    // Reads the arguments (argv[0] is the program). Unknown options, missing values and a
    // screenshot name without ".png" leave a message in error.
    static StudioOptions parse(int argc, const wxString* argv);
    static wxString usage();
};

#include <velxstudio/StudioOptions.h>

StudioOptions StudioOptions::parse(int argc, const wxString* argv) {
    StudioOptions options;
    auto value = [&](int& i, wxString& into) {
        if (i + 1 >= argc || argv[i + 1].StartsWith("--")) {
            options.error = wxString::Format("%s needs a file name.", argv[i]);
            return;
        }
        into = argv[++i];
    };
    for (int i = 1; i < argc && options.error.empty(); ++i) {
        const wxString& argument = argv[i];
        if (argument == "--scene") {
            value(i, options.sceneFile);
        } else if (argument == "--screenshot") {
            value(i, options.screenshotFile);
            if (options.error.empty() && !options.screenshotFile.Lower().EndsWith(".png"))
                options.error = wxString::Format("The screenshot is saved as PNG: \"%s\" must end in .png.",
                                                 options.screenshotFile);
        } else if (argument == "--run") {
            value(i, options.scriptFile);
            const wxString lower = options.scriptFile.Lower();
            if (options.error.empty() && !lower.EndsWith(".lua") && !lower.EndsWith(".py"))
                options.error = wxString::Format("--run takes a Lua (.lua) or Python (.py) script, not \"%s\".",
                                                 options.scriptFile);
        } else if (argument == "--help" || argument == "-h") {
            options.showHelp = true;
        } else {
            options.error = wxString::Format("Unknown option \"%s\".", argument);
        }
    }
    return options;
}

wxString StudioOptions::usage() {
    return "Usage: velx-studio [--scene FILE] [--run FILE.lua|FILE.py] [--screenshot FILE.png]\n"
           "  --scene FILE        open this scene instead of the demo scene\n"
           "  --run FILE          run a Lua or Python script against the scene after start\n"
           "  --screenshot FILE   lay out and paint every pane, save the window as PNG, exit\n";
}

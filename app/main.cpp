// velx-studio: the authoring application. The command line is read before wxWidgets starts, so
// that --help and mistakes answer at once, even without a display.
#include <velxstudio/StudioApp.h>
#include <velxstudio/StudioOptions.h>

#include <wx/init.h>

#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
    std::vector<wxString> arguments;
    for (int i = 0; i < argc; ++i) arguments.push_back(wxString::FromUTF8(argv[i]));
    const StudioOptions options = StudioOptions::parse(argc, arguments.data());
    if (options.showHelp) {
        std::fputs(StudioOptions::usage().utf8_str(), stdout);
        return 0;
    }
    if (!options.error.empty()) {
        std::fprintf(stderr, "%s\n%s", static_cast<const char*>(options.error.utf8_str()),
                     static_cast<const char*>(StudioOptions::usage().utf8_str()));
        return 2;
    }
    wxApp::SetInstance(new StudioApp(options));
    // Only the program name goes to wxWidgets: the options are ours.
    int wxArgc = 1;
    return wxEntry(wxArgc, argv);
}

#pragma once

#include <wx/string.h>

class wxFileConfig;

namespace Orka {

// Where the application finds its resources and keeps its configuration.
class EnvData {
public:
    EnvData() = delete;

    // The resources folder: VELX_RESOURCES_DIR when it names a folder, otherwise the first folder
    // found beside the program (see findResourcesDir); "" when there is none, and callers fall back
    // quietly (blank icons, built-in defaults).
    static wxString getAppResourcesDir();
    // The first existing of <dir>/resources, <dir>/../resources, <dir>/../share/velx-studio/resources
    // for the program's folder <dir>; "" when none exists.
    static wxString findResourcesDir(const wxString& executableDir);
    // A file or folder inside the resources folder. Resource names are written with backslashes
    // ("Images\\"); either slash becomes the platform's separator. "" when there is no resources
    // folder or the name is empty.
    static wxString resourcePath(const wxString& relative);

    // $XDG_CONFIG_HOME/velx (an absolute XDG_CONFIG_HOME only), else ~/.config/velx; created when
    // missing. "" when no home folder is known.
    static wxString getUserConfigDir();
    // The studio's own settings, <user config dir>/studio.ini, opened on first use (in memory only
    // when there is no user config dir). The scene core keeps its JSON settings apart.
    static wxFileConfig& getAppConfig();
    static void flushAppConfig();
};

}  // namespace Orka

#include <orkacore/EnvData.h>

#include <wx/fileconf.h>
#include <wx/filename.h>
#include <wx/log.h>
#include <wx/sstream.h>
#include <wx/stdpaths.h>
#include <wx/utils.h>

#include <cstdlib>
#include <memory>

namespace Orka {

namespace {

// The folder without a trailing separator and with "." and ".." resolved.
wxString normalisedFolder(const wxString& folder) {
    wxFileName name = wxFileName::DirName(folder);
    name.Normalize(wxPATH_NORM_DOTS | wxPATH_NORM_ABSOLUTE | wxPATH_NORM_TILDE);
    wxString path = name.GetPath();
    return path.empty() ? folder : path;
}

std::unique_ptr<wxFileConfig>& appConfig() {
    static std::unique_ptr<wxFileConfig> config;
    return config;
}

}  // namespace

wxString EnvData::getAppResourcesDir() {
    wxString fromEnvironment;
    if (wxGetEnv("VELX_RESOURCES_DIR", &fromEnvironment) && !fromEnvironment.empty() &&
        wxFileName::DirExists(fromEnvironment)) {
        return normalisedFolder(fromEnvironment);
    }
    const wxString executable = wxStandardPaths::Get().GetExecutablePath();
    if (executable.empty()) return wxString();
    return findResourcesDir(wxFileName(executable).GetPath());
}

wxString EnvData::findResourcesDir(const wxString& executableDir) {
    if (executableDir.empty()) return wxString();
    const wxString sep = wxFileName::GetPathSeparator();
    const wxString candidates[] = {executableDir + sep + "resources", executableDir + sep + ".." + sep + "resources",
                                   executableDir + sep + ".." + sep + "share" + sep + "velx-studio" + sep +
                                       "resources"};
    for (const wxString& candidate : candidates) {
        if (wxFileName::DirExists(candidate)) return normalisedFolder(candidate);
    }
    return wxString();
}

wxString EnvData::resourcePath(const wxString& relative) {
    if (relative.empty()) return wxString();
    const wxString folder = getAppResourcesDir();
    if (folder.empty()) return wxString();
    const wxChar sep = wxFileName::GetPathSeparator();
    wxString tail;
    tail.reserve(relative.length());
    for (wxUniChar c : relative) {
        const bool separator = c == '\\' || c == '/';
        if (separator && (tail.empty() || tail.Last() == sep)) continue;  // no leading or doubled separators
        tail += separator ? wxUniChar(sep) : c;
    }
    return tail.empty() ? folder : folder + sep + tail;
}

wxString EnvData::getUserConfigDir() {
    wxString base;
    wxString config;
    // Only an absolute XDG_CONFIG_HOME counts; a relative one is invalid and ignored.
    if (wxGetEnv("XDG_CONFIG_HOME", &config) && wxFileName(config).IsAbsolute()) {
        base = config;
    } else {
        const wxString home = wxGetHomeDir();
        if (home.empty()) return wxString();
        base = home + wxFileName::GetPathSeparator() + ".config";
    }
    const wxString folder = normalisedFolder(base + wxFileName::GetPathSeparator() + "velx");
    if (!wxFileName::DirExists(folder)) {
        wxLogNull quiet;  // a folder that cannot be made shows up as settings that are not kept
        wxFileName::Mkdir(folder, wxS_DIR_DEFAULT, wxPATH_MKDIR_FULL);
    }
    return folder;
}

wxFileConfig& EnvData::getAppConfig() {
    std::unique_ptr<wxFileConfig>& config = appConfig();
    if (!config) {
        const wxString folder = getUserConfigDir();
        if (folder.empty()) {
            wxStringInputStream nothing(wxString{});
            config = std::make_unique<wxFileConfig>(nothing);
        } else {
            const wxString file = folder + wxFileName::GetPathSeparator() + "studio.ini";
            wxLogNull quiet;  // a damaged file reads as far as it can
            config = std::make_unique<wxFileConfig>(wxString("velx-studio"), wxString(), file, wxString(),
                                                    wxCONFIG_USE_LOCAL_FILE);
        }
    }
    return *config;
}

void EnvData::flushAppConfig() {
    if (std::unique_ptr<wxFileConfig>& config = appConfig()) {
        wxLogNull quiet;
        config->Flush();
    }
}

}  // namespace Orka

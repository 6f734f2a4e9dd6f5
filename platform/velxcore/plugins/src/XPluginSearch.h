#pragma once

#include <string>
#include <utility>
#include <vector>

namespace VelX {

class XSettings;

// Where plug-ins are found: the explicit entries of the settings' plug-in list, the *.so files of
// the settings' plug-in folders, and VELX_PLUGIN_PATH (colon-separated files and folders).
class XPluginSearch {
public:
    // Every candidate file in that order, each named once by its normalised path.
    static std::vector<std::string> Candidates(XSettings& settings);
    // The settings' plug-in list as (path, load on start-up) pairs.
    static std::vector<std::pair<std::string, bool>> Entries(XSettings& settings);
    // An absolute path without symbolic links where the file exists, so that one file is listed once.
    static std::string Normalise(const std::string& path);
};

}  // namespace VelX

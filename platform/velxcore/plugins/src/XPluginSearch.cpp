#include "XPluginSearch.h"

#include <velxcore/XSettings.h>

#include <veldatabase/Database.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>

namespace VelX {

namespace {

bool endsWithSo(const std::string& name) { return name.size() > 3 && name.compare(name.size() - 3, 3, ".so") == 0; }

// The *.so files of a folder, by name.
void scanFolder(const std::string& folder, std::vector<std::string>& out) {
    DIR* dir = ::opendir(folder.c_str());
    if (!dir) return;
    std::vector<std::string> found;
    while (dirent* entry = ::readdir(dir)) {
        std::string name = entry->d_name;
        if (!endsWithSo(name)) continue;
        std::string path = folder + "/" + name;
        struct stat st;
        if (::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode)) found.push_back(path);
    }
    ::closedir(dir);
    std::sort(found.begin(), found.end());
    out.insert(out.end(), found.begin(), found.end());
}

std::vector<std::string> splitPath(const char* text) {
    std::vector<std::string> out;
    if (!text) return out;
    std::string all = text;
    std::size_t start = 0;
    while (start <= all.size()) {
        std::size_t colon = all.find(':', start);
        if (colon == std::string::npos) colon = all.size();
        if (colon > start) out.push_back(all.substr(start, colon - start));
        start = colon + 1;
    }
    return out;
}

std::vector<std::string> stringList(const db::Value& stored) {
    std::vector<std::string> out;
    if (const db::ValueList* list = stored.tryGet<db::ValueList>())
        for (const db::Value& v : *list) out.push_back(v.asString());
    return out;
}

}  // namespace

std::vector<std::string> XPluginSearch::Candidates(XSettings& settings) {
    std::vector<std::string> candidates;
    for (const auto& entry : Entries(settings))
        if (!entry.first.empty()) candidates.push_back(entry.first);
    for (const std::string& folder : stringList(settings.Database().db().storedValue(settings.PluginFolders().key())))
        if (!folder.empty()) scanFolder(folder, candidates);
    for (const std::string& part : splitPath(std::getenv("VELX_PLUGIN_PATH"))) {
        struct stat st;
        if (::stat(part.c_str(), &st) == 0 && S_ISREG(st.st_mode)) candidates.push_back(part);
        else scanFolder(part, candidates);
    }
    std::vector<std::string> normalised;
    for (const std::string& c : candidates) {
        std::string path = Normalise(c);
        if (std::find(normalised.begin(), normalised.end(), path) == normalised.end()) normalised.push_back(path);
    }
    return normalised;
}

// The settings' plug-in list as (path, load on start-up) pairs.
std::vector<std::pair<std::string, bool>> XPluginSearch::Entries(XSettings& settings) {
    std::vector<std::pair<std::string, bool>> out;
    const db::Value stored = settings.Database().db().storedValue(settings.Plugins().key());
    if (const db::ValueList* list = stored.tryGet<db::ValueList>())
        for (const db::Value& element : *list) {
            const db::ValueList* fields = element.tryGet<db::ValueList>();
            if (!fields || fields->size() <= static_cast<std::size_t>(sg::Index::PluginLoadOnStartup)) continue;
            out.emplace_back((*fields)[sg::Index::PluginPath].asString(), (*fields)[sg::Index::PluginLoadOnStartup].asBool());
        }
    return out;
}

std::string XPluginSearch::Normalise(const std::string& path) {
    if (path.empty()) return path;
    char resolved[PATH_MAX];
    if (::realpath(path.c_str(), resolved)) return resolved;
    std::error_code ec;
    std::filesystem::path p = std::filesystem::absolute(path, ec);
    return ec ? path : p.lexically_normal().string();
}

}  // namespace VelX

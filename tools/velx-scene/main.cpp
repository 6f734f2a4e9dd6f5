// velx-scene: builds the demo scene, prints its hierarchy, saves it, loads it back into a second
// scene and reports whether both agree; or trusts the scripts of a scene file. Plug-ins load first:
// those of the plug-in folders and settings, and each one named with --plugin.
#include <velxcore/XApplication.h>
#include <velxcore/XAttribute.h>
#include <velxcore/XDemoScene.h>
#include <velxcore/XLog.h>
#include <velxcore/XPluginManager.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneFile.h>
#include <velxcore/XSimulation.h>

#include <veldatabase/Database.h>
#include <velutils/StringUtils.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace {

using Velutils::StringUtils;

std::string utf8(const std::wstring& text) { return StringUtils::toUtf8(text); }

std::string describe(const VelX::XObject& o) {
    std::string line = utf8(o.Name()) + " (" + utf8(o.ObjectType()) + ")";
    for (const wchar_t* name : {L"translateX", L"translateY", L"translateZ", L"rotateX", L"mass", L"label"}) {
        VelX::XAttribute a = o.Attribute(name);
        if (!a.IsValid()) continue;
        std::wstring shown = a.DisplayValue();
        if (a.IsFloat() && a.Float() == 0.0f && !a.IsAnimated()) continue;
        line += "  " + utf8(a.DisplayName()) + "=" + utf8(shown) + (a.IsAnimated() ? " (animated)" : "");
    }
    return line;
}

void print(const VelX::XObject& o, int depth) {
    std::cout << std::string(static_cast<std::size_t>(depth) * 2, ' ') << describe(o) << '\n';
    for (int i = 0; i < o.ChildCount(); ++i) print(o.Child(i), depth + 1);
}

int usage() {
    std::cerr << "usage: velx-scene [--plugin PATH]... [--out FILE]\n"
                 "  Builds the demo scene, prints it, saves it to FILE (default: velx-demo-scene.json in the\n"
                 "  temporary folder), loads it back and checks that both scenes agree.\n"
                 "usage: velx-scene [--plugin PATH]... --trust FILE\n"
                 "  Trusts the simulation scripts inside the scene FILE as they are now, so that they run\n"
                 "  when the scene is played. A changed script must be trusted again.\n"
                 "--plugin PATH loads the plug-in (a shared object) before anything else, besides the\n"
                 "plug-ins of the plug-in folders; the log goes to the standard error.\n";
    return 2;
}

// The plug-ins of the folders and settings, then those named on the command line; false when one
// of those could not be loaded (the log says why).
bool loadPlugins(const std::vector<std::string>& named) {
    VelX::XPluginManager& plugins = VelX::XApplication::Instance().PluginManager();
    plugins.LoadAtStart();
    bool loaded = true;
    for (const std::string& path : named) {
        const unsigned index = plugins.AddPlugin(StringUtils::toWide(path));
        loaded = index < plugins.PluginCount() && plugins.LoadPlugin(index) && loaded;
    }
    return loaded;
}

}  // namespace

// Loads a scene file and remembers its scripts as trusted in the application settings.
int trust(const std::string& file) {
    VelX::XScene scene;
    std::wstring error;
    if (!scene.Load(StringUtils::toWide(file), &error)) {
        std::cerr << utf8(error) << '\n';
        return 1;
    }
    scene.Simulation().TrustScripts();
    std::cout << "Trusted the scripts of " << file << " (" << utf8(scene.Simulation().ScriptsHash()) << ").\n";
    return 0;
}

int main(int argc, char** argv) {
    VelX::XApplication::Instance().SetLogSink(
        [](const std::wstring& line, VelX::XLog::Level) { std::cerr << utf8(line) << '\n'; });
    const char* tmp = std::getenv("TMPDIR");
    std::string out = std::string(tmp && *tmp ? tmp : "/tmp") + "/velx-demo-scene.json";
    std::string trusted;
    std::vector<std::string> plugins;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--out" && i + 1 < argc) out = argv[++i];
        else if (arg == "--trust" && i + 1 < argc) trusted = argv[++i];
        else if (arg == "--plugin" && i + 1 < argc) plugins.push_back(argv[++i]);
        else return usage();
    }
    if (!loadPlugins(plugins)) return 1;
    if (!trusted.empty()) return trust(trusted);

    VelX::XScene& scene = VelX::XApplication::Instance().ActiveScene();
    VelX::XDemoScene::build(scene);
    std::cout << "Demo scene: " << scene.Database().ObjectCount() - 1 << " objects\n\n";
    VelX::XObject root = scene.RootObject();
    for (int i = 0; i < root.ChildCount(); ++i) print(root.Child(i), 0);

    std::wstring error;
    if (!scene.Save(StringUtils::toWide(out), &error)) {
        std::cerr << "\nSaving failed: " << utf8(error) << '\n';
        return 1;
    }
    std::cout << "\nSaved to " << out << '\n';

    VelX::XScene copy;
    if (!copy.Load(StringUtils::toWide(out), &error)) {
        std::cerr << "Loading failed: " << utf8(error) << '\n';
        return 1;
    }
    const std::string original = VelX::XSceneFile::toJson(scene.Database().db());
    const std::string loaded = VelX::XSceneFile::toJson(copy.Database().db());
    if (original != loaded) {
        std::cerr << "The loaded scene differs from the saved one.\n";
        return 1;
    }
    std::cout << "Loaded it back: both scenes agree (" << copy.Database().ObjectCount() - 1 << " objects, "
              << original.size() << " bytes of JSON).\n";
    return 0;
}

#include <orkacore/EnvData.h>

#include <gtest/gtest.h>
#include <wx/ffile.h>
#include <wx/fileconf.h>
#include <wx/filename.h>
#include <wx/utils.h>

#include <map>
#include <utility>

using Orka::EnvData;

namespace {

// A fresh folder, removed with everything in it.
struct TempFolder {
    wxString path;
    TempFolder() {
        path = wxFileName::CreateTempFileName("velx-env");
        wxRemoveFile(path);
        wxFileName::Mkdir(path);
    }
    ~TempFolder() { wxFileName::Rmdir(path, wxPATH_RMDIR_RECURSIVE); }
    wxString operator/(const wxString& relative) const { return path + "/" + relative; }
};

// Sets environment variables for one test and puts the old values back.
struct EnvScope {
    std::map<wxString, std::pair<bool, wxString>> saved;
    void set(const wxString& name, const wxString& value) {
        wxString old;
        if (!saved.count(name)) saved[name] = {wxGetEnv(name, &old), old};
        wxSetEnv(name, value);
    }
    ~EnvScope() {
        for (const auto& [name, old] : saved) old.first ? wxSetEnv(name, old.second) : wxUnsetEnv(name);
    }
};

}  // namespace

TEST(EnvData, ResourcesFolderFromTheEnvironmentAndPathsWithPlatformSeparators) {
    TempFolder resources;
    EnvScope env;
    env.set("VELX_RESOURCES_DIR", resources.path + "/");
    EXPECT_EQ(EnvData::getAppResourcesDir(), resources.path);
    EXPECT_EQ(EnvData::resourcePath("Images\\ExplorerJoint.png"), resources / "Images/ExplorerJoint.png");
    EXPECT_EQ(EnvData::resourcePath("Images\\"), resources / "Images/");
    EXPECT_EQ(EnvData::resourcePath("\\\\Animation//TKD\\run.anim"), resources / "Animation/TKD/run.anim");
    EXPECT_EQ(EnvData::resourcePath(""), "");
    // A variable naming a file or a missing folder is not taken.
    wxFFile(resources / "plain.txt", "w").Write("x");
    env.set("VELX_RESOURCES_DIR", resources / "plain.txt");
    EXPECT_NE(EnvData::getAppResourcesDir(), resources / "plain.txt");
    env.set("VELX_RESOURCES_DIR", resources / "missing");
    EXPECT_NE(EnvData::getAppResourcesDir(), resources / "missing");
}

TEST(EnvData, ResourcesFolderBesideTheProgramInOrderOrNone) {
    TempFolder root;
    const wxString bin = root / "bin";
    wxFileName::Mkdir(bin);
    EXPECT_EQ(EnvData::findResourcesDir(bin), "");
    ASSERT_TRUE(wxFileName::Mkdir(root / "share/velx-studio/resources", wxS_DIR_DEFAULT, wxPATH_MKDIR_FULL));
    EXPECT_EQ(EnvData::findResourcesDir(bin), root / "share/velx-studio/resources");
    ASSERT_TRUE(wxFileName::Mkdir(root / "resources"));
    EXPECT_EQ(EnvData::findResourcesDir(bin), root / "resources");
    ASSERT_TRUE(wxFileName::Mkdir(bin + "/resources"));
    EXPECT_EQ(EnvData::findResourcesDir(bin), bin + "/resources");
}

TEST(EnvData, UserConfigFolderIsMadeAndHoldsTheStudioSettings) {
    TempFolder home;
    EnvScope env;
    env.set("XDG_CONFIG_HOME", home / "config");
    EXPECT_EQ(EnvData::getUserConfigDir(), home / "config/velx");
    EXPECT_TRUE(wxFileName::DirExists(home / "config/velx"));
    env.set("XDG_CONFIG_HOME", "relative/config");  // invalid: the home folder's .config instead
    env.set("HOME", home.path);
    EXPECT_EQ(EnvData::getUserConfigDir(), home / ".config/velx");

    EnvData::getAppConfig().Write("/Window/Perspective", "layout2|name=Log");
    EnvData::flushAppConfig();
    wxString text;
    wxFFile(home / ".config/velx/studio.ini", "r").ReadAll(&text);
    EXPECT_TRUE(text.Contains("[Window]\nPerspective=layout2|name=Log")) << text;
}

// Scenes, autosaved copies and the settings share one atomic writer and one JSON form of values.
#include <velxcore/XAtomicFile.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneFile.h>
#include <velxcore/XSettings.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

using namespace VelX;
namespace fs = std::filesystem;

namespace {

std::string readText(const fs::path& file) {
    std::ifstream in(file);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class FileFormat : public testing::Test {
protected:
    void SetUp() override {
        folder = fs::temp_directory_path() / ("velx-file-format-" + std::to_string(::getpid()));
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }
    fs::path folder;
};

}  // namespace

TEST_F(FileFormat, SettingsAndScenesWriteNonFiniteNumbersAndChoicesAlike) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    XScene scene;
    scene.SceneSettings().Attribute(L"frameRate").SetFloat(nan);
    const std::string sceneText = XSceneFile::toJson(scene.Database().db());
    EXPECT_NE(sceneText.find("\"frameRate\": \"nan\""), std::string::npos);

    XSettings settings(folder.wstring());
    settings.SceneSettings().Attribute(L"frameRate").SetFloat(nan);
    ASSERT_TRUE(settings.Save());
    const std::string settingsText = readText(folder / XSettings::FileName);
    EXPECT_NE(settingsText.find("\"frameRate\": \"nan\""), std::string::npos) << settingsText;
    EXPECT_NE(settingsText.find("\"lengthUnit\": \"metres\""), std::string::npos) << "choices by name";

    XSettings again(folder.wstring());
    EXPECT_TRUE(again.Load());
    EXPECT_TRUE(std::isnan(again.SceneSettings().Attribute(L"frameRate").Float())) << "read back, not 0";
}

TEST_F(FileFormat, SettingsRefuseAChoiceGivenByNumberAsScenesDo) {
    std::ofstream(folder / XSettings::FileName) << R"({"format": "velx-settings", "version": 1,
                                                      "application": {"lengthUnit": 3}})";
    XSettings settings(folder.wstring());
    EXPECT_FALSE(settings.Load());
    EXPECT_EQ(settings.LengthUnit().EnumerationString(), L"metres");
}

TEST_F(FileFormat, TheAtomicWriterKeepsPermissionsAndMakesFoldersOnlyWhenAsked) {
    const fs::path file = folder / "kept.json";
    std::string error;
    ASSERT_TRUE(XAtomicFile::Write(file.string(), "one", error)) << error;
    ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
    ASSERT_TRUE(XAtomicFile::Write(file.string(), "two", error)) << error;
    EXPECT_EQ(readText(file), "two");
    EXPECT_EQ(fs::status(file).permissions() & fs::perms::all, fs::perms::owner_read | fs::perms::owner_write);

    const fs::path nested = folder / "a" / "b" / "new.json";
    EXPECT_FALSE(XAtomicFile::Write(nested.string(), "x", error));
    EXPECT_NE(error.find((folder / "a" / "b").string()), std::string::npos) << error;
    EXPECT_NE(error.find("No such file or directory"), std::string::npos) << error;
    EXPECT_TRUE(XAtomicFile::Write(nested.string(), "x", error, XAtomicFile::Folders::Make)) << error;
    EXPECT_EQ(readText(nested), "x");
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        EXPECT_EQ(entry.path().filename().string().find(".tmp-"), std::string::npos) << entry.path();
}

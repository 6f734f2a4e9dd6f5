// Scenes, autosaved copies and the settings share one atomic writer and one JSON form of values.
#include <velxcore/XAtomicFile.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneFile.h>
#include <velxcore/XSettings.h>

#include <gtest/gtest.h>

#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <vector>

using namespace VelX;
namespace fs = std::filesystem;

namespace {

std::string readText(const fs::path& file) {
    std::ifstream in(file);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// The pid of a process that has ended.
long endedProcess() {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(0);
    ::waitpid(child, nullptr, 0);
    return static_cast<long>(child);
}

std::vector<std::string> entries(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(folder)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
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

// Saves that were killed leave their temporary files; the next save of the same file removes
// those whose writer is gone, and nothing else.
TEST_F(FileFormat, TheAtomicWriterRemovesTheTemporaryFilesOfKilledSaves) {
    const std::string gone = std::to_string(endedProcess());
    const std::string running = std::to_string(::getpid());
    for (const std::string& name : std::vector<std::string>{
             "scene.velx.tmp-" + gone + "-1", "scene.velx.tmp-" + gone,   // killed saves, this build and earlier ones
          "scene.velx.tmp-" + running + "-999",                          // a save in progress here
          "scene.velx.tmp-" + gone + "-2",                               // locked: a writer elsewhere
          "other.velx.tmp-" + gone + "-1",                               // another file's
          "scene.velx.tmp-x1", "scene.velx.tmp-" + gone + "-1.bak", "scene.velx.tmp-",
             "scene.velx.tmp-" + gone + "-2-3", "ascene.velx.tmp-" + gone + "-1"})
        std::ofstream(folder / name) << "partial";
    fs::create_symlink(folder / ("other.velx.tmp-" + gone + "-1"), folder / ("scene.velx.tmp-" + gone + "-3"));
    const int held = ::open((folder / ("scene.velx.tmp-" + gone + "-2")).c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(held, 0);
    ASSERT_EQ(::flock(held, LOCK_EX), 0);

    std::string error;
    ASSERT_TRUE(XAtomicFile::Write((folder / "scene.velx").string(), "new", error)) << error;
    std::vector<std::string> expected = {"ascene.velx.tmp-" + gone + "-1", "other.velx.tmp-" + gone + "-1", "scene.velx",
                                         "scene.velx.tmp-", "scene.velx.tmp-" + gone + "-1.bak",
                                         "scene.velx.tmp-" + gone + "-2", "scene.velx.tmp-" + gone + "-3",
                                         "scene.velx.tmp-" + running + "-999", "scene.velx.tmp-" + gone + "-2-3", "scene.velx.tmp-x1"};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(entries(folder), expected);
    EXPECT_EQ(readText(folder / "scene.velx"), "new");

    // A folder of our own (autosaves) is cleaned of every file's stale ones.
    EXPECT_EQ(XAtomicFile::RemoveStaleTemporaries(folder.string()), 2);
    expected.erase(std::find(expected.begin(), expected.end(), "other.velx.tmp-" + gone + "-1"));
    expected.erase(std::find(expected.begin(), expected.end(), "ascene.velx.tmp-" + gone + "-1"));
    EXPECT_EQ(entries(folder), expected);

    ::close(held);  // its writer is gone now
    EXPECT_EQ(XAtomicFile::RemoveStaleTemporaries(folder.string()), 1);
    EXPECT_FALSE(fs::exists(folder / ("scene.velx.tmp-" + gone + "-2")));
}

// A large file goes out in pieces as it is made; the old file stays until the last piece is on
// disk, whether the file system refuses a piece or the maker of the text gives up.
TEST_F(FileFormat, TheAtomicWriterTakesTextInPiecesAndKeepsTheOldFileWhenOneFails) {
    const fs::path file = folder / "pieces.velx";
    std::string error;
    const auto pieces = [](const XAtomicFile::Piece& write) {
        for (const char* piece : {"one ", "two ", "three"})
            if (!write(piece)) return;
    };
    ASSERT_TRUE(XAtomicFile::WriteInPieces(file.string(), pieces, error)) << error;
    EXPECT_EQ(readText(file), "one two three");

    EXPECT_THROW(XAtomicFile::WriteInPieces(file.string(), [](const XAtomicFile::Piece& write) {
        write("half");
        throw std::runtime_error("out of memory");
    }, error), std::runtime_error);
    EXPECT_EQ(readText(file), "one two three");
    EXPECT_EQ(entries(folder), std::vector<std::string>{"pieces.velx"});

    // A file system that refuses the third piece: no piece is offered after it.
    constexpr rlim_t Limit = 64 * 1024;
    const std::string piece(Limit / 2 + 1, 'x');
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit limited{Limit, before.rlim_max};
    auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);
    int offered = 0, taken = 0;
    const bool saved = XAtomicFile::WriteInPieces(file.string(), [&](const XAtomicFile::Piece& write) {
        for (int k = 0; k < 10; ++k) {
            ++offered;
            if (!write(piece)) return;
            ++taken;
        }
    }, error);
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_FALSE(saved);
    EXPECT_EQ(error.rfind("cannot write '" + file.string() + ".tmp-", 0), 0u) << error;
    EXPECT_NE(error.find("File too large"), std::string::npos) << error;
    EXPECT_EQ(offered, 2);
    EXPECT_EQ(taken, 1);
    EXPECT_EQ(readText(file), "one two three");
    EXPECT_EQ(entries(folder), std::vector<std::string>{"pieces.velx"});
}

#include <velxcore/XApplication.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneFile.h>
#include <velxcore/XSettings.h>
#include <velxcore/XSimulation.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

using namespace VelX;

namespace {

std::size_t logCount(const std::wstring& needle) {
    const auto& lines = XApplication::Instance().LogLines();
    return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), [&](const std::wstring& line) {
        return line.find(needle) != std::wstring::npos;
    }));
}

void setScripts(XScene& scene, int language, const std::wstring& start, const std::wstring& update, const std::wstring& end) {
    XSceneSettings settings = scene.SceneSettings();
    settings.ScriptingLanguage().SetEnumeration(language);
    settings.StartScript().SetString(start);
    settings.UpdateScript().SetString(update);
    settings.EndScript().SetString(end);
}

std::wstring tempScenePath(const char* name) {
    auto dir = std::filesystem::temp_directory_path() / "velx-simulation-test";
    std::filesystem::create_directories(dir);
    return (dir / name).wstring();
}

// Scene scripts run through the application: it is the host that keeps trust and interpreters.
class Simulation : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(XSimulation::Host(), nullptr) << "the application installs itself as host"; }
    XApplication& application = XApplication::Instance();
};

}  // namespace

TEST_F(Simulation, PlayRunsStartThenUpdatePerFrameAndStopRunsEnd) {
    for (int language : {1, 0}) {  // Lua, then Python
        XScene scene;
        const bool lua = language == 1;
        setScripts(scene, language,
                   lua ? L"velx.create('Transform', 'ball')" : L"import velx\nvelx.create('Transform', 'ball')",
                   lua ? L"velx.set('ball', 'translateX', velx.frame())"
                       : L"import velx\nvelx.set('ball', 'translateX', velx.frame())",
                   lua ? L"velx.create('Transform', 'finished')" : L"import velx\nvelx.create('Transform', 'finished')");
        scene.SceneSettings().SetPlaybackStartFrame(1);
        scene.SceneSettings().SetPlaybackEndFrame(3);
        const std::wstring lastEdit = scene.Database().UndoName();
        const float frameBefore = scene.SceneSettings().Frame();
        ASSERT_TRUE(scene.Simulation().Play()) << language;
        XObject ball = scene.Database().Object(L"ball");
        ASSERT_TRUE(ball.IsValid());
        EXPECT_TRUE(scene.Simulation().Step());
        EXPECT_FLOAT_EQ(ball.Attribute(L"translateX").Float(), 2.0f);
        EXPECT_TRUE(scene.Simulation().Step());
        EXPECT_TRUE(scene.Simulation().Step());  // past the end: loops back to the start
        EXPECT_FLOAT_EQ(scene.SceneSettings().Frame(), 1.0f);
        EXPECT_FLOAT_EQ(ball.Attribute(L"translateX").Float(), 1.0f);
        EXPECT_EQ(scene.Database().UndoName(), lastEdit) << "playing made an undo step";
        scene.Stop();
        EXPECT_FALSE(scene.Simulation().IsPlaying());
        EXPECT_FALSE(scene.Simulation().Step());
        // Stop puts the scene back as it was before Play: the end script's object, the ball and the frame.
        EXPECT_FALSE(scene.Database().Object(L"finished").IsValid());
        EXPECT_FALSE(scene.Database().Object(L"ball").IsValid());
        EXPECT_FLOAT_EQ(scene.SceneSettings().Frame(), frameBefore);
        EXPECT_EQ(scene.Database().UndoName(), lastEdit);
        EXPECT_FALSE(scene.Database().CanRedo());
    }
}

TEST_F(Simulation, AnEditDuringPlaybackKeepsWhatPlayingDidAsOneUndoStepUnderTheEdit) {
    XScene scene;
    setScripts(scene, 1, L"velx.create('Transform', 'ball')", L"velx.set('ball', 'translateX', velx.frame())", L"");
    scene.SceneSettings().SetPlaybackStartFrame(1);
    scene.SceneSettings().SetPlaybackEndFrame(10);
    ASSERT_TRUE(scene.Simulation().Play());
    ASSERT_TRUE(scene.Simulation().Step());
    XObject ball = scene.Database().Object(L"ball");
    scene.Database().BeginChangeBlock();
    ball.Attribute(L"translateY").SetFloat(7.0f);
    scene.Database().EndChangeBlock(L"Move Ball");
    EXPECT_FALSE(scene.Simulation().IsPlaying());
    EXPECT_FLOAT_EQ(ball.Attribute(L"translateX").Float(), 2.0f);
    EXPECT_EQ(scene.Database().UndoName(), L"Move Ball");
    ASSERT_TRUE(scene.Database().Undo());
    EXPECT_EQ(scene.Database().UndoName(), L"Simulation");
    ASSERT_TRUE(scene.Database().Undo());
    EXPECT_FALSE(scene.Database().Object(L"ball").IsValid());
    EXPECT_FALSE(scene.Simulation().Stop());
}

TEST_F(Simulation, UndoDuringPlaybackStopsItAndUndoesTheLastEdit) {
    XScene scene;
    setScripts(scene, 1, L"", L"velx.set('box', 'translateX', velx.frame())", L"");
    scene.Database().BeginChangeBlock();
    scene.Database().CreateObject(L"Transform", L"box");
    scene.Database().EndChangeBlock(L"Create Box");
    ASSERT_TRUE(scene.Simulation().Play());
    ASSERT_TRUE(scene.Simulation().Step());
    ASSERT_TRUE(scene.Database().Undo());
    EXPECT_FALSE(scene.Simulation().IsPlaying());
    EXPECT_FALSE(scene.Database().Object(L"box").IsValid());
    ASSERT_TRUE(scene.Database().Redo());
    EXPECT_FLOAT_EQ(scene.Database().Object(L"box").Attribute(L"translateX").Float(), 0.0f);
}

TEST_F(Simulation, AFailingUpdateLeavesTheSceneAsItWas) {
    XScene scene;
    setScripts(scene, 1, L"velx.create('Transform', 'ball')",
               L"velx.set('ball', 'translateY', 5)\nvelx.create('Transform', 'junk')\nerror('broken rig')", L"");
    ASSERT_TRUE(scene.Simulation().Play());
    const std::string before = XSceneFile::toJson(scene.Database().db());
    EXPECT_FALSE(scene.Simulation().Step());
    XObject ball = scene.Database().Object(L"ball");
    EXPECT_FLOAT_EQ(ball.Attribute(L"translateY").Float(), 0.0f);
    EXPECT_FALSE(scene.Database().Object(L"junk").IsValid());
    EXPECT_GE(logCount(L"simulation update script:3: broken rig"), 1u);
    // Only the frame moved.
    scene.SceneSettings().SetFrame(scene.SceneSettings().PlaybackStartFrame());
    EXPECT_EQ(XSceneFile::toJson(scene.Database().db()), before);
}

TEST_F(Simulation, ScriptsFromAFileRunOnlyOnceTrustedAndAChangedScriptAsksAgain) {
    XSettings& settings = XApplication::Instance().Settings();
    const std::wstring path = tempScenePath("trust.velx");
    {
        XScene author;
        setScripts(author, 1, L"velx.create('Transform', 'started')", L"", L"");
        ASSERT_TRUE(author.Save(path));
    }
    settings.Untrust(path);

    XScene scene;
    ASSERT_TRUE(scene.Load(path));
    EXPECT_FALSE(scene.Simulation().IsTrusted());
    const std::size_t warnings = logCount(L"did not run");
    // Untrusted scripts are skipped; the scene still plays.
    EXPECT_TRUE(scene.Simulation().Play());
    EXPECT_TRUE(scene.Simulation().Step());
    scene.Stop();
    EXPECT_TRUE(scene.Simulation().Play());
    scene.Stop();
    EXPECT_FALSE(scene.Database().Object(L"started").IsValid());
    EXPECT_EQ(logCount(L"did not run"), warnings + 1);  // said once, with how to trust

    scene.Simulation().TrustScripts();
    EXPECT_TRUE(scene.Simulation().Play());
    EXPECT_TRUE(scene.Database().Object(L"started").IsValid());
    scene.Stop();

    XScene again;  // the same text loads trusted now
    ASSERT_TRUE(again.Load(path));
    EXPECT_TRUE(again.Simulation().IsTrusted());

    // Someone else edits the script inside the file: trust is asked again.
    XScene stranger;
    ASSERT_TRUE(stranger.Load(path));
    stranger.SceneSettings().StartScript().SetString(L"velx.create('Transform', 'surprise')");
    std::string error;
    ASSERT_TRUE(XSceneFile::save(stranger.Database().db(), std::filesystem::path(path).string(), error)) << error;
    XScene victim;
    ASSERT_TRUE(victim.Load(path));
    EXPECT_FALSE(victim.Simulation().IsTrusted());
    victim.Simulation().Play();
    EXPECT_FALSE(victim.Database().Object(L"surprise").IsValid());
    settings.Untrust(path);
}

TEST_F(Simulation, UserMadeScenesAreTrusted) {
    XScene scene;
    EXPECT_TRUE(scene.Simulation().IsTrusted());
    scene.New();
    EXPECT_TRUE(scene.Simulation().IsTrusted());
    setScripts(scene, 5, L"anything", L"", L"");  // not a language: refused, nothing runs
    EXPECT_EQ(scene.SceneSettings().ScriptingLanguage().Enumeration(), 1);
}

TEST_F(Simulation, WithoutAHostNothingRunsAndTheLogSaysWhy) {
    XScene scene;
    setScripts(scene, 1, L"velx.set('SceneSettings', 'notes', 'ran')", L"", L"");
    const std::size_t before = logCount(L"The simulation start script did not run: this program has no scripting.");
    XSimulation::SetHost(nullptr);
    const bool played = scene.Simulation().Play();
    XSimulation::SetHost(&application.SimulationHost());
    EXPECT_FALSE(played);
    EXPECT_EQ(scene.SceneSettings().Attribute(L"notes").String(), L"");
    EXPECT_EQ(logCount(L"The simulation start script did not run: this program has no scripting."), before + 1);
}

namespace {

// Harmless as Lua (a long comment, then y = 1); as Python the first line builds a list whose first
// element runs a shell command that creates `marker`.
std::wstring polyglotScript(const std::filesystem::path& marker) {
    return L"x=0--[[__import__('os').system('touch " + marker.wstring() + L"'),'''\n]]\ny=1\n--''']]\n";
}

std::string readFile(const std::wstring& path) {
    std::string text;
    if (FILE* file = std::fopen(std::filesystem::path(path).string().c_str(), "rb")) {
        char buffer[4096];
        for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, file)) > 0;) text.append(buffer, n);
        std::fclose(file);
    }
    return text;
}

void writeFile(const std::wstring& path, const std::string& text) {
    FILE* file = std::fopen(std::filesystem::path(path).string().c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::fwrite(text.data(), 1, text.size(), file);
    std::fclose(file);
}

}  // namespace

TEST_F(Simulation, TrustGivenToLuaScriptsDoesNotCoverThemAsPython) {
    XSettings& settings = XApplication::Instance().Settings();
    const std::wstring path = tempScenePath("polyglot.velx");
    const std::filesystem::path marker = std::filesystem::path(tempScenePath("polyglot-ran"));
    std::filesystem::remove(marker);
    {
        XScene author;
        setScripts(author, 1, polyglotScript(marker), L"", L"");
        ASSERT_TRUE(author.Save(path));
    }
    settings.Untrust(path);
    {
        XScene scene;  // trusted as Lua, where it only sets two globals
        ASSERT_TRUE(scene.Load(path));
        scene.Simulation().TrustScripts();
        ASSERT_TRUE(scene.Simulation().Play());
        scene.Stop();
        ASSERT_FALSE(std::filesystem::exists(marker)) << "the script did something as Lua";
    }

    // The file's language flipped to Python, texts unchanged (Lua is the default, so the file names
    // no language until someone adds one).
    std::string text = readFile(path);
    const std::size_t at = text.find("\"startScript\":");
    ASSERT_NE(at, std::string::npos) << text.substr(0, 400);
    text.insert(at, "\"scriptingLanguage\": \"python\",\n        ");
    writeFile(path, text);
    XScene flipped;
    ASSERT_TRUE(flipped.Load(path));
    EXPECT_EQ(flipped.SceneSettings().ScriptingLanguage().Enumeration(), 0);
    EXPECT_FALSE(flipped.Simulation().IsTrusted());
    flipped.Simulation().Play();
    flipped.Stop();
    EXPECT_FALSE(std::filesystem::exists(marker)) << "the Python reading of a Lua-trusted script ran";

    // Trusted as Lua, then switched to Python while open (a sandboxed script may write the language).
    XScene switched;
    settings.Untrust(path);
    ASSERT_TRUE(switched.Load(path));
    switched.SceneSettings().ScriptingLanguage().SetEnumeration(1);
    switched.Simulation().TrustScripts();
    switched.SceneSettings().ScriptingLanguage().SetEnumeration(0);
    switched.Simulation().Play();
    switched.Stop();
    EXPECT_FALSE(switched.Simulation().IsTrusted());
    EXPECT_FALSE(std::filesystem::exists(marker)) << "a language switched after trusting ran as Python";
    settings.Untrust(path);
}

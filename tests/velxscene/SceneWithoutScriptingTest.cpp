// This suite links the scene library alone: no application, no settings, no Lua, no CPython. It is
// the proof that a program which only reads and writes scenes can be built that way.
#include <velxcore/XDemoScene.h>
#include <velxcore/XLog.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneFile.h>
#include <velxcore/XSimulation.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

using namespace VelX;

TEST(SceneWithoutScripting, TheDemoSceneSavesAndLoadsBackTheSame) {
    XScene scene;
    XDemoScene::build(scene);
    const std::filesystem::path file = std::filesystem::temp_directory_path() / "velx-scene-only.json";
    std::wstring error;
    ASSERT_TRUE(scene.Save(file.wstring(), &error)) << std::string(error.begin(), error.end());
    XScene copy;
    ASSERT_TRUE(copy.Load(file.wstring(), &error)) << std::string(error.begin(), error.end());
    EXPECT_EQ(XSceneFile::toJson(copy.Database().db()), XSceneFile::toJson(scene.Database().db()));
    EXPECT_GT(copy.Database().ObjectCount(), 20u);
    std::filesystem::remove(file);
}

TEST(SceneWithoutScripting, ScenesMadeHereHaveScriptsThatCannotRunAndSaySo) {
    ASSERT_EQ(XSimulation::Host(), nullptr);
    XScene scene;
    scene.SceneSettings().StartScript().SetString(L"print('hello')");
    EXPECT_FALSE(scene.Simulation().Play());
    const auto& lines = XLog::Lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         L"The simulation start script did not run: this program has no scripting."),
              1);
}

#include <velxcore/XApplication.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XObjectDef.h>
#include <velxcore/XPluginManager.h>
#include <velxcore/XPluginManagerObserver.h>
#include <velxcore/XScene.h>
#include <velxcore/XScriptApi.h>
#include <velxcore/XSettings.h>

#include <veldatabase/Database.h>
#include <veldatabase/Node.h>

#include "LogAssertions.h"

#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <string>

using namespace VelX;
namespace fs = std::filesystem;

namespace {


std::wstring wide(const fs::path& p) { return p.wstring(); }

struct CountingObserver : XPluginManagerObserver {
    int told = 0;
    void OnPluginManagerChanged() override { ++told; }
};

// A fresh configuration folder and no VELX_PLUGIN_PATH for each test; every plug-in is unloaded after.
class PluginManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/velx-plugins-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        root = pattern;
        remember("XDG_CONFIG_HOME", m_oldConfig, m_hadConfig);
        remember("VELX_PLUGIN_PATH", m_oldPath, m_hadPath);
        ::setenv("XDG_CONFIG_HOME", root.c_str(), 1);
        ::unsetenv("VELX_PLUGIN_PATH");
        XApplication::Instance().Settings().Load();
        manager().Refresh();
        logStart = XApplication::Instance().LogLines().size();
    }

    void TearDown() override {
        manager().RemoveObserver(observer);
        for (unsigned i = 0; i < manager().PluginCount(); ++i)
            if (manager().IsLoaded(i)) manager().UnloadPlugin(i);
        XApplication::Instance().Settings().ResetToDefaults();
        restore("XDG_CONFIG_HOME", m_oldConfig, m_hadConfig);
        restore("VELX_PLUGIN_PATH", m_oldPath, m_hadPath);
        manager().Refresh();
        std::error_code ec;
        fs::remove_all(root, ec);
    }

    static XPluginManager& manager() { return XApplication::Instance().PluginManager(); }
    static XDatabase& scene() { return XApplication::Instance().ActiveScene().Database(); }
    static XScriptFunctions& functions() { return XApplication::Instance().ScriptFunctions(); }

    unsigned add(const std::string& path) { return manager().AddPlugin(wide(path)); }

    fs::path root;
    std::size_t logStart = 0;
    CountingObserver observer;

private:
    static void remember(const char* name, std::string& value, bool& had) {
        const char* v = std::getenv(name);
        had = v != nullptr;
        if (v) value = v;
    }
    static void restore(const char* name, const std::string& value, bool had) {
        if (had) ::setenv(name, value.c_str(), 1);
        else ::unsetenv(name);
    }
    std::string m_oldConfig, m_oldPath;
    bool m_hadConfig = false, m_hadPath = false;
};

// ---------------------------------------------------------------- the sample

TEST_F(PluginManagerTest, SampleOffersItsFunctionAndObjectType) {
    const unsigned i = add(VELX_SAMPLE_PLUGIN);
    ASSERT_LT(i, manager().PluginCount());
    EXPECT_FALSE(manager().IsLoaded(i));
    ASSERT_TRUE(manager().LoadPlugin(i));
    EXPECT_TRUE(manager().IsLoaded(i));
    EXPECT_TRUE(manager().LoadPlugin(i)) << "loading a loaded plug-in is no error";
    EXPECT_EQ(manager().Name(i), L"Sample Springs");
    EXPECT_EQ(manager().Version(i), L"1.0");
    EXPECT_TRUE(manager().Error(i).empty());
    EXPECT_TRUE(loggedSince(logStart, {manager().Filename(i), L"spring_force registered"}))
        << "a plug-in's log lines name it";

    db::Value force = functions().call("spring_force", {db::Value(200.0), db::Value(0.25f)});
    EXPECT_DOUBLE_EQ(force.asDouble(), -50.0);
    try {
        functions().call("spring_force", {db::Value("stiff")});
        ADD_FAILURE() << "bad arguments must raise a script error";
    } catch (const XScriptError& e) {
        EXPECT_NE(std::string(e.what()).find("expected two numbers"), std::string::npos) << e.what();
    }
    EXPECT_THROW(functions().call("spring_force", {db::Value(Velutils::Vec3{1, 2, 3}), db::Value(1.0)}), XScriptError);

    ASSERT_NE(XApplication::Instance().ObjectDefinition(L"SpringController"), nullptr);
    XObject spring = scene().CreateObject(L"SpringController", L"spring");
    ASSERT_TRUE(spring.IsValid());
    EXPECT_TRUE(spring.SupportsType(L"ObjectController")) << "derived from the base it named";
    EXPECT_FLOAT_EQ(spring.Attribute(L"stiffness").Float(), 100.0f);
    EXPECT_FLOAT_EQ(spring.Attribute(L"restLength").Float(), 1.0f);
    EXPECT_TRUE(spring.Attribute(L"enabled").Boolean()) << "the base's attributes come first";
    spring.Delete();
}

TEST_F(PluginManagerTest, UnloadRemovesFunctionsAndNewObjectsButKeepsExistingOnes) {
    const unsigned i = add(VELX_SAMPLE_PLUGIN);
    ASSERT_TRUE(manager().LoadPlugin(i));
    XObject spring = scene().CreateObject(L"SpringController", L"spring");
    spring.Attribute(L"stiffness").SetFloat(250.0f);
    const db::NodeDef* type = &spring.getNode()->def();

    ASSERT_TRUE(manager().UnloadPlugin(i));
    EXPECT_FALSE(manager().IsLoaded(i));
    EXPECT_FALSE(functions().has("spring_force"));
    EXPECT_THROW(functions().call("spring_force", {db::Value(1.0), db::Value(1.0)}), XScriptError);
    EXPECT_EQ(XApplication::Instance().ObjectDefinition(L"SpringController"), nullptr);
    EXPECT_FALSE(scene().CreateObject(L"SpringController", L"another").IsValid());
    ASSERT_TRUE(spring.IsValid());
    EXPECT_FLOAT_EQ(spring.Attribute(L"stiffness").Float(), 250.0f);
    spring.Attribute(L"damping").SetFloat(3.0f);
    EXPECT_FLOAT_EQ(spring.Attribute(L"damping").Float(), 3.0f);
    EXPECT_TRUE(loggedSince(logStart, {L"sample plug-in unloaded"})) << "velx_plugin_exit ran";
    EXPECT_FALSE(manager().UnloadPlugin(i)) << "not loaded any more";

    // Loading again brings everything back, with the same node type for old and new objects.
    ASSERT_TRUE(manager().LoadPlugin(i));
    EXPECT_TRUE(functions().has("spring_force"));
    XObject again = scene().CreateObject(L"SpringController", L"again");
    ASSERT_TRUE(again.IsValid());
    EXPECT_EQ(&again.getNode()->def(), type);
    spring.Delete();
    again.Delete();
}

// ---------------------------------------------------------------- refusals

TEST_F(PluginManagerTest, BrokenPluginsAreRefusedWithAReasonAndNothingElseChanges) {
    const fs::path text = root / "x.so";
    std::ofstream(text) << "this is not a shared object\n";
    struct Case {
        std::string file;
        const wchar_t* reason;
    } cases[] = {
        {(root / "missing.so").string(), L"cannot find the file"},
        {text.string(), L"not a loadable shared object"},
        {VELX_NO_ENTRY_PLUGIN, L"has no velx_plugin_entry"},
        {VELX_WRONG_VERSION_PLUGIN, L"interface version 99"},
        {VELX_FAILING_PLUGIN, L"reported failure (code 5)"},
    };
    const std::size_t functionCount = functions().names().size();
    const std::size_t definitionCount = XApplication::Instance().ObjectDefinitions().size();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const unsigned i = add(c.file);
        ASSERT_LT(i, manager().PluginCount());
        const std::size_t from = XApplication::Instance().LogLines().size();
        EXPECT_FALSE(manager().LoadPlugin(i));
        EXPECT_FALSE(manager().IsLoaded(i));
        EXPECT_NE(manager().Error(i).find(c.reason), std::wstring::npos) << manager().Error(i).c_str();
        EXPECT_TRUE(loggedSince(from, {manager().Filename(i), L"was not loaded", c.reason}));
    }
    // What the refused plug-ins registered before being refused left no trace.
    EXPECT_FALSE(functions().has("wrong_version_answer"));
    EXPECT_FALSE(functions().has("failing_answer"));
    EXPECT_EQ(functions().names().size(), functionCount);
    EXPECT_EQ(scene().db().findType("FailingThing"), nullptr);
    EXPECT_EQ(XApplication::Instance().ObjectDefinitions().size(), definitionCount);
    EXPECT_TRUE(loggedSince(logStart, {L"failingentry", L"giving up"}));

    // The manager carries on.
    const unsigned sample = add(VELX_SAMPLE_PLUGIN);
    EXPECT_TRUE(manager().LoadPlugin(sample));
    EXPECT_TRUE(functions().has("spring_force"));
}

TEST_F(PluginManagerTest, BadIndicesAreRefused) {
    const unsigned past = manager().PluginCount() + 3;
    EXPECT_FALSE(manager().LoadPlugin(past));
    EXPECT_FALSE(manager().UnloadPlugin(past));
    EXPECT_FALSE(manager().SetLoadOnStartup(past, true));
    EXPECT_FALSE(manager().IsLoaded(past));
    EXPECT_TRUE(manager().Filename(past).empty());
    EXPECT_TRUE(loggedSince(logStart, {L"Cannot load plug-in number " + std::to_wstring(past)}));
}

// ---------------------------------------------------------------- finding plug-ins

TEST_F(PluginManagerTest, FindsSharedObjectsInFoldersAndThePluginPath) {
    const fs::path folder = root / "plugins";
    const fs::path other = root / "more";
    fs::create_directories(folder);
    fs::create_directories(other);
    std::ofstream(folder / "a.so") << "x";
    std::ofstream(folder / "notes.txt") << "x";
    fs::create_symlink(VELX_SAMPLE_PLUGIN, other / "springs.so");
    XSettings& settings = XApplication::Instance().Settings();
    settings.PluginFolders().SetArraySize(1);
    settings.PluginFolders().Attribute(0).SetString(wide(folder));
    ::setenv("VELX_PLUGIN_PATH", (other.string() + "::" + (root / "nowhere").string()).c_str(), 1);
    // The sample listed by path too: one file is listed once.
    add(VELX_SAMPLE_PLUGIN);
    manager().Refresh();

    EXPECT_EQ(manager().PluginCount(), 2u);
    EXPECT_GE(manager().Find(wide(folder / "a.so")), 0);
    EXPECT_LT(manager().Find(wide(folder / "notes.txt")), 0);
    EXPECT_EQ(manager().Find(wide(other / "springs.so")), manager().Find(wide(VELX_SAMPLE_PLUGIN)));

    // A loaded plug-in stays listed when it is no longer found.
    const int sample = manager().Find(wide(VELX_SAMPLE_PLUGIN));
    ASSERT_TRUE(manager().LoadPlugin(static_cast<unsigned>(sample)));
    settings.Plugins().SetArraySize(0);
    ::unsetenv("VELX_PLUGIN_PATH");
    manager().Refresh();
    EXPECT_EQ(manager().PluginCount(), 2u);
    EXPECT_TRUE(manager().IsLoaded(static_cast<unsigned>(manager().Find(wide(VELX_SAMPLE_PLUGIN)))));
}

TEST_F(PluginManagerTest, AtStartTheFoldersPluginsLoadUnlessTheListSaysNotAndFailuresAreLogged) {
    const fs::path folder = root / "plugins";
    fs::create_directories(folder);
    fs::create_symlink(VELX_SAMPLE_PLUGIN, folder / "springs.so");
    fs::create_symlink(VELX_WRONG_VERSION_PLUGIN, folder / "old.so");
    fs::create_symlink(VELX_FAILING_PLUGIN, folder / "failing.so");
    XSettings& settings = XApplication::Instance().Settings();
    settings.PluginFolders().SetArraySize(1);
    settings.PluginFolders().Attribute(0).SetString(wide(folder));
    // The user turned one off; it is still listed.
    const unsigned failing = add((folder / "failing.so").string());
    ASSERT_TRUE(manager().SetLoadOnStartup(failing, false));

    EXPECT_EQ(manager().LoadAtStart(), 1u);
    EXPECT_TRUE(manager().IsLoaded(static_cast<unsigned>(manager().Find(wide(folder / "springs.so")))));
    const int old = manager().Find(wide(folder / "old.so"));
    ASSERT_GE(old, 0);
    EXPECT_FALSE(manager().IsLoaded(static_cast<unsigned>(old)));
    EXPECT_FALSE(manager().Error(static_cast<unsigned>(old)).empty());
    EXPECT_FALSE(manager().IsLoaded(static_cast<unsigned>(manager().Find(wide(folder / "failing.so")))));
    EXPECT_TRUE(loggedSince(logStart, {L"wrongversion.so' was not loaded: it was built for plug-in interface version 99"}));
    EXPECT_TRUE(loggedSince(logStart, {L"Plug-ins: 1 loaded, 1 failed, 1 not chosen to load at start."}));
}

TEST(VelxSceneTool, LoadsTheNamedPluginFirstAndFailsWithTheReasonWhenItCannot) {
    char pattern[] = "/tmp/velx-scene-tool-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    const std::string folder = pattern;
    auto run = [&](const std::string& arguments, std::string& output) {
        const std::string command = "XDG_CONFIG_HOME=" + folder + " " + VELX_SCENE_EXE + " " + arguments + " --out " +
                                    folder + "/scene.json 2>&1";
        FILE* pipe = ::popen(command.c_str(), "r");
        char buffer[4096];
        output.clear();
        while (pipe && std::fgets(buffer, sizeof buffer, pipe)) output += buffer;
        return pipe ? WEXITSTATUS(::pclose(pipe)) : -1;
    };
    std::string output;
    EXPECT_EQ(run(std::string("--plugin ") + VELX_SAMPLE_PLUGIN, output), 0) << output;
    EXPECT_NE(output.find("loaded: Sample Springs"), std::string::npos) << output;
    EXPECT_EQ(run(std::string("--plugin ") + VELX_WRONG_VERSION_PLUGIN, output), 1);
    EXPECT_NE(output.find("was not loaded"), std::string::npos) << output;
    EXPECT_EQ(output.find("Demo scene"), std::string::npos) << "nothing runs after a plug-in failed";
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

TEST_F(PluginManagerTest, StartupChoiceIsKeptInTheSettings) {
    const unsigned i = add(VELX_SAMPLE_PLUGIN);
    EXPECT_FALSE(manager().LoadOnStartup(i));
    EXPECT_EQ(manager().LoadStartupPlugins(), 0u);
    EXPECT_FALSE(manager().IsLoaded(i));

    ASSERT_TRUE(manager().SetLoadOnStartup(i, true));
    EXPECT_TRUE(manager().LoadOnStartup(i));
    XSettings& settings = XApplication::Instance().Settings();
    ASSERT_EQ(settings.Plugins().ArraySize(), 1);
    EXPECT_TRUE(settings.Plugins().Attribute(0).Attribute(1).Boolean());

    // A later session reads the choice from the file.
    XSettings saved(settings.Folder());
    saved.Load();
    EXPECT_TRUE(saved.Plugins().Attribute(0).Attribute(1).Boolean());

    EXPECT_EQ(manager().LoadStartupPlugins(), 1u);
    EXPECT_TRUE(manager().IsLoaded(i));
    ASSERT_TRUE(manager().SetLoadOnStartup(i, false));
    EXPECT_FALSE(manager().LoadOnStartup(i));
    EXPECT_EQ(settings.Plugins().ArraySize(), 1) << "one entry per file";
}

// ---------------------------------------------------------------- observers and locking

TEST_F(PluginManagerTest, ObserversAreToldOfEveryChange) {
    manager().AddObserver(observer);
    manager().AddObserver(observer);
    const unsigned i = add(VELX_SAMPLE_PLUGIN);
    EXPECT_EQ(observer.told, 1) << "adding refreshes the list";
    manager().LoadPlugin(i);
    EXPECT_EQ(observer.told, 2);
    manager().UnloadPlugin(i);
    EXPECT_EQ(observer.told, 3);
    manager().SetLoadOnStartup(i, true);
    EXPECT_EQ(observer.told, 4);
    manager().LoadStartupPlugins();
    EXPECT_EQ(observer.told, 5);
    manager().Refresh();
    EXPECT_EQ(observer.told, 6);
    const unsigned broken = add((root / "gone.so").string());
    manager().LoadPlugin(broken);
    EXPECT_EQ(observer.told, 8) << "a refused load is a change too (its error)";
    manager().RemoveObserver(observer);
    manager().Refresh();
    EXPECT_EQ(observer.told, 8);
}

TEST_F(PluginManagerTest, LockNestsOnOneThreadAndExcludesOthers) {
    auto otherThreadGetsLock = [] {
        return std::async(std::launch::async, [] {
                   if (!manager().TryLock()) return false;
                   manager().Unlock();
                   return true;
               }).get();
    };
    manager().Lock();
    manager().Lock();
    EXPECT_GE(manager().PluginCount(), 0u) << "calls work while this thread holds the lock";
    manager().Unlock();
    EXPECT_FALSE(otherThreadGetsLock()) << "still held once";
    manager().Unlock();
    EXPECT_TRUE(otherThreadGetsLock());
}

}  // namespace

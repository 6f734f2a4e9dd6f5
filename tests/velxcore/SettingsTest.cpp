#include <velxcore/XApplication.h>
#include <velxcore/XSettings.h>
#include <velxcore/XSettingsChange.h>
#include <velxcore/XSettingsObserver.h>

#include <veldatabase/Database.h>
#include <velutils/StringUtils.h>

#include "LogAssertions.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using namespace VelX;
namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace {

const std::wstring HashA(64, L'a');
const std::wstring HashB = L"0123456789ABCDEF0123456789abcdef0123456789abcdef0123456789abcdef";

std::string readText(const fs::path& p) {
    std::ifstream in(p);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

void writeText(const fs::path& p, const std::string& text) { std::ofstream(p) << text; }


std::vector<fs::path> damagedCopies(const fs::path& folder) {
    std::vector<fs::path> out;
    for (const auto& entry : fs::directory_iterator(folder))
        if (entry.path().filename().string().rfind("settings.json.damaged-", 0) == 0) out.push_back(entry.path());
    return out;
}

struct CountingObserver : XSettingsObserver {
    int created = 0, loaded = 0, registered = 0, changed = 0, transientChanges = 0, unitChanges = 0;
    void OnSettingsCreated(XSettings&) override { ++created; }
    void OnSettingsLoaded(XSettings&) override { ++loaded; }
    void OnSettingsRegistered(XSettings&) override { ++registered; }
    void OnSettingsChanged(const XSettingsChange& change, bool transient) override {
        ++changed;
        if (transient) ++transientChanges;
        if (change.IsUnitsChange()) ++unitChanges;
    }
};

// The application's settings pointed at a fresh configuration folder for each test.
class SettingsTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/velx-settings-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        m_root = pattern;
        const char* old = std::getenv("XDG_CONFIG_HOME");
        m_hadOld = old != nullptr;
        if (old) m_old = old;
        ::setenv("XDG_CONFIG_HOME", m_root.c_str(), 1);
        folder = m_root / "velx";
        file = folder / "settings.json";
        fs::create_directories(folder);
        settings().Load();
        logStart = XApplication::Instance().LogLines().size();
    }

    void TearDown() override {
        XApplication::Instance().RemoveSettingsObserver(&observer);
        // Defaults again, so that later tests see the default units and limits.
        settings().ResetToDefaults();
        if (m_hadOld) ::setenv("XDG_CONFIG_HOME", m_old.c_str(), 1);
        else ::unsetenv("XDG_CONFIG_HOME");
        std::error_code ec;
        fs::remove_all(m_root, ec);
    }

    static XSettings& settings() { return XApplication::Instance().Settings(); }

    fs::path folder, file;
    std::size_t logStart = 0;
    CountingObserver observer;

private:
    fs::path m_root;
    std::string m_old;
    bool m_hadOld = false;
};

// ---------------------------------------------------------------- persistence

TEST_F(SettingsTest, LivesInXdgConfigHomeAndRoundTrips) {
    EXPECT_EQ(settings().FilePath(), file.wstring());
    EXPECT_FALSE(fs::exists(file)) << "loading a missing file writes nothing";

    settings().LengthUnit().SetEnumeration(L"centimetres");
    settings().ScriptTimeBudget().SetFloat(2.5f);
    settings().AutosaveMinutes().SetInteger(0);
    settings().PluginFolders().SetArraySize(1);
    settings().PluginFolders().Attribute(0).SetString(L"/opt/velx/plugins");
    settings().Plugins().SetArraySize(1);
    settings().Plugins().Attribute(0).Attribute(0).SetString(L"/opt/extra/springs.so");
    settings().Plugins().Attribute(0).Attribute(1).SetBoolean(true);
    settings().Trust(L"/home/me/rig.lua", HashA);
    settings().AddRecentFile(L"/home/me/hero.velx");
    ASSERT_TRUE(fs::exists(file)) << "every change block saves";

    Json saved = Json::parse(readText(file));
    EXPECT_EQ(saved["application"]["lengthUnit"], "centimetres");
    EXPECT_EQ(saved["application"]["scriptTimeBudget"], 2.5);
    EXPECT_EQ(saved["scene"]["plugins"][0]["path"], "/opt/extra/springs.so");
    EXPECT_EQ(saved["scene"]["frameRate"], 30.0) << "floats are written as their shortest decimal";

    XSettings copy(folder.wstring());
    EXPECT_TRUE(copy.Load());
    EXPECT_EQ(copy.LengthUnit().Enumeration(), 1);
    EXPECT_FLOAT_EQ(copy.ScriptTimeBudget().Float(), 2.5f);
    EXPECT_EQ(copy.AutosaveMinutes().Integer(), 0);
    EXPECT_EQ(copy.PluginFolders().Attribute(0).String(), L"/opt/velx/plugins");
    EXPECT_EQ(copy.Plugins().Attribute(0).Attribute(0).String(), L"/opt/extra/springs.so");
    EXPECT_TRUE(copy.Plugins().Attribute(0).Attribute(1).Boolean());
    EXPECT_TRUE(copy.IsTrusted(L"/home/me/rig.lua", HashA));
    EXPECT_EQ(copy.RecentFiles().Attribute(0).String(), L"/home/me/hero.velx");
    // Saving what was loaded gives the same file.
    const std::string before = readText(file);
    ASSERT_TRUE(copy.Save());
    EXPECT_EQ(readText(file), before);
}

TEST_F(SettingsTest, LoadReplacesEveryValueAndSaveLeavesNoTemporaryFile) {
    settings().MassUnit().SetEnumeration(L"pounds");
    XSettings other(folder.wstring());
    other.Load();
    other.MassUnit().SetEnumeration(L"grams");
    ASSERT_TRUE(other.Save());
    ASSERT_TRUE(settings().Load());
    EXPECT_EQ(settings().MassUnit().EnumerationString(), L"grams");
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    EXPECT_EQ(names, std::vector<std::string>{"settings.json"});

    // Removing the file and loading again gives the defaults.
    fs::remove(file);
    EXPECT_TRUE(settings().Load());
    EXPECT_EQ(settings().MassUnit().EnumerationString(), L"kilograms");
}

TEST_F(SettingsTest, TransientRoundsDoNotSaveTheirCommitDoes) {
    settings().AutosaveMinutes().SetInteger(7);
    const std::string before = readText(file);
    db::Database& d = settings().Database().db();
    d.beginChangeBlock(true);
    settings().ScriptTimeBudget().SetFloat(3.0f);
    d.endChangeBlock();
    EXPECT_EQ(readText(file), before);
    d.commitTransient();
    EXPECT_EQ(Json::parse(readText(file))["application"]["scriptTimeBudget"], 3.0);
}

TEST_F(SettingsTest, FailedSaveIsLoggedWithTheFile) {
    writeText(folder.parent_path() / "blocker", "a file where a folder should be");
    XSettings blocked((folder.parent_path() / "blocker" / "velx").wstring());
    blocked.Load();
    EXPECT_FALSE(blocked.Save());
    EXPECT_TRUE(loggedSince(logStart, {L"not saved", L"blocker"}));
}

// ---------------------------------------------------------------- damaged files

struct DamagedCase {
    const char* text;
    const wchar_t* problem;  // part of the log line
};

TEST_F(SettingsTest, DamagedFileIsKeptAsideAndDefaultsUsed) {
    const DamagedCase cases[] = {
        {"{ \"application\": { \"lengthUnit\": ", L"parse error"},
        {"[1, 2]", L"expected an object"},
        {R"({"application": {"lengthUnit": "feet", "scriptTimeBudget": "fast"}})", L"application.scriptTimeBudget"},
        {R"({"application": {"lengthUnit": "parsecs"}})", L"one of millimetres"},
        {R"({"application": {"scriptMemoryBudget": 1.5}})", L"a whole number"},
        {R"({"application": {"scriptMemoryBudget": 0}})", L"at least 1 MiB"},
        {R"({"application": {"trustedScripts": ["/a.lua|1234"]}})", L"file-path|sha256-hex"},
        {R"({"application": {"recentFiles": "one.velx"}})", L"expected a list"},
        {R"({"scene": {"plugins": [{"path": 3}]}})", L"scene.plugins[0].path"},
        {R"({"format": "something-else"})", L"format"},
        {R"({"version": 99})", L"newer version"},
    };
    for (const DamagedCase& c : cases) {
        SCOPED_TRACE(c.text);
        for (const fs::path& p : damagedCopies(folder)) fs::remove(p);
        settings().LengthUnit().SetEnumeration(L"yards");  // must not survive the failed load
        writeText(file, c.text);
        const std::size_t from = XApplication::Instance().LogLines().size();

        EXPECT_FALSE(settings().Load());
        EXPECT_EQ(settings().LengthUnit().EnumerationString(), L"metres") << "nothing of a damaged file is used";
        EXPECT_FLOAT_EQ(settings().ScriptTimeBudget().Float(), 10.0f);
        const auto copies = damagedCopies(folder);
        ASSERT_EQ(copies.size(), 1u);
        EXPECT_EQ(readText(copies[0]), c.text) << "the damaged file is kept as it was";
        EXPECT_NO_THROW(Json::parse(readText(file))) << "the defaults replace it";
        EXPECT_TRUE(loggedSince(from, {file.wstring(), L"damaged", c.problem}));
        EXPECT_TRUE(loggedSince(from, {copies[0].wstring()}));
    }
}

TEST_F(SettingsTest, RepeatedDamageKeepsEveryCopy) {
    writeText(file, "not json");
    settings().Load();
    writeText(file, "still not json");
    settings().Load();
    EXPECT_EQ(damagedCopies(folder).size(), 2u);
}

TEST_F(SettingsTest, UnknownSettingsAreIgnoredNotDamage) {
    writeText(file, R"({"format": "velx-settings", "version": 1,
                        "application": {"lengthUnit": "feet", "futureThing": 1},
                        "scene": {"plugins": [{"path": "/p.so", "colour": "red"}]}, "extra": {}})");
    EXPECT_TRUE(settings().Load());
    EXPECT_EQ(settings().LengthUnit().EnumerationString(), L"feet");
    EXPECT_EQ(settings().Plugins().Attribute(0).Attribute(0).String(), L"/p.so");
    EXPECT_FALSE(settings().Plugins().Attribute(0).Attribute(1).Boolean()) << "missing fields take their default";
    EXPECT_TRUE(damagedCopies(folder).empty());
    EXPECT_TRUE(loggedSince(logStart, {L"application.futureThing", L"scene.plugins[0].colour", L"extra"}));
}

// ---------------------------------------------------------------- observers

TEST_F(SettingsTest, ObserversHearOncePerOutermostBlock) {
    XApplication& app = XApplication::Instance();
    app.AddSettingsObserver(&observer);
    EXPECT_EQ(observer.registered, 1) << "the settings exist already";

    db::Database& d = settings().Database().db();
    d.beginChangeBlock();
    settings().LengthUnit().SetEnumeration(L"inches");
    d.beginChangeBlock();
    settings().AngleUnit().SetEnumeration(L"radians");
    settings().RecentFiles().SetArraySize(0);
    d.endChangeBlock();
    EXPECT_EQ(observer.changed, 0) << "nothing before the outermost block closes";
    d.endChangeBlock();
    EXPECT_EQ(observer.changed, 1);
    EXPECT_EQ(observer.unitChanges, 1);

    settings().AutosaveMinutes().SetInteger(9);  // a lone edit is a block of its own
    EXPECT_EQ(observer.changed, 2);
    EXPECT_EQ(observer.unitChanges, 1);

    d.beginChangeBlock(true);
    settings().MassUnit().SetEnumeration(L"grams");
    d.endChangeBlock();
    d.commitTransient();
    EXPECT_EQ(observer.changed, 4);
    EXPECT_EQ(observer.transientChanges, 1);

    settings().Load();
    EXPECT_EQ(observer.loaded, 1);
    EXPECT_EQ(observer.changed, 4) << "a load is announced as a load, not a change";
    settings().ResetToDefaults();
    EXPECT_EQ(observer.created, 1);

    app.RemoveSettingsObserver(&observer);
    settings().AutosaveMinutes().SetInteger(3);
    EXPECT_EQ(observer.changed, 5);  // the reset's own change round, nothing after removal
}

TEST_F(SettingsTest, ChangeAnswersQuestionsAboutTheSettings) {
    struct Probe : XSettingsObserver {
        bool plugins = false, limits = false, trust = false, transient = true;
        void OnSettingsChanged(const XSettingsChange& c, bool t) override {
            plugins = c.IsPluginsChange();
            limits = c.IsScriptLimitsChange();
            trust = c.IsTrustChange();
            transient = c.IsTransient() || t;
        }
    } probe;
    XApplication::Instance().AddSettingsObserver(&probe);
    settings().Plugins().SetArraySize(1);
    EXPECT_TRUE(probe.plugins);
    EXPECT_FALSE(probe.limits);
    EXPECT_FALSE(probe.transient);
    settings().Plugins().Attribute(0).Attribute(1).SetBoolean(true);
    EXPECT_TRUE(probe.plugins) << "a field of an element counts";
    settings().ScriptMemoryBudget().SetInteger(128);
    EXPECT_TRUE(probe.limits);
    EXPECT_FALSE(probe.plugins);
    settings().Trust(L"/x.py", HashA);
    EXPECT_TRUE(probe.trust);
    XApplication::Instance().RemoveSettingsObserver(&probe);
}

// ---------------------------------------------------------------- applying

TEST_F(SettingsTest, UnitsAndScriptLimitsFollowTheSettings) {
    XApplication& app = XApplication::Instance();
    settings().LengthUnit().SetEnumeration(L"feet");
    settings().MassUnit().SetEnumeration(L"tonnes");
    settings().AngleUnit().SetEnumeration(L"radians");
    settings().ScriptTimeBudget().SetFloat(0.5f);
    settings().ScriptMemoryBudget().SetInteger(16);
    EXPECT_EQ(app.DisplayUnits().length, 4);
    EXPECT_EQ(app.DisplayUnits().mass, 2);
    EXPECT_EQ(app.DisplayUnits().angle, 1);
    EXPECT_DOUBLE_EQ(app.ScriptLimits().timeBudgetSeconds, 0.5);
    EXPECT_EQ(app.ScriptLimits().memoryBudgetBytes, 16u * 1024u * 1024u);

    // A value no file could hold falls back to the default limit.
    settings().ScriptTimeBudget().SetFloat(-1.0f);
    EXPECT_DOUBLE_EQ(app.ScriptLimits().timeBudgetSeconds, 10.0);

    writeText(file, R"({"application": {"lengthUnit": "millimetres", "scriptTimeBudget": 30}})");
    ASSERT_TRUE(settings().Load());
    EXPECT_EQ(app.DisplayUnits().length, 0);
    EXPECT_EQ(app.DisplayUnits().mass, 1) << "unset in the file: the default";
    EXPECT_DOUBLE_EQ(app.ScriptLimits().timeBudgetSeconds, 30.0);
    EXPECT_EQ(app.ScriptLimits().memoryBudgetBytes, 64u * 1024u * 1024u);
}

// ---------------------------------------------------------------- trust and recent files

TEST_F(SettingsTest, TrustingAPathAgainReplacesItsHash) {
    EXPECT_TRUE(settings().Trust(L"/rigs/arm.lua", HashA));
    EXPECT_TRUE(settings().Trust(L"/rigs/leg.lua", HashA));
    EXPECT_TRUE(settings().IsTrusted(L"/rigs/arm.lua", HashA));
    EXPECT_TRUE(settings().Trust(L"/rigs/arm.lua", HashB));
    EXPECT_EQ(settings().TrustedScripts().ArraySize(), 2);
    EXPECT_FALSE(settings().IsTrusted(L"/rigs/arm.lua", HashA));
    EXPECT_TRUE(settings().IsTrusted(L"/rigs/arm.lua", HashB));
    EXPECT_TRUE(settings().IsTrusted(L"/rigs/leg.lua", HashA)) << "other paths keep their hash";
    EXPECT_FALSE(settings().IsTrusted(L"/rigs/arm.lu", HashB)) << "a path prefix is another path";

    // Hex digits compare without case; paths may contain the separator.
    std::wstring upper = HashB;
    for (wchar_t& c : upper) c = static_cast<wchar_t>(std::towupper(c));
    EXPECT_TRUE(settings().IsTrusted(L"/rigs/arm.lua", upper));
    EXPECT_TRUE(settings().Trust(L"/odd|name.py", HashA));
    EXPECT_TRUE(settings().IsTrusted(L"/odd|name.py", HashA));

    const std::size_t count = static_cast<std::size_t>(settings().TrustedScripts().ArraySize());
    EXPECT_FALSE(settings().Trust(L"/rigs/arm.lua", L"not-a-hash"));
    EXPECT_FALSE(settings().Trust(L"", HashA));
    EXPECT_EQ(static_cast<std::size_t>(settings().TrustedScripts().ArraySize()), count);
    EXPECT_TRUE(settings().IsTrusted(L"/rigs/arm.lua", HashB)) << "a refused trust changes nothing";

    EXPECT_TRUE(settings().Untrust(L"/rigs/arm.lua"));
    EXPECT_FALSE(settings().IsTrusted(L"/rigs/arm.lua", HashB));
    EXPECT_FALSE(settings().Untrust(L"/rigs/arm.lua"));
}

TEST_F(SettingsTest, RecentFilesMostRecentFirstAtMostTen) {
    for (int i = 0; i < 12; ++i) settings().AddRecentFile(L"/scenes/s" + std::to_wstring(i) + L".velx");
    XAttribute recent = settings().RecentFiles();
    ASSERT_EQ(recent.ArraySize(), XSettings::MaxRecentFiles);
    EXPECT_EQ(recent.Attribute(0).String(), L"/scenes/s11.velx");
    EXPECT_EQ(recent.Attribute(9).String(), L"/scenes/s2.velx");
    settings().AddRecentFile(L"/scenes/s5.velx");
    EXPECT_EQ(recent.ArraySize(), XSettings::MaxRecentFiles);
    EXPECT_EQ(recent.Attribute(0).String(), L"/scenes/s5.velx");
    EXPECT_EQ(recent.Attribute(1).String(), L"/scenes/s11.velx");
    for (int i = 1; i < recent.ArraySize(); ++i) EXPECT_NE(recent.Attribute(i).String(), L"/scenes/s5.velx");
}

}  // namespace

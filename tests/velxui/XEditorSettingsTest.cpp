#include <velxui/XAttributeEditorSettingsDef.h>
#include <velxui/XCurveEditorSettingsDef.h>
#include <velxui/XEditorLibrary.h>
#include <velxui/XTimelineEditorSettingsDef.h>

#include <velxcore/XApplication.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneSettings.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

using namespace VelXUI;
using VelX::XAttribute;
using VelX::XObject;
using VelX::XScene;

namespace {

// The curve editor's attributes as stored, with their defaults (0 and 1 for the switches).
const struct {
    XAttribute (XCurveEditorSettings::*accessor)() const;
    const wchar_t* name;
    float defaultValue;
} curveAttributes[] = {
    {&XCurveEditorSettings::HorizontalRangeStart, L"horizontalRangeStart", -5.0f},
    {&XCurveEditorSettings::HorizontalRangeEnd, L"horizontalRangeEnd", 77.0f},
    {&XCurveEditorSettings::HorizontalSnapping, L"horizontalSnapping", 0.0f},
    {&XCurveEditorSettings::HorizontalSnapTolerance, L"horizontalSnapTolerance", 1.0f},
    {&XCurveEditorSettings::VerticalRangeStart, L"verticalRangeStart", -100.0f},
    {&XCurveEditorSettings::VerticalRangeEnd, L"verticalRangeEnd", 100.0f},
    {&XCurveEditorSettings::VerticalSnapping, L"verticalSnapping", 0.0f},
    {&XCurveEditorSettings::VerticalSnapTolerance, L"verticalSnapTolerance", 1.0f},
};
const wchar_t* const settingsTypes[] = {XAttributeEditorSettings::TypeID, XCurveEditorSettings::TypeID,
                                        XTimelineEditorSettings::TypeID};

float valueOf(const XAttribute& a) { return a.IsBool() ? a.Boolean() : a.Float(); }
XAttribute stored(XScene& scene, const wchar_t* type, int index) { return scene.Database().Object(type).Attribute(index); }

// Read by index, past the wrappers: each settings object once, at top level, holding the defaults
// (or, with `changed`, the values changeEverySetting gave it).
void expectSettings(XScene& scene, bool changed = false) {
    for (const wchar_t* type : settingsTypes) {
        int count = 0;
        for (int i = 0; i < scene.RootObject().ChildCount(); ++i) count += scene.RootObject().Child(i).IsType(type);
        EXPECT_EQ(count, 1) << type;
    }
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(valueOf(stored(scene, XCurveEditorSettings::TypeID, 8 + i)) == curveAttributes[i].defaultValue, !changed) << i;
    EXPECT_EQ(stored(scene, XAttributeEditorSettings::TypeID, 8).Enumeration(), changed ? 2 : 0);
    EXPECT_EQ(stored(scene, XTimelineEditorSettings::TypeID, 8).Boolean(), changed);
}

// Every setting away from its default, through the accessors, in one change.
void changeEverySetting(XScene& scene) {
    scene.Database().BeginChangeBlock();
    XCurveEditorSettings curve(scene.Database().Object(XCurveEditorSettings::TypeID));
    for (const auto& a : curveAttributes) {
        XAttribute attribute = (curve.*a.accessor)();
        EXPECT_EQ(attribute.Name(), a.name);
        attribute.IsBool() ? attribute.SetBoolean(true) : attribute.SetFloat(a.defaultValue + 3.5f);
    }
    XAttributeEditorSettings(scene.Database().Object(XAttributeEditorSettings::TypeID)).DisplayMode().SetEnumeration(2);
    XTimelineEditorSettings(scene.Database().Object(XTimelineEditorSettings::TypeID)).SnapToFrames().SetBoolean(true);
    scene.Database().EndChangeBlock();
}

class EditorSettings : public ::testing::Test {
protected:
    void SetUp() override { XEditorLibrary::Initialise(); }
};

TEST_F(EditorSettings, NewClearedAndLoadedScenesHoldOneOfEachWithDefaults) {
    XEditorLibrary::Initialise();  // again: nothing doubles
    expectSettings(VelX::XApplication::Instance().ActiveScene());
    XScene scene;
    EXPECT_EQ(scene.Database().Object(XCurveEditorSettings::TypeID).definition(), &XCurveEditorSettingsDef::Instance());
    expectSettings(scene);
    changeEverySetting(scene);
    scene.New();
    expectSettings(scene);

    std::string folder = (std::filesystem::temp_directory_path() / "velxui-settings-XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const std::wstring defaults = std::filesystem::path(folder + "/defaults.velx").wstring();
    const std::wstring changed = std::filesystem::path(folder + "/changed.velx").wstring();
    const std::wstring bare = std::filesystem::path(folder + "/bare.velx").wstring();
    ASSERT_TRUE(scene.Save(defaults));
    changeEverySetting(scene);
    ASSERT_TRUE(scene.Save(changed));
    ASSERT_TRUE(scene.Load(defaults));
    expectSettings(scene);
    ASSERT_TRUE(scene.Load(changed));
    expectSettings(scene, true);  // a load keeps what was saved
    std::ofstream(folder + "/bare.velx") << R"({"format": "velx-scene", "version": 1, "objects": []})";
    ASSERT_TRUE(scene.Load(bare));
    expectSettings(scene);  // a file without settings objects gets them
    std::filesystem::remove_all(folder);
}

TEST_F(EditorSettings, InitialisingRestoresEveryDefaultAsOneUndoStep) {
    XScene scene;
    changeEverySetting(scene);
    for (const wchar_t* type : settingsTypes) {
        const int id = scene.Database().Object(type).ObjectID();
        std::unique_ptr<XObject>(scene.Database().ObjectDefinition(type)->CreateObject(scene.Database(), id))->onInitialize();
    }
    expectSettings(scene);
    for (int step = 0; step < 3; ++step) ASSERT_TRUE(scene.Database().Undo());
    expectSettings(scene, true);
}

template <class Settings>
void expectValidOnlyOverItsOwnType(XScene& scene) {
    for (const wchar_t* type : {XAttributeEditorSettings::TypeID, XCurveEditorSettings::TypeID,
                                XTimelineEditorSettings::TypeID, L"SceneSettings"}) {
        Settings wrapper(scene.Database().Object(type));
        EXPECT_EQ(wrapper.isValid(), std::wstring(type) == Settings::TypeID) << type;
        if (!wrapper.isValid()) wrapper.onInitialize();  // writes nothing into another object
    }
    EXPECT_FALSE(Settings().isValid());
    Settings().onInitialize();
}

TEST_F(EditorSettings, WrapperOverAnotherTypeIsNotValidAndWritesNothing) {
    XScene scene;
    scene.SceneSettings().SetFrame(42.0f);
    changeEverySetting(scene);
    expectValidOnlyOverItsOwnType<XAttributeEditorSettings>(scene);
    expectValidOnlyOverItsOwnType<XCurveEditorSettings>(scene);
    expectValidOnlyOverItsOwnType<XTimelineEditorSettings>(scene);
    EXPECT_EQ(scene.SceneSettings().Frame(), 42.0f);
    expectSettings(scene, true);
    EXPECT_FALSE(XCurveEditorSettings(scene.SceneSettings()).HorizontalRangeStart().IsValid());
}

template <class Settings, class Definition>
void expectLiveWrappersKeepTheTypeRegistered() {
    XScene scene;
    VelX::XApplication& application = VelX::XApplication::Instance();
    Definition& definition = Definition::Instance();
    ASSERT_EQ(Settings::ObjectRefCount(), 0u);
    std::unique_ptr<XObject> made(definition.CreateObject(scene.Database(), scene.Database().Object(Settings::TypeID).ObjectID()));
    ASSERT_TRUE(dynamic_cast<Settings*>(made.get()) && made->isValid());
    EXPECT_TRUE(definition.CanUnregister());
    {
        Settings copy(*static_cast<Settings*>(made.get())), assigned;
        assigned = copy;
        EXPECT_EQ(Settings::ObjectRefCount(), 3u);
        EXPECT_FALSE(definition.CanUnregister());
        EXPECT_FALSE(application.UnregisterObjectDef(&definition));
        XEditorLibrary::Shutdown();
        EXPECT_EQ(application.ObjectDefinition(Settings::TypeID), &definition);  // stays while in use
        EXPECT_FALSE(XEditorLibrary::IsInitialised());                          // the others went
        EXPECT_NE(application.LogLines().back().find(Settings::TypeID), std::wstring::npos);
    }
    EXPECT_EQ(Settings::ObjectRefCount(), 1u);
    EXPECT_TRUE(definition.CanUnregister());
    XEditorLibrary::Shutdown();
    EXPECT_NE(application.ObjectDefinition(Settings::TypeID), &definition);  // the core's own is back
    made.reset();
    EXPECT_EQ(Settings::ObjectRefCount(), 0u);
    XEditorLibrary::Initialise();
    EXPECT_TRUE(XEditorLibrary::IsInitialised());
}

TEST_F(EditorSettings, LiveWrappersKeepTheirTypeRegistered) {
    expectLiveWrappersKeepTheTypeRegistered<XAttributeEditorSettings, XAttributeEditorSettingsDef>();
    expectLiveWrappersKeepTheTypeRegistered<XCurveEditorSettings, XCurveEditorSettingsDef>();
    expectLiveWrappersKeepTheTypeRegistered<XTimelineEditorSettings, XTimelineEditorSettingsDef>();
}

}  // namespace

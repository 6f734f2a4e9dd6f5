#include <velxcore/XApplication.h>
#include <velxcore/XAttribute.h>
#include <velxcore/XObjectDef.h>
#include <velxcore/XScene.h>

#include <veldatabase/Node.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <gtest/gtest.h>

using namespace VelX;

namespace {

// A typed wrapper over the timeline settings node, registered from outside the core the way an
// editor library does it.
class TestTimelineSettings;

class TestTimelineSettingsDef : public XObjectDef {
public:
    TestTimelineSettingsDef() : XObjectDef(L"TimelineEditorSettings", sg::TimelineEditorSettingsNode::ClassID) {}
    XObject* CreateObject(XDatabase& database, int id) override;
    bool CanUnregister() const override;
};

TestTimelineSettingsDef& timelineDef() {
    static TestTimelineSettingsDef def;
    return def;
}

class TestTimelineSettings : public XObject {
public:
    static unsigned& ObjectRefCount() {
        static unsigned count = 0;
        return count;
    }
    static int& Initialised() {
        static int count = 0;
        return count;
    }
    TestTimelineSettings() { ++ObjectRefCount(); }
    explicit TestTimelineSettings(const XObject& o) : XObject(o) { ++ObjectRefCount(); }
    TestTimelineSettings(const TestTimelineSettings& o) : XObject(o) { ++ObjectRefCount(); }
    ~TestTimelineSettings() override { --ObjectRefCount(); }

    const XObjectDef* definition() const override { return &timelineDef(); }
    bool isValid() const override {
        const db::Node* n = getNode();
        return n && n->isOfType(sg::TimelineEditorSettingsNode::Def);
    }
    void onInitialize() override {
        XObject::onInitialize();
        ++Initialised();
        Attribute(8).SetBoolean(true);  // this library prefers snapping on
    }
};

XObject* TestTimelineSettingsDef::CreateObject(XDatabase& database, int id) {
    return new TestTimelineSettings(database.Object(id));
}

bool TestTimelineSettingsDef::CanUnregister() const {
    return TestTimelineSettings::ObjectRefCount() <= 1 && XObjectDef::CanUnregister();
}

}  // namespace

TEST(ObjectDefinitions, RegisteredSettingsTypesInitialiseEveryNewScene) {
    XApplication& app = XApplication::Instance();
    app.RegisterObjectDef(&timelineDef());
    EXPECT_EQ(app.ObjectDefinition(L"TimelineEditorSettings"), &timelineDef());

    int before = TestTimelineSettings::Initialised();
    XScene scene;
    EXPECT_EQ(TestTimelineSettings::Initialised(), before + 1);  // once, at creation
    XObject settings = scene.Database().Object(L"TimelineEditorSettings");
    ASSERT_TRUE(settings.IsValid());
    EXPECT_TRUE(settings.Attribute(8).Boolean());
    EXPECT_EQ(scene.Database().ObjectDefinition(L"TimelineEditorSettings"), &timelineDef());

    TestTimelineSettings wrapper(settings);
    EXPECT_TRUE(wrapper.isValid());
    EXPECT_EQ(wrapper.definition(), &timelineDef());
    TestTimelineSettings wrongType(scene.Database().Object(L"SceneSettings"));
    EXPECT_FALSE(wrongType.isValid());

    // Two wrappers alive: the type cannot go away.
    EXPECT_FALSE(app.UnregisterObjectDef(&timelineDef()));
    {
        // The settings object cannot be deleted, renamed or duplicated.
        EXPECT_FALSE(settings.Delete());
        EXPECT_EQ(settings.SetName(L"Other"), L"TimelineEditorSettings");
        EXPECT_FALSE(scene.Database().CreateObject(L"TimelineEditorSettings", L"second").IsValid());
    }
    scene.New();
    EXPECT_EQ(TestTimelineSettings::Initialised(), before + 2);
    EXPECT_TRUE(scene.Database().Object(L"TimelineEditorSettings").Attribute(8).Boolean());
}

TEST(ObjectDefinitions, UnregisteringRestoresTheCoreDefinition) {
    XApplication& app = XApplication::Instance();
    app.RegisterObjectDef(&timelineDef());
    ASSERT_LE(TestTimelineSettings::ObjectRefCount(), 1u);
    EXPECT_TRUE(app.UnregisterObjectDef(&timelineDef()));
    XObjectDef* core = app.ObjectDefinition(L"TimelineEditorSettings");
    ASSERT_NE(core, nullptr);
    EXPECT_NE(core, &timelineDef());
    XScene scene;
    EXPECT_FALSE(scene.Database().Object(L"TimelineEditorSettings").Attribute(8).Boolean());  // core default
}

#include <velxui/XAttributeSource.h>

#include <velxcore/XApplication.h>
#include <velxcore/XDemoScene.h>
#include <velxcore/XScene.h>
#include <velxui/XEditorLibrary.h>

#include <gtest/gtest.h>

using VelX::XAttribute;
using VelX::XObject;
using VelXUI::XAttributeSource;

namespace {

// Sources over attributes of the demo scene, without a control (no display filter).
class AttributeSourceTest : public ::testing::Test {
protected:
    void SetUp() override {
        VelXUI::XEditorLibrary::Initialise();
        scene().New();
        VelX::XDemoScene::build(scene());
    }
    static VelX::XScene& scene() { return VelX::XApplication::Instance().ActiveScene(); }
    static XAttribute attribute(const wchar_t* path) { return XAttribute(scene().Database(), path); }
    static XAttributeSource over(std::initializer_list<const wchar_t*> paths) {
        auto path = paths.begin();
        XAttributeSource source(nullptr, attribute(*path), false);
        for (++path; path != paths.end(); ++path) source.addAttribute(attribute(*path));
        source.refresh();
        return source;
    }
};

TEST_F(AttributeSourceTest, FloatsThatDifferInTheLastPlaceAreMixedAndTheLastValueShows) {
    attribute(L"HandTarget.scaleX").SetFloat(1.0f);
    attribute(L"LookAtMarker.scaleX").SetFloat(std::nextafter(1.0f, 2.0f));
    XAttributeSource source = over({L"HandTarget.scaleX", L"LookAtMarker.scaleX"});
    EXPECT_TRUE(source.isMultiple());
    float value = 0;
    wxString units;
    source.getFloatValue(value, units);
    EXPECT_EQ(value, std::nextafter(1.0f, 2.0f));
    EXPECT_EQ(source.getType(), wxUtils::VelAttribute::Float);
    attribute(L"LookAtMarker.scaleX").SetFloat(1.0f);
    source.refresh();
    EXPECT_FALSE(source.isMultiple());
}

TEST_F(AttributeSourceTest, ObjectReferencesAreAlwaysMixedEvenToTheSameObject) {
    XAttributeSource both = over({L"Hero/LeftArmIK.solver", L"Hero/RightArmIK.solver"});
    EXPECT_TRUE(both.isMultiple());
    EXPECT_EQ(both.getType(), wxUtils::VelAttribute::String);
    XAttributeSource one = over({L"Hero/LeftArmIK.solver"});
    EXPECT_FALSE(one.isMultiple());
    wxString name;
    one.getStringValue(name);
    EXPECT_EQ(name, "ArmSolver");
}

TEST_F(AttributeSourceTest, FlagsHoldOnlyWhenTheyHoldForEveryAttribute) {
    // Hips' translateY is animated, HandTarget's is not; LookAtMarker's is connected.
    EXPECT_TRUE(over({L"Hero/Hips.translateY"}).isAnimated());
    EXPECT_FALSE(over({L"Hero/Hips.translateY", L"HandTarget.translateY"}).isAnimated());
    EXPECT_TRUE(over({L"LookAtMarker.translateY"}).isConnected());
    EXPECT_FALSE(over({L"LookAtMarker.translateY", L"HandTarget.translateY"}).isConnected());
    // A read-only attribute makes the whole row read-only.
    EXPECT_TRUE(over({L"Hero/BodyMesh.subdivisionLevel"}).isEditable());
    EXPECT_FALSE(over({L"Hero/BodyMesh.vertexCount"}).isEditable());
    EXPECT_FALSE(over({L"Hero/BodyMesh.subdivisionLevel", L"Hero/BodyMesh.vertexCount"}).isEditable());
    // Matrices are never edited in a row.
    EXPECT_FALSE(over({L"HandTarget.worldMatrix"}).isEditable());
}

TEST_F(AttributeSourceTest, SettersWriteEveryAttributeAndReadBackWhatTheSceneTook) {
    XAttributeSource source = over({L"HandTarget.scaleY", L"LookAtMarker.scaleY"});
    source.setFloatValue(2.5f);
    EXPECT_FLOAT_EQ(attribute(L"HandTarget.scaleY").Float(), 2.5f);
    EXPECT_FLOAT_EQ(attribute(L"LookAtMarker.scaleY").Float(), 2.5f);
    EXPECT_FALSE(source.isMultiple());

    XAttributeSource choice = over({L"Ground/GroundPlane.primitiveType"});
    EXPECT_TRUE(choice.setEnumerationValue("Box"));  // by display string
    EXPECT_EQ(attribute(L"Ground/GroundPlane.primitiveType").EnumerationString(), L"box");
    wxString shown;
    choice.getEnumerationValue(shown);
    EXPECT_EQ(shown, "Box");
    std::vector<wxString> values;
    choice.getEnumerationValues(values);
    EXPECT_EQ(values.size(), 6u);
}

TEST_F(AttributeSourceTest, UnifyCopiesTheLastValueAndNeedsTwoAttributes) {
    attribute(L"HandTarget.scaleZ").SetFloat(3.0f);
    attribute(L"LookAtMarker.scaleZ").SetFloat(7.0f);
    XAttributeSource single = over({L"HandTarget.scaleZ"});
    single.unify();
    EXPECT_FLOAT_EQ(attribute(L"HandTarget.scaleZ").Float(), 3.0f);
    XAttributeSource pair = over({L"HandTarget.scaleZ", L"LookAtMarker.scaleZ"});
    EXPECT_TRUE(pair.isMultiple());
    pair.unify();
    EXPECT_FLOAT_EQ(attribute(L"HandTarget.scaleZ").Float(), 7.0f);
    EXPECT_FALSE(pair.isMultiple());
}

TEST_F(AttributeSourceTest, KeyClearAndDisconnectActOnEveryAttribute) {
    XAttributeSource scale = over({L"HandTarget.scaleX", L"LookAtMarker.scaleX"});
    scale.key();
    EXPECT_TRUE(scale.isAnimated());
    scale.clearKeys();
    EXPECT_FALSE(attribute(L"HandTarget.scaleX").IsAnimated());
    EXPECT_FALSE(attribute(L"LookAtMarker.scaleX").IsAnimated());
    XAttributeSource driven = over({L"LookAtMarker.translateY"});
    driven.disconnect();
    EXPECT_FALSE(driven.isConnected());
    EXPECT_FALSE(attribute(L"LookAtMarker.translateY").IsConnectedInput());
}

TEST_F(AttributeSourceTest, OnlyShowableKindsOfVisibleAttributesAreDisplayable) {
    EXPECT_TRUE(over({L"HandTarget.translateX"}).isDisplayable());
    EXPECT_FALSE(over({L"HandTarget.worldMatrix"}).isDisplayable());  // matrices have no row
    EXPECT_FALSE(over({L"HandTarget.message"}).isDisplayable());      // hidden
    EXPECT_EQ(over({L"Hero/Hips.translateX"}).localPathName(), L"translateX");
    EXPECT_EQ(over({L"Hero/Hips.translateX"}).attributeName(), L"translateX");
    EXPECT_EQ(over({L"Hero/Hips.translateX"}).objectType(), L"Joint");
}

}  // namespace

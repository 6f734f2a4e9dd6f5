// Creating, duplicating and parenting as the menus do it: one named undo step each.
#include <velxcore/XAnimation.h>
#include <velxcore/XApplication.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XDemoScene.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneEditing.h>
#include <velxcore/XSceneSettings.h>
#include <velxcore/XSelection.h>

#include <gtest/gtest.h>

#include <algorithm>

using namespace VelX;

namespace {

class SceneEditing : public testing::Test {
protected:
    void SetUp() override { XDemoScene::build(scene); }
    XObject object(const wchar_t* path) { return scene.Database().Object(std::wstring(path)); }
    void select(std::initializer_list<const wchar_t*> paths) {
        std::vector<std::wstring> list(paths.begin(), paths.end());
        scene.Selection().Select(list);
    }
    XScene scene;
};

bool offers(const std::vector<XSceneEditing::CreatableType>& types, const std::wstring& typeId) {
    return std::any_of(types.begin(), types.end(), [&](const auto& t) { return t.typeId == typeId; });
}

}  // namespace

TEST_F(SceneEditing, CreateOffersSceneObjectsOnlyAndPlacesTheNewOneUnderTheSelection) {
    const auto types = XSceneEditing::CreatableTypes(scene);
    EXPECT_TRUE(offers(types, L"Transform"));
    EXPECT_TRUE(offers(types, L"Joint"));
    EXPECT_TRUE(offers(types, L"Camera"));
    EXPECT_FALSE(offers(types, L"SceneSettings"));  // one per scene
    EXPECT_FALSE(offers(types, L"SelectionGroup"));  // the group editors make groups
    EXPECT_FALSE(offers(types, L"Object"));  // abstract
    EXPECT_TRUE(std::is_sorted(types.begin(), types.end(),
                               [](const auto& a, const auto& b) { return a.displayName < b.displayName; }));

    select({L"Hero/Hips"});
    const XObject joint = XSceneEditing::CreateUnderSelection(scene, L"Joint");
    ASSERT_TRUE(joint.IsValid());
    EXPECT_EQ(joint.Parent(), object(L"Hero/Hips"));
    EXPECT_TRUE(scene.Selection().IsSelected(joint));
    EXPECT_EQ(scene.Database().UndoName().rfind(L"Create ", 0), 0u) << scene.Database().UndoName();
    scene.Database().Undo();
    EXPECT_FALSE(joint.IsValid());
    EXPECT_FALSE(XSceneEditing::CreateUnderSelection(scene, L"SceneSettings").IsValid());
}

TEST_F(SceneEditing, DuplicateCopiesValuesConnectionsAndAnimationAsOneStep) {
    // The demo's hand target is animated on translate X; give it a child driven from inside and
    // an input from outside the copied branch.
    XObject target = object(L"HandTarget");
    ASSERT_TRUE(target.Attribute(L"translateX").IsAnimated());
    scene.Database().BeginChangeBlock();
    XObject child = scene.Database().CreateObject(L"Transform", L"Grip", target);
    child.Attribute(L"translateY").ConnectInputTo(target.Attribute(L"translateZ"));
    target.Attribute(L"scaleY").ConnectInputTo(object(L"Ground").Attribute(L"scaleX"));
    target.Attribute(L"translateZ").SetFloat(2.5f);
    scene.Database().EndChangeBlock(L"Set Up");

    select({L"HandTarget", L"HandTarget/Grip"});  // the child comes with its parent, once
    const std::vector<XObject> copies = XSceneEditing::DuplicateSelection(scene);
    ASSERT_EQ(copies.size(), 1u);
    const XObject copy = copies.front();
    EXPECT_NE(copy, target);
    EXPECT_EQ(copy.Parent(), target.Parent());
    EXPECT_FLOAT_EQ(copy.Attribute(L"translateZ").Float(), 2.5f);
    ASSERT_EQ(copy.ChildCount(), 1);
    const XObject copiedChild = copy.Child(0);
    EXPECT_EQ(copiedChild.Name(), L"Grip");
    // Inside the branch the connection now runs between the copies; from outside it is kept.
    EXPECT_EQ(copiedChild.Attribute(L"translateY").InputAttribute().Object(), copy);
    EXPECT_EQ(copy.Attribute(L"scaleY").InputAttribute().Object(), object(L"Ground"));
    // The animation is a copy of its own: keying the copy leaves the original's curve alone.
    ASSERT_TRUE(copy.Attribute(L"translateX").IsAnimated());
    EXPECT_NE(copy.Attribute(L"translateX").Animation().ObjectID(), target.Attribute(L"translateX").Animation().ObjectID());
    EXPECT_EQ(copy.Attribute(L"translateX").Animation().KeyframeCount(),
              target.Attribute(L"translateX").Animation().KeyframeCount());
    EXPECT_TRUE(scene.Selection().IsSelected(copy));

    EXPECT_EQ(scene.Database().UndoName(), L"Duplicate");
    const std::size_t objects = scene.Database().ObjectCount();
    scene.Database().Undo();
    EXPECT_FALSE(copy.IsValid());
    EXPECT_EQ(scene.Database().ObjectCount(), objects - 3) << "one undo takes the copy, its child and its curve";
}

TEST_F(SceneEditing, ParentPutsTheSelectionUnderTheLastAndUnparentTakesItToTheTop) {
    select({L"Ground", L"LookAtMarker", L"HandTarget"});
    ASSERT_TRUE(XSceneEditing::ParentSelection(scene));
    EXPECT_EQ(object(L"HandTarget/Ground").Parent(), object(L"HandTarget"));
    EXPECT_TRUE(object(L"HandTarget/LookAtMarker").IsValid());
    EXPECT_EQ(scene.Database().UndoName(), L"Parent");

    select({L"HandTarget/Ground"});
    EXPECT_FALSE(XSceneEditing::ParentSelection(scene)) << "one object has no parent to go to";
    ASSERT_TRUE(XSceneEditing::UnparentSelection(scene));
    EXPECT_TRUE(object(L"Ground").IsValid());
    EXPECT_EQ(scene.Database().UndoName(), L"Unparent");
    scene.Database().Undo();
    EXPECT_TRUE(object(L"HandTarget/Ground").IsValid());
    scene.Database().Undo();  // the selection
    ASSERT_EQ(scene.Database().UndoName(), L"Parent");
    scene.Database().Undo();
    EXPECT_TRUE(object(L"Ground").IsValid());
    EXPECT_TRUE(object(L"LookAtMarker").IsValid());
}

TEST_F(SceneEditing, PasteBringsWhatWasCopiedEvenAfterTheOriginalChangedOrWentAway) {
    XObject target = object(L"HandTarget");
    scene.Database().BeginChangeBlock();
    target.Attribute(L"translateZ").SetFloat(2.5f);
    target.Attribute(L"scaleY").ConnectInputTo(object(L"Ground").Attribute(L"scaleX"));
    scene.Database().EndChangeBlock(L"Set Up");
    select({L"HandTarget"});
    ASSERT_TRUE(XSceneEditing::CopySelection(scene));
    ASSERT_TRUE(XSceneEditing::CanPaste());

    // The original changes, then goes away: the copy is as it was at Copy.
    scene.Database().BeginChangeBlock();
    target.Attribute(L"translateZ").SetFloat(9.0f);
    scene.Database().DeleteObjects(target.Path());
    scene.Database().EndChangeBlock(L"Delete");

    select({L"Hero"});
    const std::vector<XObject> pasted = XSceneEditing::Paste(scene);
    ASSERT_EQ(pasted.size(), 1u);
    const XObject copy = pasted.front();
    EXPECT_EQ(copy.Name(), L"HandTarget");
    EXPECT_EQ(copy.Parent(), object(L"Hero"));
    EXPECT_FLOAT_EQ(copy.Attribute(L"translateZ").Float(), 2.5f);
    EXPECT_TRUE(copy.Attribute(L"translateX").IsAnimated());
    EXPECT_EQ(copy.Attribute(L"scaleY").InputAttribute().Object(), object(L"Ground"));
    EXPECT_EQ(scene.Database().UndoName(), L"Paste");

    // Pasting again puts a second copy under the selection, which is now the first copy.
    const std::vector<XObject> again = XSceneEditing::Paste(scene);
    ASSERT_EQ(again.size(), 1u);
    EXPECT_EQ(again.front().Parent(), copy);
    scene.Database().Undo();
    EXPECT_FALSE(again.front().IsValid());
    EXPECT_TRUE(copy.IsValid());
}

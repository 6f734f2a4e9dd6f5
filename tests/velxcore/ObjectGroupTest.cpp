#include <velxcore/XCollisionGroupPolicy.h>
#include <velxcore/XDisplayGroupPolicy.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneFile.h>
#include <velxcore/XSelectionGroupPolicy.h>

#include <veldatabase/Database.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

using namespace VelX;

namespace {

using Names = std::vector<std::wstring>;
using Objects = Velutils::Vector<XObject>;

Names names(const Objects& objects) {
    Names out;
    for (const XObject& o : objects) out.push_back(o.Name());
    return out;
}
Names members(const XObjectGroup& group) {
    Objects out;
    group.Objects(out);
    return names(out);
}
Names childGroups(const XObjectGroup& folder) {
    Names out;
    for (int i = 0; i < folder.ChildGroupCount(); ++i) out.push_back(folder.ChildGroup(i).Label().String());
    return out;
}

// A scene with transforms a, b, c, physics bodies p1..p3 and an animation curve.
class GroupTest : public ::testing::Test {
protected:
    void SetUp() override {
        XDatabase& d = scene.Database();
        a = d.CreateObject(XTransform::TypeID, L"a");
        b = d.CreateObject(XTransform::TypeID, L"b");
        c = d.CreateObject(XTransform::TypeID, L"c");
        p1 = d.CreateObject(XPhysicsJoint::TypeID, L"p1");
        p2 = d.CreateObject(XPhysicsJoint::TypeID, L"p2");
        p3 = d.CreateObject(XPhysicsJoint::TypeID, L"p3");
        curve = d.CreateObject(L"Animation", L"curve");
        d.db().clearUndo();
    }
    void select(const Objects& objects) { scene.Selection().SelectObjects(objects); }
    std::size_t steps() { return scene.Database().db().undoCount(); }

    XScene scene;
    XObject a, b, c, p1, p2, p3, curve;
    XSelectionGroupPolicy selectionPolicy;
    XDisplayGroupPolicy displayPolicy;
    XCollisionGroupPolicy collisionPolicy;
};

}  // namespace

TEST_F(GroupTest, EverySceneHasOneHiddenFixedRootGroupOfEachKind) {
    XObjectGroup roots[] = {scene.SelectionGroups(), scene.DisplayGroups(), scene.CollisionGroups()};
    const Names paths = {L"SelectionGroups", L"DisplayGroups", L"CollisionGroups"};
    for (int i = 0; i < 3; ++i) {
        XObjectGroup root = roots[i];
        EXPECT_EQ(root.Path(), paths[i]);
        EXPECT_TRUE(root.IsRootGroup() && root.IsFolder());
        EXPECT_TRUE(root.getNode()->def().hasFlag(db::HiddenFromExplorer));
        EXPECT_FALSE(root.Delete() || root.SetParent(a));
        EXPECT_EQ(root.SetName(L"other"), paths[i]);
    }
    scene.Selection().SelectByType(XObjectGroup::TypeID, XComparisonMode::SupportedType);
    EXPECT_EQ(scene.Selection().Count(), 0);

    scene.New();
    EXPECT_TRUE(scene.SelectionGroups().IsValid() && scene.DisplayGroups().IsValid() && scene.CollisionGroups().IsValid());
}

TEST_F(GroupTest, OnlyFoldersTakeChildGroupsEachCreationOneUndoStep) {
    XSelectionGroup root = scene.SelectionGroups();
    XObjectGroup folder = root.CreateChildFolder(L"Arms");
    XObjectGroup left = folder.CreateChildGroup(L"Left");
    XObjectGroup line = folder.CreateChildSeparator();
    XObjectGroup right = folder.CreateChildGroup(L"Right");
    ASSERT_TRUE(right.IsValid());
    EXPECT_TRUE(folder.IsFolder() && line.IsSeparator());
    EXPECT_FALSE(left.CreateChildGroup().IsValid() || line.CreateChildFolder().IsValid());
    EXPECT_EQ(steps(), 4u);

    EXPECT_EQ(childGroups(folder), (Names{L"Left", L"", L"Right"}));
    Objects all;
    root.DescendantGroups(all);
    EXPECT_EQ(names(all), (Names{folder.Name(), left.Name(), line.Name(), right.Name()}));
    EXPECT_EQ(left.RootGroup(), root);
    EXPECT_EQ(left.NextSibling(), line);
    EXPECT_EQ(right.PreviousSibling(), line);

    scene.Database().Undo();
    EXPECT_FALSE(right.IsValid());
}

TEST_F(GroupTest, MoveUpAndDownReorderGroupsAndUndo) {
    XObjectGroup root = scene.DisplayGroups();
    XObjectGroup g1 = root.CreateChildGroup(L"one");
    XObjectGroup g2 = root.CreateChildGroup(L"two");
    XObjectGroup g3 = root.CreateChildGroup(L"three");
    // An object that is not a group among the children is stepped over.
    ASSERT_TRUE(scene.Database().db().setParent(a.ObjectID(), root.ObjectID(), 2));
    scene.Database().db().clearUndo();

    EXPECT_TRUE(g3.MoveUp());
    EXPECT_EQ(childGroups(root), (Names{L"one", L"three", L"two"}));
    EXPECT_TRUE(g1.MoveDown());
    EXPECT_EQ(childGroups(root), (Names{L"three", L"one", L"two"}));
    EXPECT_FALSE(g3.MoveUp());
    EXPECT_FALSE(g2.MoveDown());
    EXPECT_EQ(steps(), 2u);
    EXPECT_EQ(scene.Database().UndoName(), L"Move Group Down");

    scene.Database().Undo();
    scene.Database().Undo();
    EXPECT_EQ(childGroups(root), (Names{L"one", L"two", L"three"}));
}

TEST_F(GroupTest, RecursiveFlagsNeedEveryAncestorOn) {
    XObjectGroup root = scene.SelectionGroups();
    XObjectGroup folder = root.CreateChildFolder();
    XObjectGroup group = folder.CreateChildFolder().CreateChildGroup();
    folder.IsVisible().SetBoolean(false);
    EXPECT_FALSE(group.IsVisibleRecursive());
    EXPECT_TRUE(group.IsVisible().Boolean() && group.IsActiveRecursive());
    root.IsActive().SetBoolean(false);
    EXPECT_FALSE(group.IsActiveRecursive());
    folder.IsEditable().SetBoolean(false);
    EXPECT_FALSE(group.IsEditableRecursive());
    group.IsSelectable().SetBoolean(false);
    EXPECT_FALSE(group.IsSelectableRecursive());
    EXPECT_TRUE(folder.IsSelectableRecursive());
}

TEST_F(GroupTest, FocusGroupsAreTheFocusedDescendantsAndClearInOneStep) {
    XObjectGroup root = scene.CollisionGroups();
    XObjectGroup folder = root.CreateChildFolder();
    XObjectGroup g1 = folder.CreateChildGroup();
    XObjectGroup g2 = root.CreateChildGroup();
    g1.IsFocused().SetBoolean(true);
    g2.IsFocused().SetBoolean(true);
    Objects focused;
    root.FocusGroups(focused);
    EXPECT_EQ(names(focused), (Names{g1.Name(), g2.Name()}));

    const std::size_t before = steps();
    EXPECT_TRUE(root.ClearFocusGroups());
    EXPECT_EQ(steps(), before + 1);
    EXPECT_FALSE(g1.IsFocused().Boolean() || g2.IsFocused().Boolean());
    scene.Database().Undo();
    EXPECT_TRUE(g1.IsFocused().Boolean() && g2.IsFocused().Boolean());
}

TEST_F(GroupTest, PoliciesOfTheWrongKindAndUnfitObjectsAreRefused) {
    XObjectGroup selectionGroup = scene.SelectionGroups().CreateChildGroup();
    XObjectGroup displayGroup = scene.DisplayGroups().CreateChildGroup();
    XObjectGroup collisionGroup = scene.CollisionGroups().CreateChildGroup();
    XObjectGroup other = scene.SelectionGroups().CreateChildGroup();
    select({a, p1, curve, other, scene.ToolObject(3), scene.SelectionGroups()});
    const std::size_t before = steps();
    EXPECT_FALSE(selectionGroup.AddObjectsFromSelection(displayPolicy));
    EXPECT_FALSE(displayGroup.AddObjectsFromSelection(collisionPolicy));
    EXPECT_FALSE(collisionGroup.AddObjectsFromSelection(selectionPolicy));
    EXPECT_EQ(steps(), before);

    EXPECT_TRUE(selectionGroup.AddObjectsFromSelection(selectionPolicy));
    EXPECT_EQ(members(selectionGroup), (Names{L"a", L"p1", L"curve"}));
    EXPECT_TRUE(displayGroup.AddObjectsFromSelection(displayPolicy));
    EXPECT_EQ(members(displayGroup), (Names{L"a", L"p1"}));
    EXPECT_TRUE(collisionGroup.AddObjectsFromSelection(collisionPolicy));
    EXPECT_EQ(members(collisionGroup), (Names{L"p1"}));
    EXPECT_EQ(steps(), before + 3);

    // Nothing new, or a group that holds no objects: no change.
    EXPECT_FALSE(selectionGroup.AddObjectsFromSelection(selectionPolicy));
    EXPECT_FALSE(scene.SelectionGroups().CreateChildSeparator().AddObjectsFromSelection(selectionPolicy));
}

TEST_F(GroupTest, DisplayAndCollisionMembershipIsExclusiveSelectionIsNot) {
    XObjectGroup d1 = scene.DisplayGroups().CreateChildGroup();
    XObjectGroup d2 = scene.DisplayGroups().CreateChildFolder().CreateChildGroup();
    XObjectGroup s1 = scene.SelectionGroups().CreateChildGroup();
    XObjectGroup s2 = scene.SelectionGroups().CreateChildGroup();
    d1.AddObjects({a, b}, displayPolicy);
    s1.AddObjects({a, b}, selectionPolicy);
    const std::size_t before = steps();
    ASSERT_TRUE(d2.AddObjects({b, c}, displayPolicy));
    EXPECT_EQ(steps(), before + 1) << "the move is one step";
    EXPECT_EQ(members(d1), (Names{L"a"}));
    EXPECT_EQ(members(d2), (Names{L"b", L"c"}));
    ASSERT_TRUE(s2.AddObjects({b, c}, selectionPolicy));
    EXPECT_EQ(members(s1), (Names{L"a", L"b"})) << "selection groups share members";
    scene.Database().Undo();
    scene.Database().Undo();
    EXPECT_EQ(members(d1), (Names{L"a", L"b"}));
    EXPECT_EQ(members(d2), Names{});

    // A member of a locked group stays put, and the locked group refuses edits.
    XObjectGroup c1 = scene.CollisionGroups().CreateChildGroup();
    XObjectGroup c2 = scene.CollisionGroups().CreateChildGroup();
    c1.AddObjects({p1, p2}, collisionPolicy);
    c1.IsEditable().SetBoolean(false);
    ASSERT_TRUE(c2.AddObjects({p2, p3}, collisionPolicy));
    EXPECT_EQ(members(c1), (Names{L"p1", L"p2"}));
    EXPECT_EQ(members(c2), (Names{L"p3"}));
    EXPECT_FALSE(c1.ClearObjects());
}

TEST_F(GroupTest, RemoveClearSelectAndDeletedMembersDropOut) {
    XObjectGroup group = scene.SelectionGroups().CreateChildGroup();
    select({c, a, b, p1});
    ASSERT_TRUE(group.AddObjectsFromSelection(selectionPolicy));
    select({a, p2});
    EXPECT_TRUE(group.RemoveObjectsFromSelection(selectionPolicy));
    EXPECT_EQ(members(group), (Names{L"c", L"b", L"p1"}));

    b.Delete();
    EXPECT_EQ(members(group), (Names{L"c", L"p1"}));
    scene.Database().Undo();
    EXPECT_EQ(members(group), (Names{L"c", L"b", L"p1"}));

    // Selecting skips members that are gone and keeps the group's order.
    c.Delete();
    EXPECT_TRUE(group.SelectObjects());
    Objects selected;
    scene.Selection().Objects(selected);
    EXPECT_EQ(names(selected), (Names{L"b", L"p1"}));
    group.IsSelectable().SetBoolean(false);
    EXPECT_FALSE(group.SelectObjects());

    // Adding packs out the members that are gone.
    ASSERT_TRUE(group.AddObjects({a}, selectionPolicy));
    EXPECT_EQ(group.Attribute(L"objects").ArraySize(), 3);
    EXPECT_TRUE(group.ClearObjects());
    scene.Database().Undo();
    EXPECT_EQ(members(group), (Names{L"b", L"p1", L"a"}));
}

TEST_F(GroupTest, SelectingAFolderSelectsTheMembersOfItsGroups) {
    XObjectGroup folder = scene.SelectionGroups().CreateChildFolder();
    folder.CreateChildGroup().AddObjects({a, b}, selectionPolicy);
    folder.CreateChildGroup().AddObjects({b, c}, selectionPolicy);
    EXPECT_TRUE(folder.SelectObjects());
    Objects selected;
    scene.Selection().Objects(selected);
    EXPECT_EQ(names(selected), (Names{L"a", L"b", L"c"}));
}

TEST_F(GroupTest, ObjectsStayOutOfGroupsAndGroupsStayInTheirFolders) {
    XObjectGroup folder = scene.SelectionGroups().CreateChildFolder();
    XObjectGroup group = scene.SelectionGroups().CreateChildGroup();
    select({a, group});
    scene.ReparentSelection(folder.Path());
    EXPECT_EQ(group.ParentGroup(), folder);
    EXPECT_TRUE(a.IsChildOf(scene.RootObject()));
    scene.ReparentSelection(scene.DisplayGroups().Path());
    scene.ReparentSelection(L"");
    EXPECT_EQ(group.ParentGroup(), folder) << "groups go only into folders of their kind";
}

TEST_F(GroupTest, GroupsSaveAndLoadLikeAnySceneData) {
    XObjectGroup folder = scene.DisplayGroups().CreateChildFolder(L"Body");
    XObjectGroup group = folder.CreateChildGroup(L"Limbs");
    folder.CreateChildSeparator();
    group.AddObjects({b, a}, displayPolicy);
    group.IsVisible().SetBoolean(false);
    EXPECT_TRUE(group.SetGroupColour(XColour(0.0f, 1.0f, 2.0f)));
    EXPECT_FALSE(group.SetGroupColour(XColour(std::nanf(""), 0.0f, 0.0f)));
    XObjectGroup bodies = scene.CollisionGroups().CreateChildGroup();
    bodies.AddObjects({p1, p2}, collisionPolicy);
    XCollisionGroup(bodies).CollidesWithSelf().SetBoolean(true);
    const std::string text = XSceneFile::toJson(scene.Database().db());

    const std::string file = ::testing::TempDir() + "groups_round_trip.velx";
    const std::wstring wideFile(file.begin(), file.end());
    ASSERT_TRUE(scene.Save(wideFile));
    XScene loaded;
    ASSERT_TRUE(loaded.Load(wideFile));
    std::remove(file.c_str());
    EXPECT_EQ(XSceneFile::toJson(loaded.Database().db()), text);

    XObjectGroup loadedFolder = loaded.DisplayGroups().ChildGroup(0);
    EXPECT_EQ(childGroups(loadedFolder), (Names{L"Limbs", L""}));
    EXPECT_EQ(members(loadedFolder.ChildGroup(0)), (Names{L"b", L"a"}));
    EXPECT_EQ(loadedFolder.ChildGroup(0).GroupColour(), XColour(0.0f, 1.0f, 1.0f)) << "clamped to 0..1";
    EXPECT_FALSE(XScene::IsDisplayed(loaded.Database().Object(L"a")));
    EXPECT_TRUE(XCollisionGroup::Collides(loaded.Database().Object(L"p1"), loaded.Database().Object(L"p2")));
}

TEST_F(GroupTest, DisplayGroupsHideTheirMembers) {
    XObjectGroup folder = scene.DisplayGroups().CreateChildFolder();
    XObjectGroup group = folder.CreateChildGroup();
    group.AddObjects({a}, displayPolicy);
    EXPECT_TRUE(XScene::IsDisplayed(a));

    group.IsVisible().SetBoolean(false);
    EXPECT_FALSE(XScene::IsDisplayed(a));
    EXPECT_TRUE(XScene::IsDisplayed(b));
    group.IsActive().SetBoolean(false);
    EXPECT_TRUE(XScene::IsDisplayed(a)) << "an inactive group has no effect";
    group.IsActive().SetBoolean(true);
    group.IsVisible().SetBoolean(true);
    folder.IsVisible().SetBoolean(false);
    EXPECT_FALSE(XDisplayGroup::IsObjectVisible(a)) << "through the folder";
    folder.IsVisible().SetBoolean(true);
    a.Attribute(L"visibility").SetBoolean(false);
    EXPECT_FALSE(XScene::IsDisplayed(a)) << "the object's own visibility";
    EXPECT_FALSE(XScene::IsDisplayed(curve));
}

TEST_F(GroupTest, BodiesInOneCollisionGroupPassThroughEachOther) {
    XObjectGroup g1 = scene.CollisionGroups().CreateChildGroup();
    g1.AddObjects({p1, p2}, collisionPolicy);
    scene.CollisionGroups().CreateChildGroup().AddObjects({p3}, collisionPolicy);
    XObject p4 = scene.Database().CreateObject(XPhysicsJoint::TypeID, L"p4");

    EXPECT_FALSE(XCollisionGroup::Collides(p1, p2));
    EXPECT_TRUE(XCollisionGroup::Collides(p1, p3)) << "different groups";
    EXPECT_TRUE(XCollisionGroup::Collides(p1, p4)) << "one in no group";
    EXPECT_FALSE(XCollisionGroup::Collides(p1, a)) << "not a body";

    XCollisionGroup(g1).CollidesWithSelf().SetBoolean(true);
    EXPECT_TRUE(XCollisionGroup::Collides(p1, p2));
    XCollisionGroup(g1).CollidesWithSelf().SetBoolean(false);
    scene.CollisionGroups().IsActive().SetBoolean(false);
    EXPECT_TRUE(XCollisionGroup::Collides(p1, p2)) << "inactive groups are ignored";
}

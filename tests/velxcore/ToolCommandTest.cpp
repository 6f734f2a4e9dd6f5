#include <velxcore/XApplication.h>
#include <velxcore/XCreateJointChainCommand.h>
#include <velxcore/XMirrorJointsCommand.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneFile.h>

#include <veldatabase/Database.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

using namespace VelX;

namespace {

using Names = std::vector<std::wstring>;

Names selectedNames(XScene& scene) {
    Velutils::Vector<XObject> selected;
    scene.Selection().Objects(selected);
    Names out;
    for (const XObject& o : selected) out.push_back(o.Name());
    return out;
}

}  // namespace

TEST(BuiltInTools, ToolsThreeToSixExistHiddenFixedAndSaved) {
    XScene scene;
    const Names labels = {L"Translate", L"Rotate", L"Scale", L"IK Drag"};
    for (int index = 3; index <= 6; ++index) {
        XTool tool = scene.ToolObject(index);
        ASSERT_TRUE(tool.IsValid()) << index;
        EXPECT_EQ(tool.ToolIndex(), index);
        EXPECT_EQ(tool.ToolName().String(), labels[index - 3]);
        EXPECT_TRUE(tool.getNode()->def().hasFlag(db::HiddenFromExplorer));
        EXPECT_FALSE(tool.Delete());
    }
    for (int index : {-1, 0, 2, 7}) EXPECT_FALSE(scene.ToolObject(index).IsValid()) << index;
    EXPECT_FALSE(scene.Database().CanUndo()) << "naming the tools is part of making the scene";

    for (int index : {4, 9, -3}) scene.SetActiveToolIndex(index);
    EXPECT_EQ(scene.ActiveToolIndex(), 4) << "bad indices are ignored";

    scene.ToolObject(5).SnapIncrement().SetFloat(0.25f);
    XScene other;
    std::string error;
    ASSERT_TRUE(XSceneFile::loadJson(other.Database().db(), XSceneFile::toJson(scene.Database().db()), "t.velx", error));
    EXPECT_EQ(other.ToolObject(5).SnapIncrement().Float(), 0.25f);
    scene.New();
    EXPECT_EQ(scene.ToolObject(5).SnapIncrement().Float(), 1.0f);
    EXPECT_EQ(scene.ToolObject(5).ToolName().String(), L"Scale");
}

TEST(BuiltInTools, SnappingRoundsToTheIncrementOnlyWhenUsable) {
    XScene scene;
    XTool tool = scene.ToolObject(3);
    EXPECT_EQ(tool.Snap(0.37f), 0.37f) << "snapping off";
    tool.Snapping().SetBoolean(true);
    tool.SnapIncrement().SetFloat(0.25f);
    EXPECT_FLOAT_EQ(tool.Snap(0.37f), 0.25f);
    EXPECT_FLOAT_EQ(tool.Snap(-0.38f), -0.5f);
    for (float bad : {0.0f, -1.0f, std::numeric_limits<float>::infinity(), std::nanf("")}) {
        tool.SnapIncrement().SetFloat(bad);
        EXPECT_EQ(tool.Snap(0.37f), 0.37f) << bad;
    }
}

TEST(Commands, CreateJointChainIsOneUndoStep) {
    XScene scene;
    XCreateJointChainCommand command(scene.CommandObject(XCreateJointChainCommand::TypeID));
    ASSERT_TRUE(command.IsValid());
    command.JointCount().SetInteger(4);
    command.Length().SetFloat(1.5f);
    command.Axis().SetEnumeration(L"y");
    command.BaseName().SetString(L"spine");
    XSceneObject(scene.Database().CreateObject(XTransform::TypeID, L"hips")).Select();
    scene.Database().db().clearUndo();

    ASSERT_TRUE(command.Execute());
    EXPECT_EQ(scene.Database().db().undoCount(), 1u);
    EXPECT_EQ(scene.Database().UndoName(), L"Create Joint Chain");
    XObject last = scene.Database().Object(L"hips/spine1/spine2/spine3/spine4");
    ASSERT_TRUE(XJoint(last).IsValid());
    EXPECT_FLOAT_EQ(last.Attribute(L"translateY").Float(), 0.5f);
    EXPECT_EQ(selectedNames(scene), Names{L"spine1"});
    scene.Database().Undo();
    EXPECT_EQ(selectedNames(scene), Names{L"hips"});

    // Unusable parameters do nothing and leave no undo step.
    for (int count : {0, -4, XCreateJointChainCommand::MaxJointCount + 1}) {
        command.JointCount().SetInteger(count);
        scene.Database().db().clearUndo();
        EXPECT_FALSE(command.Execute()) << count;
        EXPECT_FALSE(scene.Database().CanUndo());
    }
    command.JointCount().SetInteger(2);
    command.Length().SetFloat(std::nanf(""));
    EXPECT_FALSE(command.Execute());

    // Without a selected transform the chain goes to the top level.
    command.Length().SetFloat(2.0f);
    scene.Selection().Clear();
    ASSERT_TRUE(command.Execute());
    EXPECT_FLOAT_EQ(scene.Database().Object(L"spine1/spine2").Attribute(L"translateY").Float(), 2.0f);
}

TEST(Commands, MirrorJointsCopiesHierarchiesMirroredAndRenamed) {
    XScene scene;
    XDatabase& d = scene.Database();
    XObject hips = d.CreateObject(XTransform::TypeID, L"Hips");
    XObject shoulder = d.CreateObject(XJoint::TypeID, L"LeftShoulder", hips);
    XObject elbow = d.CreateObject(XJoint::TypeID, L"LeftElbow", shoulder);
    d.CreateObject(XTransform::TypeID, L"LeftMarker", elbow);  // not a joint: not copied
    hips.Attribute(L"translateY").SetFloat(1.0f);
    const std::pair<const wchar_t*, float> values[] = {{L"translateX", 0.2f}, {L"rotateX", 0.1f}, {L"rotateY", 0.2f},
                                                       {L"jointOrientZ", 0.4f}, {L"radius", 0.08f}};
    for (const auto& [name, value] : values) shoulder.Attribute(name).SetFloat(value);
    elbow.Attribute(L"translateX").SetFloat(0.3f);
    XMirrorJointsCommand command(scene.CommandObject(XMirrorJointsCommand::TypeID));
    EXPECT_EQ(command.MirroredName(L"LeftLeg_Left"), L"RightLeg_Right");
    EXPECT_FALSE(command.Execute()) << "nothing selected";

    // Selecting a joint and its child copies the hierarchy once.
    scene.Selection().SelectObjects(Velutils::Vector<XObject>{elbow, shoulder, hips});
    d.db().clearUndo();
    ASSERT_TRUE(command.Execute());
    EXPECT_EQ(d.db().undoCount(), 1u);
    XObject right = d.Object(L"Hips/RightShoulder");
    XObject rightElbow = d.Object(L"Hips/RightShoulder/RightElbow");
    ASSERT_TRUE(right.IsValid() && rightElbow.IsValid());
    EXPECT_EQ(right.ChildCount(), 1) << "only joints are copied";
    const float mirrored[] = {-0.2f, 0.1f, -0.2f, -0.4f, 0.08f};
    for (int i = 0; i < 5; ++i) EXPECT_FLOAT_EQ(right.Attribute(values[i].first).Float(), mirrored[i]) << i;
    const Velutils::Matrix4 a = elbow.Attribute(L"worldMatrix").Matrix();
    const Velutils::Matrix4 b = rightElbow.Attribute(L"worldMatrix").Matrix();
    EXPECT_NEAR(b.m[3][0], -a.m[3][0], 1e-5);
    EXPECT_NEAR(b.m[3][1], a.m[3][1], 1e-5);

    // Across another plane, with a search string that is not found: the name is made unique.
    command.Axis().SetEnumeration(L"z");
    command.SearchFor().SetString(L"Front");
    XSceneObject(shoulder).Select();
    ASSERT_TRUE(command.Execute());
    XObject copy = d.Object(L"Hips/LeftShoulder1");
    EXPECT_FLOAT_EQ(copy.Attribute(L"translateX").Float(), 0.2f);
    EXPECT_FLOAT_EQ(copy.Attribute(L"rotateX").Float(), -0.1f);
}

TEST(Commands, ActiveCommandBelongsToTheActiveScene) {
    XApplication& app = XApplication::Instance();
    XScene& scene = app.ActiveScene();
    scene.New();
    app.ClearActiveCommand();
    EXPECT_FALSE(app.ActiveCommand().IsValid());
    EXPECT_EQ(app.ActiveCommandName(), L"");

    XCommand started = app.StartCommand(XMirrorJointsCommand::TypeID);
    EXPECT_EQ(app.ActiveCommand(), started);
    EXPECT_EQ(app.ActiveCommandName(), L"Mirror Joints");
    EXPECT_FALSE(app.StartCommand(L"NoSuchCommand").IsValid());
    XScene other;  // only commands of the active scene
    EXPECT_FALSE(app.SetActiveCommand(other.CommandObject(XCreateJointChainCommand::TypeID)));
    EXPECT_FALSE(app.SetActiveCommand(scene.ToolObject(3)));
    EXPECT_EQ(app.ActiveCommand(), started) << "refusals keep the active command";

    // A built-in command stays active in a new scene; a user's command object does not.
    scene.New();
    EXPECT_TRUE(app.ActiveCommand().IsType(XMirrorJointsCommand::TypeID));
    XObject own = scene.Database().CreateObject(XCommand::TypeID, L"myCommand");
    own.Attribute(L"commandName").SetString(L"Mine");
    ASSERT_TRUE(app.SetActiveCommand(own));
    EXPECT_EQ(app.ActiveCommandName(), L"Mine");
    scene.New();
    EXPECT_FALSE(app.ActiveCommand().IsValid());
}

TEST(Controllers, FindObjectControllerFindsTheDrivingController) {
    XScene scene;
    XDatabase& d = scene.Database();
    XObject arm = d.CreateObject(XTransform::TypeID, L"arm");
    EXPECT_EQ(scene.FindObjectController(arm), nullptr);
    XObjectController weak(d.CreateObject(XObjectController::TypeID, L"weak"));
    XObjectController strong(d.CreateObject(XObjectController::TypeID, L"strong"));
    ASSERT_TRUE(weak.SetTarget(arm) && strong.SetTarget(arm));
    weak.Weight().SetFloat(0.3f);
    strong.Weight().SetFloat(0.8f);

    XObjectController* found = scene.FindObjectController(arm);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(*found, strong);
    EXPECT_EQ(scene.FindObjectController(arm), found) << "the scene keeps one controller per object";
    EXPECT_EQ(scene.FindObjectController(weak), nullptr);
    strong.Enabled().SetBoolean(false);
    EXPECT_EQ(*scene.FindObjectController(arm), weak);
    weak.Weight().SetFloat(0.0f);
    EXPECT_EQ(scene.FindObjectController(arm), nullptr) << "a zero weight drives nothing";

    weak.Weight().SetFloat(1.0f);
    arm.Delete();
    EXPECT_EQ(scene.FindObjectController(arm), nullptr);
    d.Undo();
    EXPECT_NE(scene.FindObjectController(arm), nullptr);
}

TEST(SelectionEdits, DeleteReparentAndSelectByTypeLeaveBuiltInObjectsAlone) {
    XScene scene;
    XDatabase& d = scene.Database();
    XObject root = d.CreateObject(XTransform::TypeID, L"root");
    d.CreateObject(XJoint::TypeID, L"joint", root);
    XObject body = d.CreateObject(XPhysicsJoint::TypeID, L"body");
    d.db().clearUndo();

    scene.Selection().SelectByType(XTransform::TypeID, XComparisonMode::SupportedType);
    EXPECT_EQ(selectedNames(scene), (Names{L"root", L"joint", L"body"}));
    scene.Selection().SelectByType(XTool::TypeID, XComparisonMode::SupportedType);
    EXPECT_EQ(scene.Selection().Count(), 0) << "built-in tools are not picked";

    // One step; an object cannot go under its own child.
    scene.Selection().SelectObjects(Velutils::Vector<XObject>{body, root});
    const std::size_t before = d.db().undoCount();
    scene.ReparentSelection(L"root/joint");
    EXPECT_EQ(d.db().undoCount(), before + 1);
    EXPECT_EQ(body.Path(), L"root/joint/body");
    EXPECT_EQ(root.Path(), L"root");

    scene.Selection().SelectObjects(Velutils::Vector<XObject>{root, scene.ToolObject(3), scene.DisplayGroups()});
    scene.DeleteSelection();
    EXPECT_FALSE(root.IsValid() || body.IsValid());
    EXPECT_TRUE(scene.ToolObject(3).IsValid() && scene.DisplayGroups().IsValid());
    d.Undo();
    EXPECT_EQ(body.Path(), L"root/joint/body");

    // Sub-object edit mode belongs to the open scene.
    scene.Selection().SetSubObjectEditMode(true);
    EXPECT_TRUE(scene.Selection().IsSubObjectEditMode());
    scene.New();
    EXPECT_FALSE(scene.Selection().IsSubObjectEditMode());
}

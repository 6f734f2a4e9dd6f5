#include <velxui/XAttributeControl.h>
#include <velxui/XAttributeEditor.h>
#include <velxui/XAttributeListControl.h>
#include <velxui/XAttributeListTitle.h>
#include <velxui/XAttributeSource.h>
#include <velxui/XEditorLibrary.h>
#include <velxui/XObjectNameCompleter.h>

#include <guitest/GuiTest.h>
#include <velwidgets/AppMainLoop.h>
#include <velxcore/XApplication.h>
#include <velxcore/XDemoScene.h>
#include <velxcore/XLuaScript.h>
#include <velxcore/XAnimation.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneSettings.h>
#include <velxcore/XSettings.h>

#include <veldatabase/Database.h>

#include <gtest/gtest.h>
#include <wx/frame.h>
#include <wx/menu.h>
#include <wx/sizer.h>
#include <wx/timer.h>
#include <wx/uiaction.h>

#include <string>
#include <vector>

using VelX::XAttribute;
using VelX::XObject;
using VelXUI::XAttributeControl;
using VelXUI::XAttributeEditor;
using VelXUI::XAttributeListControl;

namespace {

// An attribute editor in a shown frame over the demo scene, with the script's AttributeEditor
// table as each test defines it.
class AttributeControlTest : public ::testing::Test {
protected:
    void SetUp() override {
        VelXUI::XEditorLibrary::Initialise();
        scene().New();
        VelX::XDemoScene::build(scene());
        lua("AttributeEditor = nil");
        frame = new wxFrame(nullptr, wxID_ANY, "attributes", wxPoint(40, 40), wxSize(420, 760));
        editor = new XAttributeEditor(scene());
        ASSERT_TRUE(editor->Create(scene(), frame, nullptr));
        GuiTest::showFilling(frame, editor);
    }
    void TearDown() override {
        frame->Destroy();
        GuiTest::pumpEvents(10);
        lua("AttributeEditor = nil");
    }
    static VelX::XScene& scene() { return VelX::XApplication::Instance().ActiveScene(); }
    static void lua(const char* text) {
        ASSERT_EQ(VelX::XApplication::Instance().LuaScript().RunScript(wxString(text).ToStdWstring()), 0);
    }
    static XObject object(const wchar_t* path) { return scene().Database().Object(std::wstring(path)); }
    static XAttribute attribute(const wchar_t* path) { return XAttribute(scene().Database(), path); }
    XAttributeControl& control() { return *editor->Control(); }
    void select(const std::vector<std::wstring>& paths) {
        scene().Selection().Select(paths);
        GuiTest::pumpEvents(20);
    }
    void pass() { wxUtils::AppMainLoop::Instance().runRedrawPass(); }
    std::vector<std::wstring> cachedTypes() {
        std::vector<std::wstring> types;
        for (const auto& record : control().ObjectCache())
            for (size_t i = 0; i < record.objects.size(); ++i) types.push_back(record.objectType);
        return types;
    }
    std::vector<wxString> rowLabels(size_t list) {
        std::vector<wxString> labels;
        XAttributeListControl* l = control().ListControls().at(list);
        for (int row = 0; row < l->getItemCount(); ++row) labels.push_back(l->GetAttributeGroup(row)->getLabel());
        return labels;
    }
    int row(size_t list, const wchar_t* name) {
        XAttributeListControl* l = control().ListControls().at(list);
        for (int r = 0; r < l->getItemCount(); ++r)
            if (static_cast<VelXUI::XAttributeSource*>(l->GetAttributeGroup(r)->getAttribute())->attributeName() == name)
                return r;
        return -1;
    }
    void runCommand(int index) {
        wxCommandEvent event(wxEVT_MENU, control().CommandId(index));
        control().GetEventHandler()->ProcessEvent(event);
    }
    // Clicks a row's name (with modifiers held), which selects the row; waits until it is selected.
    static void clickRowName(XAttributeListControl* list, int row, int modifiers = wxMOD_NONE) {
        const wxRect rect = list->getItemRect(row);
        wxUIActionSimulator input;
        input.MouseMove(list->ClientToScreen(wxPoint(10, rect.y + rect.height / 2)));
        GuiTest::pumpEvents(30);
        if (modifiers != wxMOD_NONE) input.KeyDown(0, modifiers);
        input.MouseClick();
        if (modifiers != wxMOD_NONE) input.KeyUp(0, modifiers);
        GuiTest::waitUntil([&] { return list->isItemSelected(row); });
    }
    // Clicks the row's value, which opens its field, and types the text (Enter not yet pressed).
    static void typeIntoRow(XAttributeListControl* list, int row, const char* text) {
        const wxRect rect = list->getItemRect(row);
        wxUIActionSimulator input;
        input.MouseMove(list->ClientToScreen(wxPoint(list->getNameColumnWidth() + 10, rect.y + rect.height / 2)));
        GuiTest::pumpEvents(30);
        input.MouseClick();
        ASSERT_TRUE(GuiTest::waitUntil([&] { return list->isEditing(); })) << "clicking the value opened no field";
        input.Text(text);
    }
    size_t undoSteps() {
        size_t steps = 0;
        while (scene().Database().CanUndo() && scene().Database().Undo()) ++steps;
        return steps;
    }

    wxFrame* frame = nullptr;
    XAttributeEditor* editor = nullptr;
};

TEST_F(AttributeControlTest, EditorsAreNumberedInCreationOrder) {
    auto* second = new XAttributeEditor(scene());
    EXPECT_EQ(second->Number(), editor->Number() + 1);
    EXPECT_EQ(XAttributeEditor::EditorIndex, second->Number());
    delete second;  // never created: no window to destroy
}

TEST_F(AttributeControlTest, EmptySelectionShowsTheMessageWithItsLeadingSpace) {
    select({});
    EXPECT_TRUE(control().ListControls().empty());
    EXPECT_EQ(control().MessageText(), " Select an object to view its attributes.");
}

TEST_F(AttributeControlTest, ThreeObjectsOfOneTypeShareOneTitleReadingMultiple) {
    select({L"Hero/Hips/LeftHip", L"Hero/Hips/RightHip", L"Hero/Hips/Spine"});
    ASSERT_EQ(control().Titles().size(), 1u);
    EXPECT_EQ(control().Titles()[0]->TypeLabel(), L"Joint");
    EXPECT_EQ(control().Titles()[0]->NameLabel(), L"Multiple (3)");
    ASSERT_EQ(control().ListControls().size(), 1u);  // no script: the default set in one list
    EXPECT_EQ(control().ListControls()[0]->getTitle(), "");
    const int translateX = row(0, L"translateX");
    ASSERT_GE(translateX, 0);
    auto* source = static_cast<VelXUI::XAttributeSource*>(
        control().ListControls()[0]->GetAttributeGroup(translateX)->getAttribute());
    EXPECT_EQ(source->attributes().size(), 3u);
    // Hidden and matrix attributes have no row.
    EXPECT_EQ(row(0, L"message"), -1);
    EXPECT_EQ(row(0, L"worldMatrix"), -1);
}

TEST_F(AttributeControlTest, ObjectCacheOrderFollowsTransformsSolversAndConstraints) {
    select({L"Hero/Hips/Spine/Chest/Neck/Head/HeadShape"});
    EXPECT_EQ(cachedTypes(), std::vector<std::wstring>({L"Joint", L"Primitive"}));  // the transform first
    select({L"Hero/LeftArmIK"});
    EXPECT_EQ(cachedTypes(), std::vector<std::wstring>({L"IKHandle", L"IKSolver"}));
    select({L"HandTarget"});
    EXPECT_EQ(cachedTypes(), std::vector<std::wstring>({L"Transform", L"PhysicsConstraint"}));
    // Objects group by type in first-added order.
    select({L"HandTarget", L"Hero/Hips", L"LookAtMarker"});
    EXPECT_EQ(cachedTypes(), std::vector<std::wstring>({L"Transform", L"Transform", L"PhysicsConstraint", L"Joint"}));
}

TEST_F(AttributeControlTest, RelatedObjectsComeFromTheScriptByIdOrPath) {
    const int limitId = object(L"Hero/Hips/LeftHip/LeftKnee/LeftKneeLimit").ObjectID();
    lua(("AttributeEditor = {RelatedObjects = function(t, id, path)\n"
         "  if t == 'Joint' then return {" + std::to_string(limitId) + ", 'Hero/Hips/LeftHip/LeftKnee/LeftKneeLimit', 'Nowhere'} end\n"
         "end}").c_str());
    select({L"Hero/Hips/LeftHip/LeftKnee"});
    EXPECT_EQ(cachedTypes(), std::vector<std::wstring>({L"Joint", L"JointLimit", L"JointLimit"}));
    // A script answer that is no table means no related objects.
    lua("AttributeEditor = {RelatedObjects = function() return 42 end}");
    control().Rebuild();
    EXPECT_EQ(cachedTypes(), std::vector<std::wstring>({L"Joint"}));
}

TEST_F(AttributeControlTest, ScriptedSetsKeepOrderAndLabelsAndDropSetsWithNothingHere) {
    lua("AttributeEditor = {AttributeSets = function(t)\n"
        "  if t ~= 'Joint' then return nil end\n"
        "  return {{'Nothing', {'noSuchAttribute'}}, {'Move', {'translateZ', {'rotateY', 'Turn'}, 'worldMatrix'}},\n"
        "          'not a set', {'Odd', 'not a list'}}\n"
        "end}");
    select({L"Hero/Hips/Spine/Chest/LeftShoulder/LeftElbow"});  // its rotateY is animated
    ASSERT_EQ(control().ListControls().size(), 1u);
    EXPECT_EQ(control().ListControls()[0]->getTitle(), "Move");
    EXPECT_EQ(rowLabels(0), std::vector<wxString>({"Translate Z", "Turn"}));
    EXPECT_TRUE(control().ListControls()[0]->GetAttributeGroup(1)->isAnimated());
    // A row with a custom label still finds its source for the commands.
    control().ListControls()[0]->selectItem(1);
    runCommand(2);  // Clear Keyframes on the selected "Turn" row
    EXPECT_FALSE(attribute(L"Hero/Hips/Spine/Chest/LeftShoulder/LeftElbow.rotateY").IsAnimated());
    EXPECT_FALSE(control().ListControls()[0]->GetAttributeGroup(1)->isAnimated());
}

TEST_F(AttributeControlTest, CustomAttributesShowOnlyWhereEveryObjectHasThem) {
    lua("AttributeEditor = {AttributeSets = function(t) return {{'Joint', {'radius'}}} end}");
    object(L"Hero/Hips").AddCustomAttribute(L"stiffness", 4);
    object(L"Hero/Hips/Spine").AddCustomAttribute(L"stiffness", 4);
    object(L"Hero/Hips").AddCustomAttribute(L"onlyHere", 4);
    select({L"Hero/Hips", L"Hero/Hips/Spine"});
    ASSERT_EQ(control().ListControls().size(), 2u);
    EXPECT_EQ(control().ListControls()[1]->getTitle(), XAttributeEditor::CustomAttributes);
    EXPECT_EQ(rowLabels(1).size(), 1u);
    EXPECT_GE(row(1, L"stiffness"), 0);
    select({L"Hero/Hips"});
    EXPECT_EQ(rowLabels(1).size(), 2u);
}

TEST_F(AttributeControlTest, DisplayFilterShowsDependentAttributesForTheirChoiceOnly) {
    lua("AttributeEditor = {RelatedAttributes = function(t)\n"
        "  if t ~= 'Primitive' then return nil end\n"
        "  return {{'primitiveType', {'box', {'width', 'depth'}}, {'sphere', {'radius'}}, {'', {'height'}}}}\n"
        "end}");
    select({L"Hero/Hips/Spine/Chest/Neck/Head/HeadShape"});  // a sphere
    const size_t primitive = 1;
    EXPECT_GE(row(primitive, L"radius"), 0);
    EXPECT_EQ(row(primitive, L"width"), -1);
    EXPECT_GE(row(primitive, L"height"), 0);  // named only by an entry without a choice: always shown
    EXPECT_GE(row(primitive, L"segments"), 0);  // named by no entry
    const unsigned long rebuilds = control().RebuildCount();
    attribute(L"Hero/Hips/Spine/Chest/Neck/Head/HeadShape.primitiveType").SetEnumeration(L"box");
    EXPECT_TRUE(control().IsRebuildNeeded());
    pass();
    EXPECT_EQ(control().RebuildCount(), rebuilds + 1);
    EXPECT_GE(row(primitive, L"width"), 0);
    EXPECT_EQ(row(primitive, L"radius"), -1);
}

TEST_F(AttributeControlTest, ValueChangesUpdateRowsInThePassAndRenamesRebuild) {
    select({L"Hero/Hips/Spine"});
    const unsigned long rebuilds = control().RebuildCount();
    const int r = row(0, L"scaleX");
    attribute(L"Hero/Hips/Spine.scaleX").SetFloat(2.5f);
    EXPECT_TRUE(control().IsUpdateNeeded());
    EXPECT_FALSE(control().IsRebuildNeeded());
    EXPECT_EQ(control().ListControls()[0]->GetAttributeGroup(r)->getValueText(), "1");  // not yet
    pass();
    EXPECT_EQ(control().ListControls()[0]->GetAttributeGroup(r)->getValueText(), "2.5");
    EXPECT_EQ(control().RebuildCount(), rebuilds);
    // A change to an object that is not shown asks for nothing.
    attribute(L"HandTarget.scaleX").SetFloat(4.0f);
    EXPECT_FALSE(control().IsUpdateNeeded());
    object(L"Hero/Hips/Spine").SetName(L"Back");
    EXPECT_TRUE(control().IsRebuildNeeded());
    pass();
    EXPECT_EQ(control().RebuildCount(), rebuilds + 1);
    EXPECT_EQ(control().Titles()[0]->NameLabel(), L"Back");
}

TEST_F(AttributeControlTest, ARowOverAThousandObjectsShowsEveryObjectsChange) {
    std::vector<std::wstring> paths;
    scene().Database().BeginChangeBlock();
    for (int i = 0; i < 1000; ++i)
        paths.push_back(scene().Database().CreateObject(L"Transform", L"Crowd" + std::to_wstring(i)).Path());
    scene().Database().EndChangeBlock();
    select(paths);
    const int r = row(0, L"translateX");
    EXPECT_EQ(control().ListControls()[0]->GetAttributeGroup(r)->getValueText(), "0");
    // Objects 2 to 300: neither the first nor the last object of the row.
    scene().Database().BeginChangeBlock();
    for (int i = 1; i < 300; ++i) attribute((paths[static_cast<size_t>(i)] + L".translateX").c_str()).SetFloat(3.0f);
    scene().Database().EndChangeBlock();
    pass();
    EXPECT_NE(control().ListControls()[0]->GetAttributeGroup(r)->getValueText(), "0") << "the row reads mixed now";
    // A row of an attribute that changed on no shown object stays as it is.
    const int s = row(0, L"translateY");
    EXPECT_FALSE(static_cast<VelXUI::XAttributeSource*>(control().ListControls()[0]->GetAttributeGroup(s)->getAttribute())->isDirty());
}

TEST_F(AttributeControlTest, AValueADrivenAttributeRefusesIsNamedInTheLog) {
    ASSERT_TRUE(attribute(L"Hero/Hips/Spine.scaleX").ConnectInputTo(attribute(L"HandTarget.scaleY")));
    select({L"Hero/Hips/Spine"});
    auto* source = control().findAttributeGroupInCache(L"Joint", L"scaleX");
    ASSERT_NE(source, nullptr);
    const size_t before = VelX::XApplication::Instance().LogLines().size();
    source->setFloatValue(2.0f);
    const auto& log = VelX::XApplication::Instance().LogLines();
    ASSERT_EQ(log.size(), before + 1);
    EXPECT_NE(log.back().find(L"Hero/Hips/Spine refused it: it is driven by HandTarget.scaleY"), std::wstring::npos)
        << std::string(log.back().begin(), log.back().end());
    EXPECT_FLOAT_EQ(attribute(L"Hero/Hips/Spine.scaleX").Float(), attribute(L"HandTarget.scaleY").Float());
}

TEST_F(AttributeControlTest, ToolAndCommandModesAndASelectionTakingTheEditorBack) {
    control().EditorSettings().DisplayMode().SetEnumeration(1);
    scene().SetActiveToolIndex(3);
    control().Rebuild();
    ASSERT_EQ(control().Titles().size(), 1u);
    EXPECT_EQ(control().Titles()[0]->TypeLabel(), L"");
    EXPECT_EQ(control().Titles()[0]->NameLabel(), scene().ToolObject(3).DisplayName());
    scene().SetActiveToolIndex(0);
    control().Rebuild();
    EXPECT_EQ(control().MessageText(), " Select a tool to view its attributes.");

    VelX::XApplication::Instance().ClearActiveCommand();
    control().EditorSettings().DisplayMode().SetEnumeration(2);
    pass();  // the settings object changed: rebuilt in the pass
    EXPECT_EQ(control().MessageText(), " Select a command to view its attributes.");
    scene().Database().db().clearUndo();
    select({L"Hero/Hips"});
    EXPECT_EQ(control().EditorSettings().DisplayMode().Enumeration(), 0);
    EXPECT_EQ(cachedTypes(), std::vector<std::wstring>({L"Joint"}));
    // The editor following the selection is part of the selection's undo step, not one of its own.
    EXPECT_EQ(undoSteps(), 1u);
    EXPECT_EQ(control().EditorSettings().DisplayMode().Enumeration(), 2);
}

TEST_F(AttributeControlTest, OneValueWritesEveryCompatibleSelectedRowOfEveryListAsOneStep) {
    attribute(L"Hero/Hips/Spine/Chest/Neck/Head/HeadShape.castsShadows").SetBoolean(false);
    select({L"Hero/Hips/Spine/Chest/Neck/Head/HeadShape"});  // a Joint list and a Primitive list
    ASSERT_EQ(control().ListControls().size(), 2u);
    scene().Database().db().clearUndo();
    XAttributeListControl* joint = control().ListControls()[0];
    XAttributeListControl* primitive = control().ListControls()[1];
    joint->selectItem(row(0, L"scaleX"));
    primitive->selectItem(row(1, L"segments"));
    primitive->selectItem(row(1, L"castsShadows"));
    scene().Database().BeginChangeBlock();
    control().SetAttributes(2.7f);
    scene().Database().EndChangeBlock();
    EXPECT_FLOAT_EQ(attribute(L"Hero/Hips/Spine/Chest/Neck/Head.scaleX").Float(), 2.7f);
    EXPECT_EQ(attribute(L"Hero/Hips/Spine/Chest/Neck/Head/HeadShape.segments").Integer(), 2);
    EXPECT_FALSE(attribute(L"Hero/Hips/Spine/Chest/Neck/Head/HeadShape.castsShadows").Boolean());

    control().ClearSelection();
    primitive->selectItem(row(1, L"primitiveType"));
    primitive->selectItem(row(1, L"material"));
    primitive->selectItem(row(1, L"wireframe"));
    scene().Database().BeginChangeBlock();
    control().SetAttributes(std::wstring(L"Box"));
    scene().Database().EndChangeBlock();
    EXPECT_EQ(attribute(L"Hero/Hips/Spine/Chest/Neck/Head/HeadShape.primitiveType").EnumerationString(), L"box");
    EXPECT_EQ(attribute(L"Hero/Hips/Spine/Chest/Neck/Head/HeadShape.material").String(), L"Box");
    EXPECT_FALSE(attribute(L"Hero/Hips/Spine/Chest/Neck/Head/HeadShape.wireframe").Boolean());
    EXPECT_EQ(undoSteps(), 2u);
}

TEST_F(AttributeControlTest, UnifyValuesCopiesTheLastSelectedObjectsValueInOneStep) {
    attribute(L"HandTarget.scaleY").SetFloat(3.0f);
    attribute(L"LookAtMarker.scaleY").SetFloat(5.0f);
    select({L"LookAtMarker", L"HandTarget"});  // HandTarget is the last
    scene().Database().db().clearUndo();
    XAttributeListControl* list = control().ListControls()[0];
    list->selectItem(row(0, L"scaleY"));
    list->selectItem(row(0, L"scaleZ"));
    runCommand(6);
    EXPECT_FLOAT_EQ(attribute(L"LookAtMarker.scaleY").Float(), 3.0f);
    EXPECT_FLOAT_EQ(attribute(L"HandTarget.scaleY").Float(), 3.0f);
    EXPECT_FALSE(list->GetAttributeGroup(row(0, L"scaleY"))->isMultiple());
    EXPECT_EQ(undoSteps(), 1u);
    EXPECT_FLOAT_EQ(attribute(L"LookAtMarker.scaleY").Float(), 5.0f);

    select({L"HandTarget"});
    control().ListControls()[0]->selectItem(row(0, L"scaleY"));
    runCommand(6);  // one object: nothing to copy
    EXPECT_FLOAT_EQ(attribute(L"HandTarget.scaleY").Float(), 3.0f);
}

TEST_F(AttributeControlTest, KeyAllKeysOnlyAnimatableRowsAndEmptySelectedFormsChangeNothing) {
    select({L"HandTarget"});
    scene().Database().db().clearUndo();
    runCommand(0);  // Add Keyframe with no row selected
    EXPECT_FALSE(attribute(L"HandTarget.scaleX").IsAnimated());
    runCommand(1);  // Add Keyframe All
    EXPECT_TRUE(attribute(L"HandTarget.scaleX").IsAnimated());
    EXPECT_TRUE(attribute(L"HandTarget.visibility").IsAnimated());
    EXPECT_FALSE(attribute(L"HandTarget.notes").IsAnimated());  // text cannot be keyed
    EXPECT_EQ(scene().Database().UndoName(), L"Add Keyframe");
    runCommand(3);  // Clear Keyframes All
    EXPECT_FALSE(attribute(L"HandTarget.scaleX").IsAnimated());
    select({L"LookAtMarker"});
    runCommand(5);  // Clear Inputs All
    EXPECT_FALSE(attribute(L"LookAtMarker.translateY").IsConnectedInput());
}

TEST_F(AttributeControlTest, DownArrowCrossesFromTheLastRowOfOneListToTheNext) {
    lua("AttributeEditor = {AttributeSets = function(t)\n"
        "  return {{'A', {'translateX', 'translateY'}}, {'B', {'scaleX', 'scaleY'}}}\n"
        "end}");
    select({L"LookAtMarker"});  // drives nothing: exactly two lists
    ASSERT_EQ(control().ListControls().size(), 2u);
    XAttributeListControl* first = control().ListControls()[0];
    XAttributeListControl* second = control().ListControls()[1];
    clickRowName(first, 1);
    wxUIActionSimulator input;
    ASSERT_EQ(first->getSelectedItems(), std::vector<int>({1}));
    input.Char(WXK_DOWN);
    GuiTest::pumpEvents(50);
    EXPECT_TRUE(first->getSelectedItems().empty());
    EXPECT_EQ(second->getSelectedItems(), std::vector<int>({0}));
    input.Char(WXK_DOWN);
    GuiTest::pumpEvents(50);
    EXPECT_EQ(second->getSelectedItems(), std::vector<int>({1}));
    input.Char(WXK_DOWN);  // the last row of the last list: nothing happens
    GuiTest::pumpEvents(50);
    EXPECT_EQ(second->getSelectedItems(), std::vector<int>({1}));
    input.Char(WXK_UP);
    input.Char(WXK_UP);
    GuiTest::pumpEvents(50);
    EXPECT_EQ(first->getSelectedItems(), std::vector<int>({1}));
}

TEST_F(AttributeControlTest, PagingMovesWithinAListThenToTheNext) {
    lua("AttributeEditor = {AttributeSets = function(t)\n"
        "  return {{'A', {'translateX', 'translateY', 'translateZ'}}, {'B', {'scaleX', 'scaleY'}}}\n"
        "end}");
    select({L"LookAtMarker"});
    XAttributeListControl* first = control().ListControls()[0];
    XAttributeListControl* second = control().ListControls()[1];
    control().SelectExclusively(first, 1);
    control().SelectPageDown(first, 1, false, false);
    EXPECT_EQ(first->getSelectedItems(), std::vector<int>({2}));
    control().SelectPageDown(first, 2, false, false);
    EXPECT_EQ(second->getSelectedItems(), std::vector<int>({0}));
    EXPECT_TRUE(first->getSelectedItems().empty());
    control().SelectPageUp(second, 0, false, false);
    EXPECT_EQ(first->getSelectedItems(), std::vector<int>({2}));
    control().SelectAll();
    EXPECT_EQ(first->getSelectedCount() + second->getSelectedCount(), 5);
    control().SelectHome(second, 1, false, false);
    EXPECT_EQ(first->getSelectedItems(), std::vector<int>({0}));
    EXPECT_EQ(second->getSelectedCount(), 0);
}

TEST_F(AttributeControlTest, HitTestAndRectangleWorkAcrossLists) {
    lua("AttributeEditor = {AttributeSets = function(t)\n"
        "  return {{'A', {'translateX', 'translateY'}}, {'B', {'scaleX', 'scaleY'}}}\n"
        "end}");
    select({L"LookAtMarker"});
    GuiTest::pumpEvents(50);
    XAttributeListControl* first = control().ListControls()[0];
    XAttributeListControl* second = control().ListControls()[1];
    const wxRect target = second->getItemRect(1);
    int column = -1;
    const wxUtils::VelListItem hit =
        control().ItemHitTest(second->ClientToScreen(target.GetPosition() + wxPoint(4, 4)), &column);
    EXPECT_EQ(hit.list, second);
    EXPECT_EQ(hit.row, 1);
    EXPECT_FALSE(control().ItemHitTest(wxPoint(-500, -500), &column).isValid());
    // A rectangle from the second row of the first list to the first row of the second.
    const wxPoint from = first->ClientToScreen(first->getItemRect(1).GetPosition() + wxPoint(4, 4));
    const wxPoint to = second->ClientToScreen(second->getItemRect(0).GetPosition() + wxPoint(4, 4));
    control().HighlightItemsInScreenRect(0, wxRect(from, to), false);
    EXPECT_EQ(first->getSelectedItems(), std::vector<int>({1}));
    EXPECT_EQ(second->getSelectedItems(), std::vector<int>({0}));
}

TEST_F(AttributeControlTest, TypedValueWritesEverySelectedObjectAsOneUndoStep) {
    select({L"HandTarget", L"LookAtMarker"});
    scene().Database().db().clearUndo();
    XAttributeListControl* list = control().ListControls()[0];
    const int r = row(0, L"scaleX");
    const wxString before = list->GetAttributeGroup(r)->getValueText();
    typeIntoRow(list, r, "1.75");
    wxUIActionSimulator().Char(WXK_RETURN);
    GuiTest::pumpEvents(60);
    EXPECT_FLOAT_EQ(attribute(L"HandTarget.scaleX").Float(), 1.75f);
    EXPECT_FLOAT_EQ(attribute(L"LookAtMarker.scaleX").Float(), 1.75f);
    pass();
    EXPECT_EQ(list->GetAttributeGroup(r)->getValueText(), "1.75");
    EXPECT_EQ(undoSteps(), 1u);
    // The row's own write needs no second read; a later change of the same attributes does.
    scene().Database().Undo();
    pass();
    EXPECT_EQ(list->GetAttributeGroup(r)->getValueText(), before);
}

TEST_F(AttributeControlTest, TheRowMenuOpensOnEveryRowWithTheCommandsThatApply) {
    select({L"LookAtMarker"});  // its translate Y is driven by a connection
    XAttributeListControl* list = control().ListControls()[0];
    const int driven = row(0, L"translateY");
    const int free = row(0, L"translateZ");
    struct Seen {
        int menus = 0;
        bool key = false, clearKeys = false, clearInputs = false;
    } seen;
    list->Bind(wxEVT_MENU_OPEN, [&](wxMenuEvent& event) {
        ++seen.menus;
        if (wxMenu* menu = event.GetMenu()) {
            const auto enabled = [&](int command) {
                wxMenuItem* item = menu->FindItem(control().CommandId(command));
                return item && item->IsEnabled();
            };
            seen.key = enabled(0);
            seen.clearKeys = enabled(2);
            seen.clearInputs = enabled(4);
        }
        event.Skip();
    });
    // The menu is closed again by the keys from this timer, so the test cannot hang.
    wxTimer escape;
    escape.Bind(wxEVT_TIMER, [](wxTimerEvent&) { wxUIActionSimulator().Char(WXK_ESCAPE); });
    auto rightClick = [&](int r) {
        const wxRect rect = list->getItemRect(r);
        wxUIActionSimulator input;
        input.MouseMove(list->ClientToScreen(wxPoint(12, rect.y + rect.height / 2)));
        GuiTest::pumpEvents(30);
        escape.StartOnce(500);
        input.MouseClick(wxMOUSE_BTN_RIGHT);
        GuiTest::pumpEvents(700);
    };
    rightClick(driven);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({driven}));
    ASSERT_EQ(seen.menus, 1) << "a driven row gave no menu";
    EXPECT_TRUE(seen.clearInputs);
    EXPECT_FALSE(seen.clearKeys);
    rightClick(free);
    ASSERT_EQ(seen.menus, 2);
    EXPECT_TRUE(seen.key);
    EXPECT_FALSE(seen.clearInputs);
    EXPECT_FALSE(seen.clearKeys);
}

TEST_F(AttributeControlTest, TypingIntoAKeyedRowKeysEveryObjectAndADrivenRowSaysWhatDrivesIt) {
    frame->CreateStatusBar();
    VelX::XSceneSettings settings = scene().SceneSettings();
    settings.SetFrame(1);
    for (const wchar_t* path : {L"HandTarget.translateX", L"Ground.translateX"}) attribute(path).SetKeyframe();
    settings.SetFrame(5);
    select({L"HandTarget", L"Ground"});
    scene().Database().db().clearUndo();
    pass();
    XAttributeListControl* list = control().ListControls()[0];
    const int keyed = row(0, L"translateX");
    ASSERT_FALSE(list->isItemReadOnly(keyed)) << "a keyed row takes no typing";
    std::vector<int> keysBefore;
    for (const wchar_t* path : {L"HandTarget.translateX", L"Ground.translateX"})
        keysBefore.push_back(attribute(path).Animation().KeyframeCount());
    typeIntoRow(list, keyed, "3");
    wxUIActionSimulator().Char(WXK_RETURN);
    GuiTest::pumpEvents(60);
    int i = 0;
    for (const wchar_t* path : {L"HandTarget.translateX", L"Ground.translateX"}) {
        EXPECT_FLOAT_EQ(attribute(path).Float(), 3.0f) << wxString(path);
        EXPECT_EQ(attribute(path).Animation().KeyframeCount(), keysBefore[i++] + 1) << wxString(path);
    }
    EXPECT_EQ(undoSteps(), 1u);

    select({L"LookAtMarker"});  // translate Y is driven by a connection
    list = control().ListControls()[0];
    const int driven = row(0, L"translateY");
    const float before = attribute(L"LookAtMarker.translateY").Float();
    typeIntoRow(list, driven, "9");
    wxUIActionSimulator().Char(WXK_RETURN);
    GuiTest::pumpEvents(60);
    EXPECT_FLOAT_EQ(attribute(L"LookAtMarker.translateY").Float(), before);
    const wxString note = frame->GetStatusBar()->GetStatusText(0);
    const VelX::XAttribute driver = attribute(L"LookAtMarker.translateY").InputAttribute();
    EXPECT_TRUE(note.Contains("driven by " + wxString(driver.Path()))) << note;
}

TEST_F(AttributeControlTest, TabFromTheLastTypableRowEditsTheNextList) {
    lua("AttributeEditor = {AttributeSets = function(t)\n"
        "  return {{'A', {'translateX', 'translateY', 'translateZ'}}, {'B', {'inheritsTransform', 'scaleX'}}}\n"
        "end}");
    select({L"LookAtMarker"});
    XAttributeListControl* first = control().ListControls()[0];
    XAttributeListControl* second = control().ListControls()[1];
    ASSERT_TRUE(first->beginEdit(2));
    wxUIActionSimulator input;
    input.Text("0.5");
    input.Char(WXK_TAB);
    GuiTest::pumpEvents(80);
    EXPECT_FLOAT_EQ(attribute(L"LookAtMarker.translateZ").AsDisplayFloat(), 0.5f);
    EXPECT_FALSE(first->isEditing());
    ASSERT_TRUE(second->isEditing());
    EXPECT_EQ(second->getEditRow(), 1);  // the check box row is passed over
    EXPECT_EQ(second->getSelectedItems(), std::vector<int>({1}));
    input.Char(WXK_TAB, wxMOD_SHIFT);  // and back
    GuiTest::pumpEvents(80);
    EXPECT_TRUE(first->isEditing());
    EXPECT_EQ(first->getEditRow(), 2);
    input.Char(WXK_ESCAPE);
    GuiTest::pumpEvents(40);
}

}  // namespace

TEST_F(AttributeControlTest, TextThatIsNotANumberIsRefusedWithAMessage) {
    frame->CreateStatusBar();
    select({L"HandTarget"});
    XAttributeListControl* list = control().ListControls()[0];
    const int r = row(0, L"scaleX");
    const float before = attribute(L"HandTarget.scaleX").Float();
    const std::size_t logged = VelX::XApplication::Instance().LogLines().size();
    typeIntoRow(list, r, "abc");
    wxUIActionSimulator().Char(WXK_RETURN);
    GuiTest::pumpEvents(60);
    EXPECT_FLOAT_EQ(attribute(L"HandTarget.scaleX").Float(), before);
    const wxString note = frame->GetStatusBar()->GetStatusText(0);
    EXPECT_TRUE(note.StartsWith("\"abc\" is not a number")) << note;
    EXPECT_TRUE(note.Contains(list->GetAttributeGroup(r)->getLabel())) << note;
    ASSERT_GT(VelX::XApplication::Instance().LogLines().size(), logged);
    EXPECT_EQ(wxString(VelX::XApplication::Instance().LogLines().back()), note);
}

TEST_F(AttributeControlTest, AnObjectReferenceRowTakesANameOrAPathRefusesAWrongTypeAndClears) {
    frame->CreateStatusBar();
    select({L"HeroRig"});
    scene().Database().db().clearUndo();
    const auto typeAndEnter = [&](const char* text) {
        XAttributeListControl* list = control().ListControls()[0];
        const int r = row(0, L"rootJoint");
        ASSERT_GE(r, 0);
        ASSERT_FALSE(list->isItemReadOnly(r));
        typeIntoRow(list, r, text);
        if (*text == '\0') wxUIActionSimulator().Char(WXK_BACK);  // the field's text is selected
        wxUIActionSimulator().Char(WXK_RETURN);
        GuiTest::pumpEvents(60);
    };
    const XAttribute rootJoint = attribute(L"HeroRig.rootJoint");
    const XObject spine = object(L"Hero/Hips/Spine");
    ASSERT_TRUE(spine.IsValid());

    typeAndEnter("Spine");  // a name only one object has
    EXPECT_EQ(rootJoint.ObjectRef(), spine);
    typeAndEnter("Hero/Hips");  // a path
    EXPECT_EQ(rootJoint.ObjectRef(), object(L"Hero/Hips"));

    typeAndEnter("Ground");  // not a joint: refused, and said why
    EXPECT_EQ(rootJoint.ObjectRef(), object(L"Hero/Hips"));
    EXPECT_TRUE(frame->GetStatusBar()->GetStatusText(0).Contains("only objects of type Joint"))
        << frame->GetStatusBar()->GetStatusText(0);
    typeAndEnter("NoSuchThing");
    EXPECT_TRUE(frame->GetStatusBar()->GetStatusText(0).Contains("no object is called \"NoSuchThing\""))
        << frame->GetStatusBar()->GetStatusText(0);

    typeAndEnter("");  // clearing
    EXPECT_FALSE(rootJoint.ObjectRef().IsValid());
    EXPECT_EQ(undoSteps(), 3u);  // name, path, clear

    // The field completes names and paths from the scene, case ignored.
    VelXUI::XObjectNameCompleter completer(scene());
    wxArrayString completions;
    completer.GetCompletions("spi", completions);
    EXPECT_NE(completions.Index("Hero/Hips/Spine"), wxNOT_FOUND);
    completions.clear();
    completer.GetCompletions("hero/hips/sp", completions);
    EXPECT_NE(completions.Index("Hero/Hips/Spine"), wxNOT_FOUND);
    EXPECT_EQ(completions.Index("Ground"), wxNOT_FOUND);
}

TEST_F(AttributeControlTest, ChangingTheDisplayUnitsRelabelsEveryRowInThePass) {
    VelX::XSettings& settings = VelX::XApplication::Instance().Settings();
    const std::wstring unit = settings.LengthUnit().EnumerationString();
    select({L"HandTarget"});
    XAttributeListControl* list = control().ListControls()[0];
    const int r = row(0, L"translateX");
    settings.LengthUnit().SetEnumeration(L"metres");
    pass();
    const wxString metres = list->GetAttributeGroup(r)->getValueText();
    EXPECT_EQ(list->GetAttributeGroup(r)->getUnits(), "m");
    settings.LengthUnit().SetEnumeration(L"centimetres");
    pass();
    const wxString centimetres = list->GetAttributeGroup(r)->getValueText();
    const wxString units = list->GetAttributeGroup(r)->getUnits();
    settings.LengthUnit().SetEnumeration(unit);
    EXPECT_EQ(units, "cm") << "the unit label stayed as it was";
    double m = 0, cm = 0;
    ASSERT_TRUE(metres.ToCDouble(&m) && centimetres.ToCDouble(&cm)) << metres << " " << centimetres;
    EXPECT_NEAR(cm, m * 100.0, 1e-3);
}

TEST_F(AttributeControlTest, TheMenuKeyAndShiftF10OpenTheRowMenuFromTheKeyboard) {
    select({L"HandTarget"});
    XAttributeListControl* list = control().ListControls()[0];
    const int r = row(0, L"translateZ");
    clickRowName(list, r);
    int menus = 0;
    list->Bind(wxEVT_MENU_OPEN, [&](wxMenuEvent& event) {
        ++menus;
        event.Skip();
    });
    wxTimer escape;
    escape.Bind(wxEVT_TIMER, [](wxTimerEvent&) { wxUIActionSimulator().Char(WXK_ESCAPE); });
    for (int key : {static_cast<int>(WXK_MENU), static_cast<int>(WXK_F10)}) {
        list->SetFocus();
        GuiTest::pumpEvents(50);
        escape.StartOnce(500);
        wxUIActionSimulator().Char(key, key == WXK_F10 ? wxMOD_SHIFT : wxMOD_NONE);
        GuiTest::pumpEvents(700);
    }
    EXPECT_EQ(menus, 2);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({r}));
}

TEST_F(AttributeControlTest, ScrubbingAMixedRowMovesEachObjectFromItsOwnValue) {
    scene().Database().BeginChangeBlock();
    attribute(L"Ground.translateZ").SetFloat(1.0f);
    attribute(L"LookAtMarker.translateZ").SetFloat(5.0f);
    scene().Database().EndChangeBlock(L"Set Up");
    select({L"Ground", L"LookAtMarker"});
    scene().Database().db().clearUndo();
    pass();
    XAttributeListControl* list = control().ListControls()[0];
    const int r = row(0, L"translateZ");
    ASSERT_TRUE(list->GetAttributeGroup(r)->isMultiple());
    const wxRect rect = list->getItemRect(r);
    const wxPoint start = list->ClientToScreen(wxPoint(list->getNameColumnWidth() + 10, rect.y + rect.height / 2));
    wxUIActionSimulator input;
    input.MouseMove(start);
    GuiTest::pumpEvents(20);
    input.MouseDown();
    GuiTest::pumpEvents(20);
    for (int dx = 10; dx <= 50; dx += 10) {
        input.MouseMove(start + wxPoint(dx, 0));
        GuiTest::pumpEvents(20);
    }
    input.MouseUp();
    GuiTest::pumpEvents(40);
    // 50 pixels at a hundredth of the last object's order of magnitude (5 -> 0.01 a pixel).
    EXPECT_NEAR(attribute(L"Ground.translateZ").Float(), 1.5f, 1e-4);
    EXPECT_NEAR(attribute(L"LookAtMarker.translateZ").Float(), 5.5f, 1e-4);
    EXPECT_EQ(undoSteps(), 1u);
    EXPECT_FLOAT_EQ(attribute(L"Ground.translateZ").Float(), 1.0f);
}

TEST(ScrubStep, FollowsTheValuesMagnitudeAndTheQuantity) {
    using wxUtils::VelAttributeControl;
    EXPECT_FLOAT_EQ(VelAttributeControl::ScrubStep(0.3f, "m"), 0.01f);
    EXPECT_FLOAT_EQ(VelAttributeControl::ScrubStep(5.0f, "m"), 0.01f);
    EXPECT_FLOAT_EQ(VelAttributeControl::ScrubStep(250.0f, "m"), 1.0f);
    EXPECT_FLOAT_EQ(VelAttributeControl::ScrubStep(-4000.0f, "cm"), 10.0f);
    EXPECT_FLOAT_EQ(VelAttributeControl::ScrubStep(2.0f, "deg"), 0.1f);  // angles move visibly
}

TEST_F(AttributeControlTest, ClickingAValueOfAMultiRowSelectionKeepsItAndTheValueGoesToEveryRow) {
    select({L"HandTarget"});
    XAttributeListControl* list = control().ListControls()[0];
    const int scaleX = row(0, L"scaleX"), scaleY = row(0, L"scaleY");
    // Select both rows by their names: click, then Ctrl+click.
    clickRowName(list, scaleX);
    clickRowName(list, scaleY, wxMOD_CONTROL);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return list->getSelectedItems().size() == 2u; }));
    typeIntoRow(list, scaleY, "2.5");
    EXPECT_EQ(list->getSelectedItems().size(), 2u) << "clicking the value collapsed the selection";
    wxUIActionSimulator().Char(WXK_RETURN);
    GuiTest::pumpEvents(60);
    EXPECT_FLOAT_EQ(attribute(L"HandTarget.scaleX").Float(), 2.5f);
    EXPECT_FLOAT_EQ(attribute(L"HandTarget.scaleY").Float(), 2.5f);
}

TEST_F(AttributeControlTest, ArrowsPassOverCollapsedSections) {
    lua("AttributeEditor = {AttributeSets = function(t)\n"
        "  return {{'A', {'translateX', 'translateY'}}, {'B', {'scaleX', 'scaleY'}}, {'C', {'rotateX'}}}\n"
        "end}");
    select({L"LookAtMarker"});
    ASSERT_EQ(control().ListControls().size(), 3u);
    XAttributeListControl* first = control().ListControls()[0];
    XAttributeListControl* middle = control().ListControls()[1];
    XAttributeListControl* last = control().ListControls()[2];
    middle->setExpanded(false);
    GuiTest::pumpEvents(50);
    clickRowName(first, 1);
    wxUIActionSimulator input;
    input.Char(WXK_DOWN);
    GuiTest::pumpEvents(50);
    EXPECT_TRUE(middle->getSelectedItems().empty()) << "the arrow went into a collapsed section";
    EXPECT_EQ(last->getSelectedItems(), std::vector<int>({0}));
    input.Char(WXK_UP);
    GuiTest::pumpEvents(50);
    EXPECT_EQ(first->getSelectedItems(), std::vector<int>({1}));
}

TEST_F(AttributeControlTest, ChangesElsewhereKeepThePanelAndTwoRoundsBeforeAPassShowBoth) {
    select({L"HandTarget"});
    pass();
    XAttributeListControl* list = control().ListControls()[0];
    const int scaleX = row(0, L"scaleX"), scaleY = row(0, L"scaleY");
    const unsigned long rebuilds = control().RebuildCount();

    // An enumeration written on an object not shown: no rebuild.
    scene().Database().BeginChangeBlock();
    attribute(L"Ground.nodeState").SetEnumeration(1);
    scene().Database().EndChangeBlock(L"Elsewhere");
    pass();
    EXPECT_EQ(control().RebuildCount(), rebuilds) << "a change elsewhere rebuilt the panel";

    // Two rounds before one pass, each on its own row.
    scene().Database().BeginChangeBlock();
    attribute(L"HandTarget.scaleX").SetFloat(3.0f);
    scene().Database().EndChangeBlock(L"First");
    scene().Database().BeginChangeBlock();
    attribute(L"HandTarget.scaleY").SetFloat(4.0f);
    scene().Database().EndChangeBlock(L"Second");
    pass();
    EXPECT_EQ(list->GetAttributeGroup(scaleX)->getValueText(), "3") << "the first round's update was lost";
    EXPECT_EQ(list->GetAttributeGroup(scaleY)->getValueText(), "4");
}

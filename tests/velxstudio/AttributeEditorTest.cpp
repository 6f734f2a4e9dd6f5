#include "StudioFixture.h"

#include <guitest/GuiTest.h>
#include <orkacore/EnvData.h>
#include <orkacore/LayoutManager.h>
#include <velxcore/XApplication.h>
#include <velxcore/XLuaScript.h>
#include <velxui/XAttributeControl.h>
#include <velxui/XAttributeEditor.h>
#include <velxui/XAttributeListControl.h>
#include <velxui/XAttributeListTitle.h>
#include <velxui/XAttributeSource.h>
#include <velxui/XSceneExplorer.h>

#include <wx/ffile.h>
#include <wx/timer.h>
#include <wx/uiaction.h>

namespace {

// The studio with its real application script, as a user starts it.
class AttributeEditorStudio : public StudioFixture {
protected:
    void SetUp() override {
        StudioFixture::SetUp();
        wxString text;
        wxFFile file(Orka::EnvData::resourcePath("scripts/application.lua"));
        ASSERT_TRUE(file.IsOpened() && file.ReadAll(&text));
        ASSERT_EQ(VelX::XApplication::Instance().LuaScript().RunScript(text.ToStdWstring(), L"application.lua"), 0);
    }
    void TearDown() override {
        VelX::XApplication::Instance().LuaScript().RunScript(L"AttributeEditor = nil");
        StudioFixture::TearDown();
    }
    VelXUI::XAttributeControl& control() {
        for (wxWindow* child : m_frame->GetChildren())
            if (auto* editor = dynamic_cast<VelXUI::XAttributeEditor*>(child)) return *editor->Control();
        throw std::runtime_error("no attribute editor in the studio");
    }
    void select(const std::vector<std::wstring>& paths) {
        scene().Selection().Select(paths);
        GuiTest::pumpEvents(50);
    }
    std::vector<wxString> listTitles() {
        std::vector<wxString> titles;
        for (auto* list : control().ListControls()) titles.push_back(list->getTitle());
        return titles;
    }
    int rowOf(VelXUI::XAttributeListControl* list, const wchar_t* name) {
        for (int r = 0; r < list->getItemCount(); ++r)
            if (static_cast<VelXUI::XAttributeSource*>(list->GetAttributeGroup(r)->getAttribute())->attributeName() == name)
                return r;
        return -1;
    }
};

TEST_F(AttributeEditorStudio, DockedOnTheRightAndListedInTheWindowMenu) {
    Orka::LayoutManager& layout = m_frame->PaneLayout();
    EXPECT_TRUE(layout.isWindowShown("AttributeEditor"));
    EXPECT_EQ(layout.paneCaption("AttributeEditor"), "Attribute Editor");
    EXPECT_TRUE(control().IsVisible());
    select({});
    EXPECT_EQ(control().MessageText(), " Select an object to view its attributes.");
}

TEST_F(AttributeEditorStudio, AJointShowsItsSetsAndItsLimitFromTheApplicationScript) {
    select({L"Hero/Hips/LeftHip/LeftKnee"});
    ASSERT_EQ(control().Titles().size(), 2u);
    EXPECT_EQ(control().Titles()[0]->NameLabel(), L"LeftKnee");
    EXPECT_EQ(control().Titles()[1]->TypeLabel(), L"Joint Limit");
    EXPECT_EQ(listTitles(), std::vector<wxString>({"Transform", "Joint", "Display", "Rotation Limits"}));
    // The joint's limit row reads the limit's name and uses the script's label.
    auto* joint = control().ListControls()[1];
    const int limit = rowOf(joint, L"limit");
    ASSERT_GE(limit, 0);
    EXPECT_EQ(joint->GetAttributeGroup(limit)->getLabel(), "Joint Limit");
    EXPECT_EQ(joint->GetAttributeGroup(limit)->getValueText(), "LeftKneeLimit");
}

TEST_F(AttributeEditorStudio, APrimitiveShowsOnlyTheSizesOfItsKind) {
    select({L"Ground/GroundPlane"});  // a plane: width and depth
    auto* primitive = control().ListControls().at(2);  // after the Ground transform's two lists
    EXPECT_EQ(primitive->getTitle(), "Primitive");
    EXPECT_GE(rowOf(primitive, L"width"), 0);
    EXPECT_GE(rowOf(primitive, L"depth"), 0);
    EXPECT_EQ(rowOf(primitive, L"radius"), -1);
    EXPECT_EQ(rowOf(primitive, L"height"), -1);
}

TEST_F(AttributeEditorStudio, ContextMenuUnifiesTheRowOverTheSelectionAsOneUndoStep) {
    VelX::XAttribute(scene().Database(), L"LookAtMarker.scaleY").SetFloat(4.0f);
    VelX::XAttribute(scene().Database(), L"HandTarget.scaleY").SetFloat(2.0f);
    select({L"LookAtMarker", L"HandTarget"});
    auto* list = control().ListControls().at(0);
    const int row = rowOf(list, L"scaleY");
    ASSERT_GE(row, 0);
    EXPECT_TRUE(list->GetAttributeGroup(row)->isMultiple());
    const wxRect rect = list->getItemRect(row);
    focusFrame();
    wxUIActionSimulator input;
    input.MouseMove(list->ClientToScreen(wxPoint(12, rect.y + rect.height / 2)));
    GuiTest::pumpEvents(50);
    // The menu is modal: the keys come from a timer while it is open; the rescue timer closes a
    // menu that did not take them.
    wxTimer keys, rescue;
    keys.Bind(wxEVT_TIMER, [](wxTimerEvent&) {
        wxUIActionSimulator simulator;
        for (int i = 0; i < 4; ++i) simulator.Char(WXK_DOWN);  // the fourth item: Unify Values
        simulator.Char(WXK_RETURN);
    });
    rescue.Bind(wxEVT_TIMER, [](wxTimerEvent&) { wxUIActionSimulator().Char(WXK_ESCAPE); });
    keys.StartOnce(400);
    rescue.StartOnce(4000);
    input.MouseClick(wxMOUSE_BTN_RIGHT);
    ASSERT_TRUE(GuiTest::waitUntil([&] {
        return VelX::XAttribute(scene().Database(), L"LookAtMarker.scaleY").Float() == 2.0f;
    })) << "Unify Values did not run from the row's menu";
    rescue.Stop();
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({row}));  // the right-click selected the row
    EXPECT_EQ(scene().Database().UndoName(), L"Unify Values");
    GuiTest::pumpEvents(50);
    EXPECT_FALSE(list->GetAttributeGroup(row)->isMultiple());
    ASSERT_TRUE(scene().Database().Undo());
    EXPECT_FLOAT_EQ(VelX::XAttribute(scene().Database(), L"LookAtMarker.scaleY").Float(), 4.0f);
}

TEST_F(AttributeEditorStudio, AHiddenPaneIgnoresSelectionChanges) {
    select({L"HandTarget"});
    const unsigned long rebuilds = control().RebuildCount();
    m_frame->PaneLayout().showWindow("AttributeEditor", false);
    m_frame->PaneLayout().update();
    GuiTest::pumpEvents(50);
    select({L"Hero/Hips"});
    EXPECT_EQ(control().RebuildCount(), rebuilds);
    m_frame->PaneLayout().showWindow("AttributeEditor", true);
    m_frame->PaneLayout().update();
    select({L"Hero/Hips/Spine"});
    EXPECT_EQ(control().RebuildCount(), rebuilds + 1);
}

}  // namespace

TEST_F(AttributeEditorStudio, AnObjectDraggedFromTheExplorerOntoAReferenceRowSetsItAsOneStep) {
    auto* explorer = dynamic_cast<VelXUI::XSceneExplorer*>(m_frame->PaneLayout().getWindow("SceneExplorer"));
    ASSERT_NE(explorer, nullptr);
    select({L"Hero"});
    VelXUI::XAttributeListControl* list = nullptr;
    int row = -1;
    for (auto* candidate : control().ListControls())
        if ((row = rowOf(candidate, L"rootJoint")) >= 0) {
            list = candidate;
            break;
        }
    ASSERT_NE(list, nullptr) << "the character shows no root joint row";
    const VelX::XObject hero = scene().Database().Object(L"Hero");
    explorer->ExpandAll(explorer->ItemOf(hero));
    GuiTest::pumpEvents(50);

    // Presses the middle button on the explorer row (which drags it without selecting it, so the
    // editor keeps showing the character) and lets go over the reference row's value.
    auto drag = [&](const wchar_t* path) {
        wxUtils::TreeItem* item = explorer->ItemOf(scene().Database().Object(path));
        ASSERT_NE(item, nullptr) << path;
        explorer->EnsureVisible(item);
        GuiTest::pumpEvents(30);
        const wxRect label = explorer->GetLabelRect(item), cell = list->getItemRect(row);
        const wxPoint a = explorer->ClientToScreen(wxPoint(label.x + 8, label.y + label.height / 2));
        const wxPoint b = list->ClientToScreen(wxPoint(cell.x + cell.width * 3 / 4, cell.y + cell.height / 2));
        wxUIActionSimulator input;
        input.MouseMove(a);
        GuiTest::pumpEvents(30);
        input.MouseDown(wxMOUSE_BTN_MIDDLE);
        GuiTest::pumpEvents(30);
        for (int step = 1; step <= 10; ++step) {
            input.MouseMove(a + (b - a) * step / 10);
            GuiTest::pumpEvents(15);
        }
        input.MouseUp(wxMOUSE_BTN_MIDDLE);
        GuiTest::waitUntil([&] { return !explorer->IsDraggingItems(); });
        GuiTest::pumpEvents(50);
    };
    VelX::XAttribute rootJoint = hero.Attribute(L"rootJoint");
    ASSERT_EQ(rootJoint.ObjectRef().Path(), L"Hero/Hips");

    drag(L"Hero/Hips/Spine");
    EXPECT_EQ(rootJoint.ObjectRef().Path(), L"Hero/Hips/Spine") << "the drop did not set the reference";
    EXPECT_EQ(scene().Selection().Count(), 1) << "dropping is not selecting";
    ASSERT_TRUE(scene().Database().Undo());
    EXPECT_EQ(rootJoint.ObjectRef().Path(), L"Hero/Hips") << "the drop was more than one undo step";

    // An object of the wrong type is refused with the reason, and nothing changes.
    drag(L"Hero/BodyMesh");
    EXPECT_EQ(rootJoint.ObjectRef().Path(), L"Hero/Hips");
}


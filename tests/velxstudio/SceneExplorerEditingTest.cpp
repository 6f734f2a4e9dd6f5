// The explorer keeps the scene's order and the user's view of the tree: order after Remove and
// after undoing a Delete, the root's commands, expansion across reloads, a rename that survives
// other changes, hidden objects, and Delete in sub-object edit mode.
#include "StudioExplorerFixture.h"

#include <velxcore/XSelection.h>

#include <wx/filename.h>

using VelX::XObject;
using VelXUI::XSceneExplorer;
using wxUtils::TreeItem;

namespace {

// Labels of an item's children, in order.
std::vector<wxString> childLabels(TreeItem* item) {
    std::vector<wxString> labels;
    for (TreeItem* child : *item) labels.push_back(child->GetLabel());
    return labels;
}

// Names of an object's children in the scene that the explorer shows, in the scene's order.
std::vector<wxString> shownChildNames(VelXUI::XSceneExplorer* explorer, const XObject& object) {
    std::vector<wxString> names;
    for (int i = 0; i < object.ChildCount(); ++i)
        if (explorer->ItemOf(object.Child(i))) names.push_back(object.Child(i).Name());
    return names;
}

}  // namespace

TEST_F(StudioExplorer, TheTreeKeepsTheScenesOrderAfterUndoingADeleteAndAfterRemove) {
    const XObject root = scene().RootObject();
    XObject ground = topLevel(L"Ground");
    click(explorer->ItemOf(ground));
    wxUIActionSimulator().Char(WXK_DELETE);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return !topLevel(L"Ground").IsValid(); }));
    focusFrame();
    wxUIActionSimulator().Char('z', wxMOD_CONTROL);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return topLevel(L"Ground").IsValid(); }));
    GuiTest::pumpEvents(50);
    EXPECT_EQ(childLabels(explorer->GetRoot()), shownChildNames(explorer, root)) << "the restored object moved";

    // Remove lifts the children into the parent, where the scene puts them.
    XObject hero = topLevel(L"Hero");
    ASSERT_GT(hero.ChildCount(), 0);
    scene().Database().BeginChangeBlock();
    scene().Database().RemoveObjects(hero.Path());
    scene().Database().EndChangeBlock(L"Remove");
    GuiTest::pumpEvents(50);
    EXPECT_EQ(childLabels(explorer->GetRoot()), shownChildNames(explorer, root));
}

TEST_F(StudioExplorer, TheRootsCommandsWorkOnTheWholeScene) {
    click(explorer->GetRoot());
    const auto run = [&](XSceneExplorer::Command command) {
        wxCommandEvent event(wxEVT_MENU, explorer->CommandID(command));
        explorer->GetEventHandler()->ProcessEvent(event);
        GuiTest::pumpEvents(30);
    };
    run(XSceneExplorer::BranchSelectCommand);
    EXPECT_GT(scene().Selection().Count(), 10) << "Select All on the root selected nothing";
    run(XSceneExplorer::BranchDeselectCommand);
    EXPECT_EQ(scene().Selection().Count(), 0);
    run(XSceneExplorer::BranchExpandCommand);
    EXPECT_TRUE(explorer->ItemOf(scene().Database().Object(L"Hero/Hips"))->GetParent()->IsExpanded());
    run(XSceneExplorer::BranchCollapseCommand);
    EXPECT_FALSE(explorer->ItemOf(topLevel(L"Hero"))->IsExpanded());
}

TEST_F(StudioExplorer, ExpansionSurvivesAReloadAndHidingThePane) {
    TreeItem* hero = explorer->ItemOf(topLevel(L"Hero"));
    ASSERT_NE(hero, nullptr);
    hero->Expand();
    const wxString path = wxFileName(wxFileName::GetTempDir(),
                                     wxString::Format("velx-expand-%lu.velx", wxGetProcessId())).GetFullPath();
    ASSERT_TRUE(m_frame->SaveSceneAs(path));
    ASSERT_TRUE(m_frame->OpenScene(path));
    GuiTest::pumpEvents(50);
    EXPECT_TRUE(explorer->ItemOf(topLevel(L"Hero"))->IsExpanded()) << "a reload collapsed the tree";

    m_frame->PaneLayout().showWindow("SceneExplorer", false);
    GuiTest::pumpEvents(50);
    scene().Database().BeginChangeBlock();
    scene().Database().CreateObject(L"Transform", L"WhileHidden");
    scene().Database().EndChangeBlock(L"Create");
    m_frame->PaneLayout().showWindow("SceneExplorer", true);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return explorer->ItemOf(topLevel(L"WhileHidden")) != nullptr; }));
    EXPECT_TRUE(explorer->ItemOf(topLevel(L"Hero"))->IsExpanded()) << "showing the pane again collapsed the tree";
    wxRemoveFile(path);
}

TEST_F(StudioExplorer, ARenameInProgressSurvivesChangesElsewhere) {
    XObject target = topLevel(L"HandTarget");
    click(explorer->ItemOf(target));
    wxUIActionSimulator().Char(WXK_F2);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return explorer->IsEditingLabel(); }));
    // A script (or a simulation) creates and renames other objects meanwhile.
    scene().Database().BeginChangeBlock();
    scene().Database().CreateObject(L"Transform", L"FromElsewhere");
    topLevel(L"Ground").SetName(L"Floor");
    scene().Database().EndChangeBlock(L"Script");
    GuiTest::pumpEvents(50);
    ASSERT_TRUE(explorer->IsEditingLabel()) << "an incoming change cancelled the rename";
    wxUIActionSimulator().Char('a', wxMOD_CONTROL);
    wxUIActionSimulator().Text("Grip");
    wxUIActionSimulator().Char(WXK_RETURN);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return !explorer->IsEditingLabel(); }));
    EXPECT_EQ(target.Name(), L"Grip");
}

TEST_F(StudioExplorer, ObjectsHiddenInTheExplorerHaveNoItem) {
    XObject marker = topLevel(L"LookAtMarker");
    scene().Database().BeginChangeBlock();
    marker.Attribute(L"hiddenInExplorer").SetBoolean(true);
    scene().Database().EndChangeBlock(L"Hide");
    GuiTest::pumpEvents(50);
    EXPECT_EQ(explorer->ItemOf(marker), nullptr);
    scene().Database().Undo();
    GuiTest::pumpEvents(50);
    EXPECT_NE(explorer->ItemOf(marker), nullptr);
}

TEST_F(StudioExplorer, DeleteInSubObjectEditModeKeepsTheObjects) {
    XObject marker = topLevel(L"LookAtMarker");
    click(explorer->ItemOf(marker));
    scene().Selection().SetSubObjectEditMode(true);
    wxUIActionSimulator().Char(WXK_DELETE);
    GuiTest::pumpEvents(100);
    scene().Selection().SetSubObjectEditMode(false);
    EXPECT_TRUE(marker.IsValid()) << "Delete took the whole object in sub-object edit mode";
    EXPECT_TRUE(m_frame->GetStatusBar()->GetStatusText(0).Contains("sub-object edit mode"));
}

TEST_F(StudioExplorer, CtrlDDuplicatesAndPAndShiftPParentFromTheKeyboard) {
    click(explorer->ItemOf(topLevel(L"Ground")));
    wxUIActionSimulator keys;
    keys.Char('d', wxMOD_CONTROL);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return topLevel(L"Ground1").IsValid(); })) << "Ctrl+D duplicated nothing";
    GuiTest::pumpEvents(50);
    EXPECT_TRUE(scene().Selection().IsSelected(topLevel(L"Ground1")));
    EXPECT_EQ(childLabels(explorer->GetRoot()), shownChildNames(explorer, scene().RootObject()));
    EXPECT_EQ(scene().Database().UndoName(), L"Duplicate");

    click(explorer->ItemOf(topLevel(L"LookAtMarker")));
    click(explorer->ItemOf(topLevel(L"HandTarget")), wxMOD_CONTROL);
    keys.Char('p');
    ASSERT_TRUE(GuiTest::waitUntil([&] { return scene().Database().Object(L"HandTarget/LookAtMarker").IsValid(); }))
        << "P did not parent";
    GuiTest::pumpEvents(50);
    EXPECT_EQ(explorer->ItemOf(scene().Database().Object(L"HandTarget/LookAtMarker"))->GetParent(),
              explorer->ItemOf(topLevel(L"HandTarget")));
    click(explorer->ItemOf(scene().Database().Object(L"HandTarget/LookAtMarker")));
    keys.Char('p', wxMOD_SHIFT);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return topLevel(L"LookAtMarker").IsValid(); })) << "Shift+P did not unparent";
    EXPECT_EQ(scene().Database().UndoName(), L"Unparent");
}

TEST_F(StudioExplorer, TheCreateMenuMakesAnObjectUnderTheSelection) {
    click(explorer->ItemOf(topLevel(L"HandTarget")));
    const int before = topLevel(L"HandTarget").ChildCount();
    focusFrame();
    wxUIActionSimulator keys;
    keys.Char('c', wxMOD_ALT);  // Create, then its first type
    GuiTest::pumpEvents(300);
    keys.Char(WXK_RETURN);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return topLevel(L"HandTarget").ChildCount() == before + 1; }))
        << "the Create menu made nothing under the selection";
    const XObject made = topLevel(L"HandTarget").Child(before);
    EXPECT_TRUE(scene().Selection().IsSelected(made));
    EXPECT_EQ(scene().Database().UndoName().rfind(L"Create ", 0), 0u);
}

namespace {

// Presses on one item's label and releases at a point of another row (a fraction of its height
// from the row's top), moving in steps as a hand does.
void dragTo(XSceneExplorer* explorer, TreeItem* from, TreeItem* to, double rowFraction) {
    explorer->EnsureVisible(from);
    explorer->EnsureVisible(to);
    GuiTest::pumpEvents(30);
    const wxRect start = explorer->GetLabelRect(from), end = explorer->GetLabelRect(to);
    const wxPoint a = explorer->ClientToScreen(wxPoint(start.x + 8, start.y + start.height / 2));
    const wxPoint b = explorer->ClientToScreen(wxPoint(end.x + 8, end.y + static_cast<int>(end.height * rowFraction)));
    wxUIActionSimulator input;
    input.MouseMove(a);
    GuiTest::pumpEvents(30);
    input.MouseDown();
    GuiTest::pumpEvents(30);
    for (int step = 1; step <= 8; ++step) {
        input.MouseMove(a + (b - a) * step / 8);
        GuiTest::pumpEvents(15);
    }
    input.MouseUp();
    GuiTest::waitUntil([&] { return !explorer->IsDraggingItems(); });
    GuiTest::pumpEvents(50);
}

}  // namespace

TEST_F(StudioExplorer, DraggingAnItemReparentsItOntoAboveOrBelowAnotherAsOneStep) {
    const XObject root = scene().RootObject();
    click(explorer->ItemOf(topLevel(L"Ground")));
    dragTo(explorer, explorer->ItemOf(topLevel(L"Ground")), explorer->ItemOf(topLevel(L"HandTarget")), 0.5);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return scene().Database().Object(L"HandTarget/Ground").IsValid(); }))
        << "dropping onto an object did not put the dragged one under it";
    const XObject ground = scene().Database().Object(L"HandTarget/Ground");
    EXPECT_EQ(explorer->ItemOf(ground)->GetParent(), explorer->ItemOf(topLevel(L"HandTarget")));
    EXPECT_EQ(scene().Database().UndoName(), L"Parent");

    // Below the camera: back at the top level, right after it.
    click(explorer->ItemOf(ground));
    dragTo(explorer, explorer->ItemOf(ground), explorer->ItemOf(topLevel(L"MainCamera")), 0.9);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return topLevel(L"Ground").IsValid(); }));
    const std::vector<wxString> names = shownChildNames(explorer, root);
    const auto camera = std::find(names.begin(), names.end(), "MainCamera");
    ASSERT_NE(camera, names.end());
    ASSERT_NE(camera + 1, names.end());
    EXPECT_EQ(*(camera + 1), "Ground");
    EXPECT_EQ(childLabels(explorer->GetRoot()), names);

    // Onto itself nothing happens; the undo history shows the two drops.
    click(explorer->ItemOf(topLevel(L"Ground")));
    dragTo(explorer, explorer->ItemOf(topLevel(L"Ground")), explorer->ItemOf(topLevel(L"Ground")), 0.5);
    EXPECT_TRUE(topLevel(L"Ground").IsValid());
    scene().Database().Undo();
    EXPECT_TRUE(scene().Database().Object(L"HandTarget/Ground").IsValid());
}

TEST_F(StudioExplorer, CtrlCAndCtrlVCopyAndPasteObjectsUnderTheSelection) {
    click(explorer->ItemOf(topLevel(L"LookAtMarker")));
    wxUIActionSimulator keys;
    keys.Char('c', wxMOD_CONTROL);
    GuiTest::pumpEvents(50);
    click(explorer->ItemOf(topLevel(L"HandTarget")));
    keys.Char('v', wxMOD_CONTROL);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return scene().Database().Object(L"HandTarget/LookAtMarker").IsValid(); }))
        << "Ctrl+V pasted nothing under the selection";
    GuiTest::pumpEvents(50);
    const XObject pasted = scene().Database().Object(L"HandTarget/LookAtMarker");
    EXPECT_NE(explorer->ItemOf(pasted), nullptr);
    EXPECT_TRUE(scene().Selection().IsSelected(pasted));
    EXPECT_TRUE(topLevel(L"LookAtMarker").IsValid()) << "Copy must not move the original";
    EXPECT_EQ(scene().Database().UndoName(), L"Paste");
}

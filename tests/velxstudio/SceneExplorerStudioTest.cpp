#include "StudioExplorerFixture.h"

#include <guitest/GuiTest.h>
#include <orkacore/LayoutManager.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XSelection.h>
#include <velxui/XSceneExplorer.h>

#include <wx/menu.h>
#include <wx/statusbr.h>
#include <wx/timer.h>
#include <wx/uiaction.h>

using VelX::XObject;
using VelXUI::XSceneExplorer;
using wxUtils::TreeItem;

namespace {

TEST_F(StudioExplorer, DockedOnTheLeftAndListedInTheWindowMenu) {
    Orka::LayoutManager& layout = m_frame->PaneLayout();
    EXPECT_TRUE(layout.isWindowShown("SceneExplorer"));
    EXPECT_EQ(layout.paneCaption("SceneExplorer"), "Scene Explorer");
    EXPECT_EQ(explorer->GetRoot()->GetLabel(), "Scene");
    EXPECT_GT(explorer->GetRoot()->GetChildCount(), 3u);
    EXPECT_LT(explorer->GetScreenRect().GetRight(), m_frame->GetScreenRect().GetLeft() + m_frame->GetSize().x / 2);
    wxMenuBar* bar = m_frame->GetMenuBar();
    wxMenu* window = bar->GetMenu(bar->FindMenu("Window"));
    ASSERT_NE(window, nullptr);
    EXPECT_NE(window->FindItem("Scene Explorer"), wxNOT_FOUND);
}

TEST_F(StudioExplorer, ClickingSelectsInTheSceneAndTheStatusBarFollows) {
    XObject ground = topLevel(L"Ground"), camera = topLevel(L"MainCamera");
    click(explorer->ItemOf(ground));
    EXPECT_TRUE(scene().Selection().IsSelected(ground));
    click(explorer->ItemOf(camera), wxMOD_CONTROL);
    EXPECT_EQ(scene().Selection().Count(), 2);
    EXPECT_NE(statusSelection().find(L"2"), std::wstring::npos);
    // Selecting from elsewhere shows in the tree.
    scene().Selection().Select(ground.Path());
    EXPECT_EQ(explorer->GetSelection(), std::vector<TreeItem*>{explorer->ItemOf(ground)});
}

TEST_F(StudioExplorer, CtrlAAndDeleteWorkOnTheTree) {
    click(explorer->ItemOf(topLevel(L"HandTarget")));
    wxUIActionSimulator().Char('a', wxMOD_CONTROL);
    GuiTest::pumpEvents(100);
    EXPECT_EQ(size_t(scene().Selection().Count()), explorer->GetShownRowCount() - 1);  // every row but the root
    click(explorer->ItemOf(topLevel(L"LookAtMarker")));
    wxUIActionSimulator().Char(WXK_DELETE);
    GuiTest::pumpEvents(100);
    EXPECT_FALSE(topLevel(L"LookAtMarker").IsValid());
    EXPECT_EQ(scene().Database().UndoName(), L"Delete");
    scene().Database().Undo();
    EXPECT_NE(explorer->ItemOf(topLevel(L"LookAtMarker")), nullptr);
}

TEST_F(StudioExplorer, F2RenamesByTyping) {
    XObject target = topLevel(L"HandTarget");
    click(explorer->ItemOf(target));
    wxUIActionSimulator().Char(WXK_F2);
    GuiTest::pumpEvents(100);
    ASSERT_TRUE(explorer->IsEditingLabel());
    wxUIActionSimulator().Text("Grip");
    wxUIActionSimulator().Char(WXK_RETURN);
    GuiTest::waitUntil([&] { return !explorer->IsEditingLabel(); }, 2000);
    EXPECT_EQ(target.Name(), L"Grip");
    EXPECT_EQ(explorer->ItemOf(target)->GetLabel(), "Grip");
}

TEST_F(StudioExplorer, ContextMenuCommandChosenWithTheKeyboardDeletesTheObject) {
    XObject marker = topLevel(L"LookAtMarker");
    // The popup is modal: keys come from a timer while it is open; a rescue timer closes it if not.
    // Entries: Copy Path, Rename, Remove, Delete.
    wxTimer keys, rescue;
    keys.Bind(wxEVT_TIMER, [](wxTimerEvent&) {
        wxUIActionSimulator input;
        for (int i = 0; i < 4; ++i) input.Char(WXK_DOWN);
        input.Char(WXK_RETURN);
    });
    rescue.Bind(wxEVT_TIMER, [](wxTimerEvent&) { wxUIActionSimulator().Char(WXK_ESCAPE); });
    keys.StartOnce(500);
    rescue.StartOnce(5000);
    click(explorer->ItemOf(marker), wxMOD_NONE, wxMOUSE_BTN_RIGHT);
    GuiTest::waitUntil([&] { return !marker.IsValid(); }, 3000);
    rescue.Stop();
    EXPECT_FALSE(marker.IsValid());
    EXPECT_EQ(explorer->ItemOf(marker), nullptr);
}

}  // namespace

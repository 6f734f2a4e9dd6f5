#include <guitest/GuiTest.h>
#include <velwidgets/VelPopupMenu.h>

#include <gtest/gtest.h>
#include <wx/frame.h>
#include <wx/menu.h>
#include <wx/timer.h>
#include <wx/uiaction.h>

#include <memory>
#include <vector>

using namespace wxUtils;

TEST(VelMenu, ItemsInOrderWithChecksSeparatorAndSubMenu) {
    VelMenu menu("Display");
    EXPECT_EQ(menu.itemCount(), 0u);  // the title is not an item
    menu.appendItem(100, "Zoom To Fit");
    menu.appendCheckItem(101, "Snapping", true);
    menu.appendSeparator();
    auto* align = new VelMenu;
    align->appendItem(200, "Align Left");
    menu.appendSubMenu(align, "Align");
    menu.appendCheckItem(102, "Grid", false);
    EXPECT_EQ(menu.appendItem(300, ""), nullptr);  // nothing to show

    ASSERT_EQ(menu.itemCount(), 5u);
    EXPECT_EQ(menu.menu()->GetTitle(), "Display");
    const wxMenuItemList& all = menu.menu()->GetMenuItems();
    std::vector<wxMenuItem*> items(all.begin(), all.end());
    items.erase(items.begin(), items.end() - 5);
    EXPECT_EQ(items[0]->GetItemLabelText(), "Zoom To Fit");
    EXPECT_TRUE(items[1]->IsChecked());
    EXPECT_TRUE(items[2]->IsSeparator());
    EXPECT_EQ(items[3]->GetSubMenu(), align->menu());
    EXPECT_TRUE(items[4]->IsCheck() && !items[4]->IsChecked());
    if (all.size() > 5) {
        EXPECT_FALSE(all.front()->IsEnabled());  // a port's title entry cannot be chosen
    }

    EXPECT_TRUE(menu.checkItem(102, true) && menu.isItemChecked(102));
    EXPECT_FALSE(menu.checkItem(100, true));  // not a check item
    EXPECT_TRUE(menu.enableItem(200, false));  // reaches into the submenu
    EXPECT_FALSE(align->isItemEnabled(200));
    EXPECT_TRUE(menu.setItemLabel(100, "Frame All"));
    EXPECT_EQ(menu.menu()->FindItem(100)->GetItemLabelText(), "Frame All");
    EXPECT_FALSE(menu.enableItem(999, false));

    // Released into a menu bar: the wrappers become quiet shells.
    EXPECT_EQ(menu.appendSubMenu(align, "Again"), nullptr);
    auto bar = std::make_unique<wxMenuBar>();
    bar->Append(menu.release(), "View");
    EXPECT_EQ(menu.menu(), nullptr);
    EXPECT_EQ(align->menu(), nullptr);
    EXPECT_EQ(menu.appendItem(3, "Save"), nullptr);
    EXPECT_FALSE(align->enableItem(200, true));
    EXPECT_NE(bar->FindItem(200), nullptr);
}

TEST(VelPopupMenu, ChosenItemReachesTheOwnerAsMenuEvent) {
    auto* frame = new wxFrame(nullptr, wxID_ANY, "popup", wxPoint(100, 100), wxSize(300, 200));
    frame->Show();
    GuiTest::waitUntil([&] { return frame->IsShownOnScreen(); });
    GuiTest::pumpEvents(100);
    std::vector<int> chosen;
    frame->Bind(wxEVT_MENU, [&](wxCommandEvent& event) { chosen.push_back(event.GetId()); });
    EXPECT_FALSE(VelPopupMenu("Empty").popup(frame));  // an empty menu is not shown

    VelPopupMenu menu("Timeline");
    menu.appendItem(400, "Toggle Snapping");
    menu.appendItem(401, "Zoom To Fit");
    // The popup is modal: the keys come from a timer while it is open; the rescue timer closes a
    // menu that did not take them, so the test cannot hang.
    wxTimer keys, rescue;
    keys.Bind(wxEVT_TIMER, [](wxTimerEvent&) {
        wxUIActionSimulator simulator;
        simulator.Char(WXK_DOWN);
        simulator.Char(WXK_DOWN);
        simulator.Char(WXK_RETURN);
    });
    rescue.Bind(wxEVT_TIMER, [](wxTimerEvent&) { wxUIActionSimulator().Char(WXK_ESCAPE); });
    keys.StartOnce(400);
    rescue.StartOnce(4000);
    EXPECT_TRUE(menu.popup(frame, wxPoint(20, 20)));
    GuiTest::pumpEvents(50);
    rescue.Stop();
    EXPECT_EQ(chosen, std::vector<int>{401});
    frame->Destroy();
    GuiTest::pumpEvents(10);
}

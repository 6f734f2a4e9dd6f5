#include <guitest/GuiTest.h>
#include <orkacore/LayoutManager.h>

#include <gtest/gtest.h>
#include <wx/aui/dockart.h>
#include <wx/button.h>
#include <wx/frame.h>
#include <wx/panel.h>
#include <wx/uiaction.h>

#include <memory>
#include <utility>
#include <vector>

using Orka::LayoutManager;
using Orka::PaneDock;
using Reports = std::vector<std::pair<wxString, bool>>;

namespace {

// wxAUI's hit test is protected; a member pointer taken through a derived class reaches it.
struct AuiHitTest : wxAuiManager {
    using wxAuiManager::HitTest;
};

class LayoutManagerTest : public testing::Test {
protected:
    void SetUp() override {
        frame = new wxFrame(nullptr, wxID_ANY, "layout", wxPoint(40, 40), wxSize(900, 600));
        layout = std::make_unique<LayoutManager>(frame);
        explorer = new wxPanel(frame);
        child = new wxButton(explorer, wxID_ANY, "inside");
        log = new wxPanel(frame);
        ASSERT_TRUE(layout->addPane(explorer, "SceneExplorer", "Scene Explorer", PaneDock::Left, wxSize(220, 300)));
        ASSERT_TRUE(layout->addPane(new wxPanel(frame), "Viewport", "Viewport", PaneDock::Centre));
        ASSERT_TRUE(layout->addPane(log, "Log", "Log", PaneDock::Bottom, wxSize(400, 120)));
        layout->update();
        layout->setPaneShownHandler([this](const wxString& name, bool shown) { reports.emplace_back(name, shown); });
        frame->Show();
        GuiTest::waitUntil([&] { return log->IsShownOnScreen(); });
        GuiTest::pumpEvents(50);
    }
    void TearDown() override {
        layout.reset();  // before its frame
        frame->Destroy();
        GuiTest::pumpEvents(10);
    }

    wxFrame* frame = nullptr;
    std::unique_ptr<LayoutManager> layout;
    wxPanel* explorer = nullptr;
    wxButton* child = nullptr;
    wxPanel* log = nullptr;
    Reports reports;
};

}  // namespace

TEST_F(LayoutManagerTest, OnlyThePaneWindowItselfAnswersItsName) {
    EXPECT_EQ(layout->getWindowName(explorer), "SceneExplorer");
    EXPECT_EQ(layout->getWindowName(child), "");
    EXPECT_EQ(layout->getWindowName(frame), "");
    EXPECT_EQ(layout->getWindowName(nullptr), "");
    EXPECT_EQ(layout->paneNames(), (std::vector<wxString>{"SceneExplorer", "Viewport", "Log"}));
    // Refused: a taken name, a docked window, a perspective delimiter, a window of another parent.
    auto* extra = new wxPanel(frame);
    EXPECT_FALSE(layout->addPane(extra, "Log", "Again", PaneDock::Right));
    EXPECT_FALSE(layout->addPane(log, "Log2", "Same window", PaneDock::Right));
    EXPECT_FALSE(layout->addPane(extra, "A;B", "Semicolon", PaneDock::Right));
    EXPECT_FALSE(layout->addPane(new wxPanel(explorer), "Nested", "Nested", PaneDock::Right));
}

TEST_F(LayoutManagerTest, ShowWindowHidesAndShowsAndReportsChangesOnly) {
    EXPECT_TRUE(layout->showWindow("Log", false));
    EXPECT_FALSE(layout->isWindowShown("Log"));
    EXPECT_FALSE(log->IsShown());
    EXPECT_TRUE(layout->showWindow("Log", false));  // no change, no report
    EXPECT_TRUE(layout->showWindow("Log"));
    GuiTest::pumpEvents(20);
    EXPECT_TRUE(log->IsShownOnScreen());
    EXPECT_EQ(reports, (Reports{{"Log", false}, {"Log", true}}));
    EXPECT_FALSE(layout->showWindow("Nothing"));
    EXPECT_FALSE(layout->isWindowShown("Nothing"));
}

TEST_F(LayoutManagerTest, ClickingAPaneCloseButtonHidesItAndReportsOnce) {
    // Find the close button on the explorer's caption with wxAUI's own hit test, then click it.
    auto hitTest = &AuiHitTest::HitTest;
    const wxRect pane = explorer->GetRect();
    wxPoint target(-1, -1);
    for (int y = pane.GetTop() - 1; y > pane.GetTop() - 40 && target.x < 0; --y) {
        for (int x = pane.GetRight(); x > pane.GetLeft() && target.x < 0; --x) {
            wxAuiDockUIPart* part = (layout->aui().*hitTest)(x, y);
            if (part && part->type == wxAuiDockUIPart::typePaneButton && part->button == wxAUI_BUTTON_CLOSE) {
                target = wxPoint(x - 3, y);
            }
        }
    }
    ASSERT_GE(target.x, 0) << "no close button on the pane's caption";
    wxUIActionSimulator simulator;
    simulator.MouseMove(frame->ClientToScreen(target));
    GuiTest::pumpEvents(50);
    simulator.MouseDown();
    GuiTest::pumpEvents(30);
    simulator.MouseUp();
    ASSERT_TRUE(GuiTest::waitUntil([&] { return !reports.empty(); }));
    GuiTest::pumpEvents(30);
    EXPECT_EQ(reports, (Reports{{"SceneExplorer", false}}));
    EXPECT_FALSE(layout->isWindowShown("SceneExplorer"));
    EXPECT_FALSE(explorer->IsShown());
}

TEST_F(LayoutManagerTest, VetoedCloseReportsNothing) {
    frame->Bind(wxEVT_AUI_PANE_CLOSE, [](wxAuiManagerEvent& event) { event.Veto(); });
    wxAuiManagerEvent close(wxEVT_AUI_PANE_CLOSE);
    close.SetManager(&layout->aui());
    close.SetPane(&layout->aui().GetPane("Log"));
    layout->aui().ProcessEvent(close);
    GuiTest::pumpEvents(30);
    EXPECT_TRUE(reports.empty());
}

TEST_F(LayoutManagerTest, PerspectiveRoundTripKeepsHiddenPanesCaptionsAndUnmentionedPanes) {
    layout->showWindow("Log", false);
    const wxString saved = layout->savePerspective();
    const int explorerWidth = explorer->GetSize().x;
    layout->showWindow("Log", true);
    layout->showWindow("SceneExplorer", false);
    layout->aui().GetPane("Log").Caption("Messages");  // renamed by the program meanwhile
    auto* curves = new wxPanel(frame);
    ASSERT_TRUE(layout->addPane(curves, "Curves", "Curve Editor", PaneDock::Right, wxSize(200, 200)));
    layout->update();
    reports.clear();

    ASSERT_TRUE(layout->loadPerspective(saved));
    GuiTest::pumpEvents(30);
    EXPECT_FALSE(log->IsShown());
    EXPECT_EQ(explorer->GetSize().x, explorerWidth);
    EXPECT_TRUE(curves->IsShownOnScreen());  // not in the text: left as it was
    EXPECT_EQ(layout->paneCaption("Log"), "Messages");
    EXPECT_EQ(reports, (Reports{{"SceneExplorer", true}, {"Log", false}}));
    // A pane the layout does not have is skipped.
    EXPECT_TRUE(layout->loadPerspective(saved + "name=Ghost;dir=2;state=0|"));
}

TEST_F(LayoutManagerTest, DamagedPerspectiveIsRefusedAndChangesNothing) {
    layout->showWindow("Log", false);
    reports.clear();
    const wxString before = layout->savePerspective();
    for (const wxString& text :
         {wxString(), wxString("layout1|name=Log;state=0"), wxString("layout2|name=Log;colour=red"),
          wxString("layout2|name=Log;dir=99"), wxString("layout2|caption=No name;dir=1"),
          wxString("layout2|name=Log;dir=3|dock_size(3,0)=120"), before + "name=Log;bestw="}) {
        EXPECT_FALSE(layout->loadPerspective(text)) << text;
        EXPECT_EQ(layout->savePerspective(), before) << text;
    }
    EXPECT_TRUE(reports.empty());
}

TEST_F(LayoutManagerTest, CaptionsFollowTheColourScheme) {
    const wxUtils::ColourScheme saved = wxUtils::ColourSchemeClient::activeColourScheme();
    wxUtils::ColourScheme scheme;
    scheme.titleBackground = wxColour(33, 44, 55);
    wxUtils::ColourSchemeClient::applyColourScheme(scheme);
    EXPECT_EQ(layout->aui().GetArtProvider()->GetColour(wxAUI_DOCKART_INACTIVE_CAPTION_COLOUR), scheme.titleBackground);
    wxUtils::ColourSchemeClient::applyColourScheme(saved);
}

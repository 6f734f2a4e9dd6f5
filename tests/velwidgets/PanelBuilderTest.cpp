#include <guitest/GuiTest.h>
#include <velwidgets/PanelBuilder.h>
#include <velwidgets/VelPanel.h>

#include <gtest/gtest.h>
#include <wx/frame.h>
#include <wx/scrolwin.h>
#include <wx/splitter.h>
#include <wx/stattext.h>

using namespace wxUtils;

namespace {

// A frame whose only child, a VelPanel, fills its client area.
struct Host {
    wxFrame* frame = new wxFrame(nullptr, wxID_ANY, "builder", wxPoint(50, 50), wxSize(100, 100));
    VelPanel* panel = new VelPanel(frame);
    void show(int width, int height) {
        frame->SetClientSize(width, height);
        frame->Show();
        GuiTest::waitUntil([&] { return panel->GetSize() == wxSize(width, height); });
        GuiTest::pumpEvents(30);
    }
    ~Host() {
        frame->Destroy();
        GuiTest::pumpEvents(10);
    }
};

wxPanel* box(wxWindow* parent, int width = -1, int height = -1) {
    return new wxPanel(parent, wxID_ANY, wxDefaultPosition, wxSize(width, height));
}

}  // namespace

TEST(PanelBuilder, ProportionOneChildTakesTheRestWithBorderAndExpand) {
    Host host;
    const int border = 4;
    PanelBuilder builder(host.panel, border);
    wxPanel* top = builder.add(box(host.panel, -1, 40));
    wxPanel* rest = builder.add(box(host.panel), 1);
    builder.beginHorizontal();
    wxPanel* left = builder.add(box(host.panel, 60, 20), 0, 0);
    builder.addStretchSpacer();
    wxStaticText* label = builder.addText("Right", FontStyle::Heading);
    builder.finish();  // also closes the open row
    host.show(400, 300);

    EXPECT_EQ(top->GetRect(), wxRect(border, border, 400 - 2 * border, 40));
    const int row = std::max(20, label->GetSize().y) + 2 * border;
    EXPECT_EQ(rest->GetRect(), wxRect(border, 40 + 3 * border, 400 - 2 * border, 300 - 40 - 4 * border - row));
    EXPECT_EQ(left->GetRect(), wxRect(border, 300 - row + border, 60, 20));  // no wxEXPAND: own height
    EXPECT_EQ(label->GetRect().GetRight(), 400 - border - 1);                // pushed right by the spacer
    EXPECT_GT(label->GetFont().GetPointSize(), host.panel->GetFont().GetPointSize());

    const wxSize before = rest->GetSize();
    host.show(500, 420);
    EXPECT_EQ(rest->GetSize(), before + wxSize(100, 120));  // all the extra space
    EXPECT_EQ(top->GetSize().y, 40);
}

class SplitterDominance : public testing::TestWithParam<SplitterDominant> {};

TEST_P(SplitterDominance, SashPositionAndWhichSideKeepsItsSize) {
    Host host;
    PanelBuilder builder(host.panel);
    // Made on the panel: the builder moves them into the splitter.
    wxPanel* first = box(host.panel);
    wxPanel* second = box(host.panel);
    wxSplitterWindow* splitter = builder.addSplitter(first, second, wxVERTICAL, 150, GetParam());
    builder.finish();
    host.show(600, 300);
    ASSERT_TRUE(splitter && splitter->IsSplit());
    EXPECT_EQ(first->GetParent(), splitter);
    EXPECT_EQ(first->GetSize(), wxSize(150, 300));
    EXPECT_LT(first->GetRect().GetRight(), second->GetRect().GetLeft());  // side by side

    const int firstBefore = first->GetSize().x, secondBefore = second->GetSize().x;
    host.show(800, 300);
    const int firstGrowth = first->GetSize().x - firstBefore, secondGrowth = second->GetSize().x - secondBefore;
    EXPECT_EQ(firstGrowth + secondGrowth, 200);
    const int expectedFirstGrowth[] = {0, 200, 100};  // First, Second, Neither
    EXPECT_NEAR(firstGrowth, expectedFirstGrowth[static_cast<int>(GetParam())], 1);
}

INSTANTIATE_TEST_SUITE_P(PanelBuilder, SplitterDominance,
                         testing::Values(SplitterDominant::First, SplitterDominant::Second, SplitterDominant::Neither));

TEST(PanelBuilder, OpenSplitterTakesTheNextTwoWindowsMadeOnIt) {
    Host host;
    PanelBuilder builder(host.panel);
    wxSplitterWindow* splitter = builder.beginSplitter(wxHORIZONTAL, -80, SplitterDominant::Second);
    ASSERT_EQ(builder.parent(), splitter);
    wxPanel* upper = builder.add(box(builder.parent()));
    wxPanel* lower = builder.add(box(builder.parent()));
    builder.end();
    wxPanel* below = builder.add(box(builder.parent(), -1, 25));
    builder.finish();
    host.show(300, 400);
    ASSERT_TRUE(splitter->IsSplit());
    EXPECT_EQ(lower->GetSize().y, 80);  // a negative position sizes the second side
    EXPECT_LT(upper->GetRect().GetBottom(), lower->GetRect().GetTop());
    EXPECT_EQ(below->GetParent(), host.panel);
    EXPECT_LT(splitter->GetRect().GetBottom(), below->GetRect().GetTop());
}

TEST(PanelBuilder, ScrollWindowLearnsTheSizeOfItsContents) {
    Host host;
    PanelBuilder builder(host.panel);
    wxScrolledWindow* scroll = builder.addScrollWindow();
    PanelBuilder inner(scroll, 1);
    for (int i = 0; i < 20; ++i) inner.add(box(scroll, -1, 40));
    inner.finish();
    builder.finish();
    host.show(300, 200);
    EXPECT_GE(scroll->GetVirtualSize().y, 20 * 42);
    scroll->Scroll(0, 10);
    EXPECT_GT(scroll->GetViewStart().y, 0);

    PanelBuilder nothing(nullptr);  // bad input is ignored
    EXPECT_EQ(nothing.addText("x"), nullptr);
    nothing.end();
    nothing.finish();
}

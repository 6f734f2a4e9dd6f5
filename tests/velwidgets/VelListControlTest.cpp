#include <velwidgets/VelListControl.h>
#include <velwidgets/VelListEvent.h>

#include <guitest/GuiTest.h>

#include <gtest/gtest.h>
#include <wx/dcmemory.h>
#include <wx/frame.h>
#include <wx/sizer.h>
#include <wx/uiaction.h>

#include <limits>
#include <vector>

namespace {

// A list of plain rows that records which rows it was asked to draw.
class RowList : public wxUtils::VelListControl {
public:
    explicit RowList(int rows) : m_rows(rows) {}
    int getItemCount() const override { return m_rows; }
    void setRows(int rows) {
        m_rows = rows;
        rowsChanged();
    }
    std::vector<int> drawn;
    std::vector<int> clicked;

protected:
    void drawItem(wxDC&, int row, const wxRect&, bool) override { drawn.push_back(row); }
    bool onItemClicked(int row, int, const wxMouseEvent&) override {
        clicked.push_back(row);
        return true;
    }

private:
    int m_rows;
};

class ListFixture : public ::testing::Test {
protected:
    void SetUp() override {
        frame = new wxFrame(nullptr, wxID_ANY, "list", wxPoint(40, 40), wxSize(400, 500));
        list = new RowList(8);
        list->Create(frame);
        GuiTest::showFilling(frame, list);
        GuiTest::pumpEvents(50);
    }
    void TearDown() override {
        frame->Destroy();
        GuiTest::pumpEvents(10);
    }
    wxPoint rowCentre(int row, int column = wxUtils::VelListControl::NameColumn) const {
        const wxRect rect = list->getItemRect(row);
        const int x = column == wxUtils::VelListControl::NameColumn ? 20 : list->getNameColumnWidth() + 20;
        return list->ClientToScreen(wxPoint(x, rect.y + rect.height / 2));
    }
    void click(int row, int modifiers = wxMOD_NONE) {
        wxUIActionSimulator input;
        input.MouseMove(rowCentre(row));
        GuiTest::pumpEvents(20);
        if (modifiers != wxMOD_NONE) input.KeyDown(0, modifiers);
        input.MouseClick();
        if (modifiers != wxMOD_NONE) input.KeyUp(0, modifiers);
        GuiTest::pumpEvents(40);
    }
    void key(int code, int modifiers = wxMOD_NONE) {
        wxUIActionSimulator input;
        input.Char(code, modifiers);
        GuiTest::pumpEvents(40);
    }

    wxFrame* frame = nullptr;
    RowList* list = nullptr;
};

TEST_F(ListFixture, ClicksSelectExclusivelyTogglesWithControlAndExtendWithShift) {
    click(2);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({2}));
    click(5, wxMOD_CONTROL);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({2, 5}));
    click(2, wxMOD_CONTROL);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({5}));
    click(7, wxMOD_SHIFT);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({2, 3, 4, 5, 6, 7}));
    click(1);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({1}));
    // A plain click on the selected row reaches the derived class; modified clicks do not.
    EXPECT_EQ(list->clicked, std::vector<int>({2, 1}));
}

TEST_F(ListFixture, KeyboardMovesExtendsAndSelectsAll) {
    click(0);
    key(WXK_DOWN);
    key(WXK_DOWN);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({2}));
    key(WXK_DOWN, wxMOD_SHIFT);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({2, 3}));
    key(WXK_END);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({7}));
    key(WXK_DOWN);  // stays on the last row
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({7}));
    key(WXK_HOME);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({0}));
    key(WXK_UP);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({0}));
    key('A', wxMOD_CONTROL);
    EXPECT_EQ(list->getSelectedCount(), 8);
}

TEST_F(ListFixture, DragRectangleSelectsTheRowsItCrosses) {
    wxUIActionSimulator input;
    const wxRect empty(list->ClientToScreen(wxPoint(0, 0)), list->GetClientSize());
    // Start below the rows (on no row) and drag up over rows 6 and 5.
    input.MouseMove(wxPoint(empty.x + 30, empty.GetBottom() - 10));
    GuiTest::pumpEvents(20);
    input.MouseDown();
    GuiTest::pumpEvents(20);
    for (int step = 1; step <= 4; ++step) {
        const wxPoint target = rowCentre(5);
        const wxPoint from(empty.x + 30, empty.GetBottom() - 10);
        input.MouseMove(from + (target - from) * step / 4);
        GuiTest::pumpEvents(20);
    }
    input.MouseUp();
    GuiTest::pumpEvents(40);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({5, 6, 7}));
}

TEST_F(ListFixture, RollupTitleCollapsesAndReportsToTheOwner) {
    list->setTitle("Section");
    int rollups = 0;
    frame->Bind(wxUtils::wxEVT_VELLIST_ROLLUP, [&](wxUtils::VelListEvent&) { ++rollups; });
    const int expandedHeight = list->GetBestSize().y;
    EXPECT_EQ(expandedHeight, list->getTitleHeight() + 8 * list->getRowHeight());
    wxUIActionSimulator input;
    input.MouseMove(list->ClientToScreen(wxPoint(40, list->getTitleHeight() / 2)));
    GuiTest::pumpEvents(20);
    input.MouseClick();
    GuiTest::pumpEvents(40);
    EXPECT_FALSE(list->isExpanded());
    EXPECT_EQ(rollups, 1);
    EXPECT_EQ(list->GetBestSize().y, list->getTitleHeight());
    EXPECT_EQ(list->hitTestRow(wxPoint(20, list->getTitleHeight() + 2)), -1);  // collapsed rows are not hit
}

TEST_F(ListFixture, PaintDrawsOnlyTheRowsInsideTheClip) {
    list->setRows(10000);
    list->drawn.clear();
    wxBitmap bitmap(list->GetClientSize());
    wxMemoryDC dc(bitmap);
    const int row = list->getRowHeight();
    list->renderTo(dc, wxRect(0, 3 * row, 100, 2 * row));
    EXPECT_EQ(list->drawn, std::vector<int>({3, 4}));
}

TEST_F(ListFixture, HitTestsInScreenCoordinatesAndTrimsSelectionWhenRowsGo) {
    int column = -1;
    EXPECT_EQ(list->itemHitTest(rowCentre(3, wxUtils::VelListControl::ValueColumn), &column), 3);
    EXPECT_EQ(column, wxUtils::VelListControl::ValueColumn);
    list->selectAll();
    list->setRows(3);
    EXPECT_EQ(list->getSelectedItems(), std::vector<int>({0, 1, 2}));
    list->setNameColumnShare(std::numeric_limits<float>::quiet_NaN());
    EXPECT_FLOAT_EQ(list->getNameColumnShare(), 0.1f);
}

}  // namespace

#include <velwidgets/TreeControl.h>
#include <velwidgets/VelTreeControlSelectionEventDisabler.h>

#include <guitest/GuiTest.h>

#include <gtest/gtest.h>
#include <wx/dcmemory.h>
#include <wx/frame.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>
#include <wx/uiaction.h>

#include <random>
#include <vector>

using wxUtils::TreeControl;
using wxUtils::TreeEvent;
using wxUtils::TreeItem;

namespace {

// A tree that counts its selection callbacks and can refuse renaming.
class CountingTree : public TreeControl {
public:
    int selectionChanges = 0;
    bool renamable = true;

protected:
    void onSelectionChanged() override { ++selectionChanges; }
    bool canRenameItem(TreeItem*) override { return renamable; }
};

// What the rows must be: the root, then depth first the children of expanded items.
void expectedRows(TreeItem* item, std::vector<TreeItem*>& out) {
    out.push_back(item);
    if (item->IsExpanded())
        for (TreeItem* child : *item) expectedRows(child, out);
}

class TreeFixture : public ::testing::Test {
protected:
    void SetUp() override {
        frame = new wxFrame(nullptr, wxID_ANY, "tree", wxPoint(60, 60), wxSize(360, 420));
        tree = new CountingTree();
        tree->Create(frame, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxHSCROLL | TreeControl::FullRowHighlight);
        GuiTest::showFilling(frame, tree);
        GuiTest::pumpEvents(50);
    }
    void TearDown() override {
        frame->Destroy();
        GuiTest::pumpEvents(10);
    }
    // root -> Alpha(a1, a2(a21)), Beta, Gamma(g1) ; root expanded only.
    void buildSmallTree() {
        root = new TreeItem("Root");
        tree->SetRoot(root);
        alpha = add(root, "Alpha");
        a1 = add(alpha, "a1");
        a2 = add(alpha, "a2");
        a21 = add(a2, "a21");
        beta = add(root, "Beta");
        gamma = add(root, "Gamma");
        g1 = add(gamma, "g1");
        root->Expand();
    }
    static TreeItem* add(TreeItem* parent, const wxString& label) {
        auto* item = new TreeItem(label);
        EXPECT_TRUE(parent->AddChild(item));
        return item;
    }
    std::vector<TreeItem*> rows() const {
        std::vector<TreeItem*> out;
        for (size_t i = 0; i < tree->GetShownRowCount(); ++i) out.push_back(tree->GetRowItem(i));
        return out;
    }
    void expectRowsMirrorTree() {
        std::vector<TreeItem*> expected;
        if (tree->GetRoot()) expectedRows(tree->GetRoot(), expected);
        ASSERT_EQ(rows(), expected);
        for (size_t i = 0; i < expected.size(); ++i) ASSERT_EQ(tree->GetRowOf(expected[i]), long(i));
    }
    wxPoint labelPoint(TreeItem* item) const {
        const wxRect label = tree->GetLabelRect(item);
        return tree->ClientToScreen(wxPoint(label.x + 6, label.y + label.height / 2));
    }
    void click(TreeItem* item, int modifiers = wxMOD_NONE, int button = wxMOUSE_BTN_LEFT) {
        clickAt(labelPoint(item), modifiers, button);
    }
    void clickAt(const wxPoint& screen, int modifiers = wxMOD_NONE, int button = wxMOUSE_BTN_LEFT) {
        wxUIActionSimulator input;
        input.MouseMove(screen);
        GuiTest::pumpEvents(20);
        if (modifiers != wxMOD_NONE) input.KeyDown(0, modifiers);
        input.MouseClick(button);
        if (modifiers != wxMOD_NONE) input.KeyUp(0, modifiers);
        GuiTest::pumpEvents(40);
    }
    void key(int code, int modifiers = wxMOD_NONE) {
        wxUIActionSimulator().Char(code, modifiers);
        GuiTest::pumpEvents(40);
    }
    void type(const char* text) {
        wxUIActionSimulator().Text(text);
        GuiTest::pumpEvents(60);
    }

    wxFrame* frame = nullptr;
    CountingTree* tree = nullptr;
    TreeItem *root = nullptr, *alpha = nullptr, *a1 = nullptr, *a2 = nullptr, *a21 = nullptr, *beta = nullptr,
             *gamma = nullptr, *g1 = nullptr;
};

TEST_F(TreeFixture, RowsFollowEverySingleEditExactlyAsARebuildWould) {
    // Random edits on a shown tree; after each one the patched rows must equal a fresh walk.
    std::mt19937 random(1234);
    tree->SetRoot(new TreeItem("root"));
    tree->GetRoot()->Expand();
    std::vector<TreeItem*> items{tree->GetRoot()};
    auto pick = [&] { return items[random() % items.size()]; };
    for (int step = 0; step < 1500; ++step) {
        TreeItem* item = pick();
        switch (random() % 7) {
        case 0: case 1: {
            auto* child = new TreeItem(wxString::Format("n%d", step));
            item->AddChild(child);
            items.push_back(child);
            break;
        }
        case 2: item->Expand(); break;
        case 3: item->Collapse(); break;
        case 4: item->Reparent(pick(), random() % 2 ? pick() : nullptr); break;  // refused when cyclic
        case 5:
            if (item != tree->GetRoot() && items.size() > 20) {
                std::vector<TreeItem*> gone;
                expectedRows(item, gone);  // (only to know which pointers die)
                std::vector<TreeItem*> all{item};
                for (size_t i = 0; i < all.size(); ++i) all.insert(all.end(), all[i]->begin(), all[i]->end());
                item->RemoveAndDestroy();
                for (TreeItem* dead : all) items.erase(std::find(items.begin(), items.end(), dead));
            }
            break;
        case 6:
            if (step % 50 == 0) random() % 2 ? tree->ExpandAll(item) : tree->CollapseAll(item);
            break;
        }
        if (step % 3 == 0) tree->GetShownRowCount();  // sometimes the rows are clean between edits
        expectRowsMirrorTree();
        if (HasFatalFailure()) FAIL() << "at step " << step;
    }
}

TEST_F(TreeFixture, StructureRefusesCyclesForeignItemsAndSecondParents) {
    buildSmallTree();
    EXPECT_FALSE(alpha->Reparent(a21));      // under its own descendant
    EXPECT_FALSE(alpha->Reparent(alpha));
    EXPECT_FALSE(beta->AddChild(a1));        // already has a parent
    EXPECT_FALSE(a1->AddChild(nullptr));
    EXPECT_FALSE(root->Reparent(beta));      // the root stays the root
    TreeItem loose("loose");
    EXPECT_FALSE(a1->Reparent(&loose));      // another tree (none)
    EXPECT_TRUE(a21->Reparent(root, beta));  // before Beta
    EXPECT_EQ(root->GetChild(1), a21);
    EXPECT_EQ(a2->GetChildCount(), 0u);
    expectRowsMirrorTree();
}

TEST_F(TreeFixture, ExpandAllAndCollapseAllWorkOnOneBranchOrTheWholeTree) {
    buildSmallTree();
    tree->ExpandAll(alpha);
    EXPECT_TRUE(alpha->IsExpanded());
    EXPECT_TRUE(a2->IsExpanded());
    EXPECT_FALSE(gamma->IsExpanded());
    EXPECT_EQ(tree->GetRowOf(a21), 4);
    expectRowsMirrorTree();
    tree->CollapseAll(nullptr);
    EXPECT_EQ(tree->GetShownRowCount(), 1u);
    tree->ExpandAll(nullptr);
    EXPECT_EQ(tree->GetShownRowCount(), 8u);
    expectRowsMirrorTree();
}

TEST_F(TreeFixture, EnsureVisibleExpandsAncestorsAndScrollsTheRowOnScreen) {
    tree->SetRoot(new TreeItem("root"));
    tree->GetRoot()->Expand();
    TreeItem* deep = nullptr;
    for (int i = 0; i < 300; ++i) {
        TreeItem* child = add(tree->GetRoot(), wxString::Format("item %d", i));
        if (i == 250) deep = add(add(child, "inner"), "deepest");
    }
    tree->EnsureVisible(deep);
    EXPECT_TRUE(deep->GetParent()->IsExpanded());
    const long row = tree->GetRowOf(deep);
    ASSERT_GE(row, 250);
    EXPECT_GE(size_t(row), tree->GetTopRow());
    EXPECT_LT(size_t(row), tree->GetTopRow() + size_t(tree->GetPageRows()));
    EXPECT_EQ(tree->HitTest(tree->ScreenToClient(labelPoint(deep))), deep);
    tree->EnsureVisible(tree->GetRoot());
    EXPECT_EQ(tree->GetTopRow(), 0u);
    tree->ScrollToRow(1000000);  // clamped to the last page
    EXPECT_EQ(tree->GetTopRow() + size_t(tree->GetPageRows()), tree->GetShownRowCount());
}

TEST_F(TreeFixture, SelectionKeepsOrderIgnoresJunkAndForgetsDestroyedItems) {
    buildSmallTree();
    TreeItem foreign("foreign");
    tree->SetSelection({gamma, nullptr, alpha, &foreign, gamma});
    EXPECT_EQ(tree->GetSelection(), (std::vector<TreeItem*>{gamma, alpha}));
    EXPECT_TRUE(gamma->IsSelected());
    EXPECT_FALSE(foreign.IsSelected());
    EXPECT_EQ(tree->selectionChanges, 1);
    tree->SetSelection({gamma, alpha});  // no change, no call
    EXPECT_EQ(tree->selectionChanges, 1);
    {
        wxUtils::VelTreeControlSelectionEventDisabler outer(*tree);
        wxUtils::VelTreeControlSelectionEventDisabler inner(tree);
        tree->SetSelection({beta});
    }
    EXPECT_EQ(tree->selectionChanges, 1);
    tree->SetSelection({beta, g1});
    EXPECT_EQ(tree->selectionChanges, 2);
    gamma->RemoveAndDestroy();  // g1 goes with it
    EXPECT_EQ(tree->GetSelection(), std::vector<TreeItem*>{beta});
    tree->DeleteAllItems();
    EXPECT_TRUE(tree->GetSelection().empty());
    EXPECT_EQ(tree->GetFocusItem(), nullptr);
}

TEST_F(TreeFixture, ClickCtrlClickAndShiftClickSelectLikeAFileList) {
    buildSmallTree();
    std::vector<TreeItem*> announced;
    tree->Bind(wxUtils::wxEVT_VEL_TREE_SEL_CHANGED, [&](TreeEvent& e) { announced = tree->GetSelection(); });
    click(alpha);
    EXPECT_EQ(tree->GetSelection(), std::vector<TreeItem*>{alpha});
    EXPECT_EQ(tree->GetFocusItem(), alpha);
    click(gamma, wxMOD_CONTROL);
    EXPECT_EQ(tree->GetSelection(), (std::vector<TreeItem*>{alpha, gamma}));
    click(alpha, wxMOD_CONTROL);  // toggles off
    EXPECT_EQ(tree->GetSelection(), std::vector<TreeItem*>{gamma});
    EXPECT_FALSE(alpha->IsExpanded());  // a ctrl double-click selects, it does not activate
    click(root);
    click(beta, wxMOD_SHIFT);
    EXPECT_EQ(tree->GetSelection(), (std::vector<TreeItem*>{root, alpha, beta}));
    EXPECT_EQ(announced, tree->GetSelection());
    // Below the last row: a plain click empties the selection.
    const wxRect last = tree->GetItemRect(gamma);
    clickAt(tree->ClientToScreen(wxPoint(40, last.GetBottom() + 30)));
    EXPECT_TRUE(tree->GetSelection().empty());
}

TEST_F(TreeFixture, ExpanderClickTogglesOnlyThatBranch) {
    buildSmallTree();
    const wxRect row = tree->GetItemRect(alpha);
    const int expanderX = 2 + alpha->GetDepth() * (TreeControl::ExpanderWidth + tree->getItemIndent()) + 5;
    clickAt(tree->ClientToScreen(wxPoint(expanderX, row.y + row.height / 2)));
    EXPECT_TRUE(alpha->IsExpanded());
    EXPECT_TRUE(tree->GetSelection().empty());  // the expander does not select
    EXPECT_EQ(tree->GetRowOf(beta), 4);
    clickAt(tree->ClientToScreen(wxPoint(expanderX, row.y + row.height / 2)));
    EXPECT_FALSE(alpha->IsExpanded());
    EXPECT_EQ(tree->GetRowOf(beta), 2);
}

TEST_F(TreeFixture, KeyboardMovesExtendsExpandsAndCollapses) {
    buildSmallTree();
    click(root);
    key(WXK_DOWN);
    EXPECT_EQ(tree->GetSelection(), std::vector<TreeItem*>{alpha});
    key(WXK_RIGHT);  // expands
    EXPECT_TRUE(alpha->IsExpanded());
    key(WXK_RIGHT);  // to the first child
    EXPECT_EQ(tree->GetFocusItem(), a1);
    key(WXK_LEFT);  // a leaf: to its parent
    EXPECT_EQ(tree->GetFocusItem(), alpha);
    key(WXK_LEFT);  // collapses
    EXPECT_FALSE(alpha->IsExpanded());
    key(WXK_DOWN, wxMOD_SHIFT);
    key(WXK_DOWN, wxMOD_SHIFT);
    EXPECT_EQ(tree->GetSelection(), (std::vector<TreeItem*>{alpha, beta, gamma}));
    key(WXK_HOME);
    EXPECT_EQ(tree->GetSelection(), std::vector<TreeItem*>{root});
    key(WXK_END);
    EXPECT_EQ(tree->GetFocusItem(), gamma);
    key(WXK_UP);
    key(WXK_NUMPAD_MULTIPLY);  // Beta has no children: nothing; then on Alpha the whole branch opens
    EXPECT_EQ(tree->GetShownRowCount(), 4u);
    key(WXK_UP);
    key(WXK_NUMPAD_MULTIPLY);
    EXPECT_TRUE(alpha->IsExpanded());
    EXPECT_TRUE(a2->IsExpanded());
    key(WXK_HOME);
    key(WXK_RIGHT, wxMOD_SHIFT);  // shift+right: every branch below the focus
    EXPECT_TRUE(gamma->IsExpanded());
    key('A', wxMOD_CONTROL);
    EXPECT_EQ(tree->GetSelection().size(), tree->GetShownRowCount());
    key(WXK_PAGEDOWN);
    EXPECT_EQ(tree->GetFocusItem(), tree->GetRowItem(tree->GetShownRowCount() - 1));
}

TEST_F(TreeFixture, TypingFindsTheNextRowByPrefix) {
    long long now = 5000;
    tree->SetTypeAheadClock([&now] { return now; });
    buildSmallTree();
    click(root);
    type("g");
    EXPECT_EQ(tree->GetSelection(), std::vector<TreeItem*>{gamma});
    now += wxUtils::TreeTypeAhead::PauseMs;  // a key a second later still adds to the word
    type("a");  // "ga": still Gamma
    EXPECT_EQ(tree->GetFocusItem(), gamma);
    now += wxUtils::TreeTypeAhead::PauseMs + 1;  // a longer pause starts a new search, after the focus row, wrapping
    type("B");
    EXPECT_EQ(tree->GetFocusItem(), beta);
    type("x");  // "bx" matches nothing: the focus stays
    EXPECT_EQ(tree->GetFocusItem(), beta);
}

TEST_F(TreeFixture, LabelEditingCommitsWithEnterAndCancelsWithEscape) {
    buildSmallTree();
    std::vector<wxString> ended;
    std::vector<bool> cancelled;
    tree->Bind(wxUtils::wxEVT_VEL_TREE_END_LABEL_EDIT, [&](TreeEvent& e) {
        ended.push_back(e.GetLabel());
        cancelled.push_back(e.IsEditCancelled());
        e.Skip();  // leave the label to the tree
    });
    click(beta);
    key(WXK_F2);
    ASSERT_TRUE(tree->IsEditingLabel());
    type("Bravo");
    key(WXK_RETURN);
    EXPECT_FALSE(tree->IsEditingLabel());
    EXPECT_EQ(beta->GetLabel(), "Bravo");
    ASSERT_TRUE(tree->EditLabel(beta));
    type("Nope");
    key(WXK_ESCAPE);
    EXPECT_EQ(beta->GetLabel(), "Bravo");
    EXPECT_EQ(ended, (std::vector<wxString>{"Bravo", "Nope"}));
    EXPECT_EQ(cancelled, (std::vector<bool>{false, true}));
    // A vetoed start and an item that may not be renamed open no editor.
    tree->renamable = false;
    EXPECT_FALSE(tree->EditLabel(beta));
    tree->renamable = true;
    auto veto = [](TreeEvent& e) { e.Veto(); };
    tree->Bind(wxUtils::wxEVT_VEL_TREE_BEGIN_LABEL_EDIT, veto);
    EXPECT_FALSE(tree->EditLabel(beta));
    tree->Unbind(wxUtils::wxEVT_VEL_TREE_BEGIN_LABEL_EDIT, veto);
    // Removing the item under an open editor ends the edit without touching freed memory.
    ASSERT_TRUE(tree->EditLabel(gamma));
    gamma->RemoveAndDestroy();
    EXPECT_FALSE(tree->IsEditingLabel());
    GuiTest::pumpEvents(30);
}

TEST_F(TreeFixture, CheckBoxesCycleAndReportTheirColumn) {
    buildSmallTree();
    const int second = tree->AddColumn("Visible", 80);
    beta->SetCheckState(second, 3);
    beta->SetCheckState(second, 7);  // ignored
    EXPECT_EQ(beta->GetCheckState(second), 3);
    std::vector<int> columns;
    tree->Bind(wxUtils::wxEVT_VEL_TREE_CHECK_CHANGED, [&](TreeEvent& e) { columns.push_back(e.GetColumn()); });
    const wxRect row = tree->GetItemRect(beta);
    const wxPoint box = tree->ClientToScreen(wxPoint(tree->GetColumnWidth(0) + 2 + 6, row.y + row.height / 2));
    clickAt(box);
    EXPECT_EQ(beta->GetCheckState(second), 1);  // overridden on -> off
    clickAt(box);
    EXPECT_EQ(beta->GetCheckState(second), 2);
    EXPECT_EQ(columns, (std::vector<int>{second, second}));
    EXPECT_TRUE(tree->GetSelection().empty());  // the box does not select the row
}

TEST_F(TreeFixture, RightClickAsksForTheItemMenuAtItsLogicalPoint) {
    buildSmallTree();
    tree->SetSelection({alpha});
    TreeItem* asked = nullptr;
    wxPoint clientPoint;
    tree->Bind(wxUtils::wxEVT_VEL_TREE_ITEM_MENU, [&](TreeEvent& e) {
        asked = e.GetItem();
        clientPoint = tree->logicalToClient(e.GetPoint());
    });
    const wxPoint screen = labelPoint(gamma);
    click(gamma, wxMOD_NONE, wxMOUSE_BTN_RIGHT);
    EXPECT_EQ(asked, gamma);
    EXPECT_EQ(tree->GetFocusItem(), gamma);
    EXPECT_EQ(tree->GetSelection(), std::vector<TreeItem*>{alpha});  // the selection stays
    EXPECT_EQ(tree->ClientToScreen(clientPoint), screen);
}

TEST_F(TreeFixture, PaintingDrawsOnlyTheRowsOnScreenWithTheSelectionColour) {
    tree->SetRoot(new TreeItem("root"));
    tree->GetRoot()->Expand();
    std::vector<TreeItem*> children;
    for (int i = 0; i < 5000; ++i) children.push_back(add(tree->GetRoot(), wxString::Format("row %d", i)));
    tree->ScrollToRow(2000);
    tree->SetSelection({children[2000]});  // row 2001: the second row on screen
    const wxSize size = tree->GetClientSize();
    wxBitmap bitmap(size);
    {
        wxMemoryDC dc(bitmap);
        tree->RenderTo(dc, size);
    }
    wxImage image = bitmap.ConvertToImage();
    const wxColour selection = wxUtils::ColourSchemeClient::activeColourScheme().selectionBackground;
    const int rowHeight = tree->GetRowHeight();
    auto pixelIs = [&](int y, const wxColour& c) {
        const int x = size.x - 3;  // full-row highlight reaches the right edge
        return image.GetRed(x, y) == c.Red() && image.GetGreen(x, y) == c.Green() && image.GetBlue(x, y) == c.Blue();
    };
    EXPECT_TRUE(pixelIs(rowHeight + rowHeight / 2, selection));
    EXPECT_FALSE(pixelIs(rowHeight / 2, selection));
    EXPECT_FALSE(pixelIs(2 * rowHeight + rowHeight / 2, selection));
}

}  // namespace

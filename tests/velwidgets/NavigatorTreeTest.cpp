#include <velwidgets/NavigatorTree.h>

#include <guitest/GuiTest.h>

#include <gtest/gtest.h>
#include <wx/dcmemory.h>
#include <wx/frame.h>
#include <wx/sizer.h>
#include <wx/uiaction.h>

#include <vector>

using wxUtils::NavigatorItemType;
using wxUtils::NavigatorTree;
using wxUtils::NavigatorTreeItem;
using wxUtils::TreeControl;
using wxUtils::TreeEvent;

namespace {

// A type that records what the tree asked of it.
struct Journal {
    std::vector<wxString> calls;
};

class RecordingType : public NavigatorItemType {
public:
    RecordingType(const wxString& name, Journal& journal, bool renamable = false, wxColour icon = wxColour())
        : m_name(name), m_journal(journal), m_renamable(renamable), m_icon(icon) {}
    ~RecordingType() override { m_journal.calls.push_back("destroyed " + m_name); }
    wxString getTypeName() const override { return m_name; }
    wxImage getTypeIcon(TreeControl::TreeItemState state) const override {
        m_journal.calls.push_back(wxString::Format("icon %s %d", m_name, int(state)));
        if (!m_icon.IsOk()) return wxImage();
        wxImage image(32, 32);  // the tree scales it to 16 by 16
        image.SetRGB(wxRect(0, 0, 32, 32), m_icon.Red(), m_icon.Green(), m_icon.Blue());
        return image;
    }
    void onItemSelected(NavigatorTreeItem* item) override { m_journal.calls.push_back("selected " + item->GetLabel()); }
    void onItemDeselected(NavigatorTreeItem* item) override { m_journal.calls.push_back("deselected " + item->GetLabel()); }
    void onItemActivated(NavigatorTreeItem* item) override { m_journal.calls.push_back("activated " + item->GetLabel()); }
    void onContextMenuShown(TreeEvent& event, NavigatorTree* tree, NavigatorTreeItem* item) override {
        m_journal.calls.push_back("menu " + item->GetLabel());
    }
    bool canItemRename(NavigatorTreeItem*) override { return m_renamable; }

private:
    wxString m_name;
    Journal& m_journal;
    bool m_renamable;
    wxColour m_icon;
};

class NavigatorFixture : public ::testing::Test {
protected:
    void SetUp() override {
        frame = new wxFrame(nullptr, wxID_ANY, "navigator", wxPoint(90, 90), wxSize(300, 300));
        tree = new NavigatorTree();
        tree->Create(frame);
        GuiTest::showFilling(frame, tree);
        EXPECT_TRUE(tree->registerNavigatorItemType(new RecordingType("Folder", journal, true, *wxRED)));
        EXPECT_TRUE(tree->registerNavigatorItemType(new RecordingType("Leaf", journal)));
        root = tree->createNavigatorItem("Folder", "root");
        tree->SetRoot(root);
        leafA = tree->createNavigatorItem("Leaf", "a");
        leafB = tree->createNavigatorItem("Leaf", "b");
        root->AddChild(leafA);
        root->AddChild(leafB);
        root->Expand();
        GuiTest::pumpEvents(50);
    }
    void TearDown() override {
        frame->Destroy();
        GuiTest::pumpEvents(10);
    }
    void click(wxUtils::TreeItem* item, int button = wxMOUSE_BTN_LEFT) {
        const wxRect label = tree->GetLabelRect(item);
        wxUIActionSimulator input;
        input.MouseMove(tree->ClientToScreen(wxPoint(label.x + 4, label.y + label.height / 2)));
        GuiTest::pumpEvents(20);
        input.MouseClick(button);
        GuiTest::pumpEvents(300);
    }
    bool logged(const wxString& call) const {
        return std::find(journal.calls.begin(), journal.calls.end(), call) != journal.calls.end();
    }

    Journal journal;
    wxFrame* frame = nullptr;
    NavigatorTree* tree = nullptr;
    NavigatorTreeItem *root = nullptr, *leafA = nullptr, *leafB = nullptr;
};

TEST_F(NavigatorFixture, TypesAreFoundByNameAndRegisteredOnce) {
    EXPECT_FALSE(tree->registerNavigatorItemType(new RecordingType("Leaf", journal)));  // taken: deleted
    EXPECT_TRUE(logged("destroyed Leaf"));
    EXPECT_FALSE(tree->registerNavigatorItemType(nullptr));
    EXPECT_EQ(tree->navigatorItemTypeCount(), 2u);
    EXPECT_EQ(tree->createNavigatorItem("Unknown", "x"), nullptr);
    EXPECT_EQ(leafA->GetItemType(), tree->findNavigatorItemType("Leaf"));
    EXPECT_EQ(leafA->GetParent(), root);
}

TEST_F(NavigatorFixture, UserSelectionTellsTheTypesButProgramSelectionDoesNot) {
    tree->SetSelection({leafA});
    EXPECT_FALSE(logged("selected a"));
    click(leafB);
    EXPECT_TRUE(logged("selected b"));
    EXPECT_TRUE(logged("deselected a"));
    click(leafB, wxMOUSE_BTN_RIGHT);
    EXPECT_TRUE(logged("menu b"));
    tree->SetFocusItem(leafA);
    tree->SetFocus();
    wxUIActionSimulator().Char(WXK_RETURN);
    GuiTest::pumpEvents(50);
    EXPECT_TRUE(logged("activated a"));
}

TEST_F(NavigatorFixture, RenamingIsAskedOfTheTypeAndTheDefaultTakesTheLabel) {
    EXPECT_FALSE(tree->EditLabel(leafA));
    ASSERT_TRUE(tree->EditLabel(root));
    tree->GetLabelEditor()->SetValue("renamed");
    tree->EndLabelEdit(false);
    EXPECT_EQ(root->GetLabel(), "renamed");
}

TEST_F(NavigatorFixture, IconsComeFromTheTypeOnceAndMissingOnesLeaveABlankSquare) {
    const wxSize size = tree->GetClientSize();
    auto render = [&] {
        wxBitmap bitmap(size);
        wxMemoryDC dc(bitmap);
        tree->RenderTo(dc, size);
        dc.SelectObject(wxNullBitmap);
        return bitmap.ConvertToImage();
    };
    wxImage first = render();
    render();
    EXPECT_EQ(std::count(journal.calls.begin(), journal.calls.end(), "icon Folder 2"), 1);  // cached
    // The folder's red icon is drawn on the first row; the leaves' rows keep the label at the same
    // column as if an icon were there.
    const wxRect rootRow = tree->GetItemRect(root);
    const int iconX = 2 + TreeControl::ExpanderWidth + 8;
    EXPECT_EQ(first.GetRed(iconX, rootRow.y + rootRow.height / 2), 255);
    EXPECT_EQ(first.GetGreen(iconX, rootRow.y + rootRow.height / 2), 0);
    EXPECT_EQ(tree->GetLabelRect(leafA).x - tree->GetLabelRect(root).x,
              TreeControl::ExpanderWidth + tree->getItemIndent());
}

TEST(NavigatorTreeLifetime, ItemsGoBeforeTheirTypes) {
    Journal journal;
    auto* frame = new wxFrame(nullptr, wxID_ANY, "lifetime");
    auto* tree = new NavigatorTree();
    tree->Create(frame);
    tree->registerNavigatorItemType(new RecordingType("T", journal));
    tree->SetRoot(tree->createNavigatorItem("T", "r"));
    frame->Destroy();
    GuiTest::pumpEvents(10);
    EXPECT_EQ(journal.calls.back(), "destroyed T");
}

}  // namespace

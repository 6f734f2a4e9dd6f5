#include <velxui/SceneExplorerItemTypes.h>
#include <velxui/XSceneExplorer.h>

#include <guitest/GuiTest.h>
#include <orkacore/EnvData.h>
#include <orkacore/LayoutManager.h>
#include <velxcore/XDemoScene.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XScene.h>
#include <velxcore/XSelection.h>

#include <gtest/gtest.h>
#include <wx/clipbrd.h>
#include <wx/dataobj.h>
#include <wx/filename.h>
#include <wx/frame.h>
#include <wx/sizer.h>
#include <wx/stdpaths.h>
#include <wx/uiaction.h>

#include <functional>
#include <map>
#include <set>
#include <random>

using VelX::XObject;
using VelXUI::XSceneExplorer;
using wxUtils::NavigatorTreeItem;
using wxUtils::TreeItem;

namespace {

// The explorer with its protected operations reachable by the tests.
class Explorer : public XSceneExplorer {
public:
    using XSceneExplorer::XSceneExplorer;
    using XSceneExplorer::deselectBranch;
    using XSceneExplorer::expandBranch;
    using XSceneExplorer::collapseBranch;
    using XSceneExplorer::expandSelection;
    using XSceneExplorer::findObjectInMap;
    using XSceneExplorer::findTreeItemInMap;
    using XSceneExplorer::getObjectPath;
    using XSceneExplorer::removeTreeItemBranchFromMap;
    using XSceneExplorer::selectBranch;
    VelXUI::SceneExplorerItemBaseType* typeOf(TreeItem* item) {
        return static_cast<VelXUI::SceneExplorerItemBaseType*>(static_cast<NavigatorTreeItem*>(item)->GetItemType());
    }
};

bool shownKind(const XObject& object) {
    return object.SupportsType(VelX::XTransform::TypeID) || object.SupportsType(VelX::XShape::TypeID);
}

// The invariant: every transform or shape reachable through transforms and shapes has exactly one
// item, under its parent's item (the root item for top-level objects), labelled with its name and
// typed by its kind; and there are no other items.
void expectTreeMirrorsScene(Explorer& explorer, VelX::XScene& scene) {
    size_t shown = 0;
    std::vector<std::pair<XObject, TreeItem*>> stack{{scene.RootObject(), explorer.GetRoot()}};
    ASSERT_NE(explorer.GetRoot(), nullptr);
    while (!stack.empty()) {
        auto [object, item] = stack.back();
        stack.pop_back();
        ++shown;
        // Same children, in the scene's order.
        std::vector<TreeItem*> expected, actual(item->begin(), item->end());
        for (int i = 0; i < object.ChildCount(); ++i) {
            XObject child = object.Child(i);
            if (!shownKind(child)) continue;
            TreeItem* childItem = explorer.findTreeItemInMap(child.ObjectID());
            ASSERT_NE(childItem, nullptr) << "no item for " << wxString(child.Path());
            EXPECT_EQ(childItem->GetLabel(), wxString(child.Name()));
            EXPECT_EQ(static_cast<NavigatorTreeItem*>(childItem)->GetItemType()->getTypeName(),
                      wxString(XSceneExplorer::NavigatorItemTypeOf(child)));
            EXPECT_EQ(explorer.findObjectInMap(childItem), child);
            expected.push_back(childItem);
            stack.emplace_back(child, childItem);
        }
        ASSERT_EQ(actual, expected) << "children of " << wxString(object.Path());
    }
    size_t items = 0;
    for (std::vector<TreeItem*> walk{explorer.GetRoot()}; !walk.empty();) {
        TreeItem* item = walk.back();
        walk.pop_back();
        ++items;
        walk.insert(walk.end(), item->begin(), item->end());
    }
    EXPECT_EQ(items, shown);
}

class ExplorerFixture : public ::testing::Test {
protected:
    void SetUp() override {
        VelX::XDemoScene::build(scene);
        frame = new wxFrame(nullptr, wxID_ANY, "explorer", wxPoint(80, 80), wxSize(360, 520));
        explorer = new Explorer(scene);
        explorer->Create(frame, nullptr);
        GuiTest::showFilling(frame, explorer);
        GuiTest::pumpEvents(50);
    }
    void TearDown() override {
        frame->Destroy();
        GuiTest::pumpEvents(10);
    }
    XObject object(const wchar_t* name) { return find(scene.RootObject(), name); }
    static XObject find(const XObject& parent, const std::wstring& name) {
        for (int i = 0; i < parent.ChildCount(); ++i) {
            XObject child = parent.Child(i);
            if (child.Name() == name) return child;
            if (XObject found = find(child, name); found.IsValid()) return found;
        }
        return XObject();
    }
    TreeItem* item(const wchar_t* name) { return explorer->findTreeItemInMap(object(name).ObjectID()); }
    std::vector<std::wstring> selectedNames() {
        Velutils::Vector<XObject> selected;
        scene.Selection().Objects(selected);
        std::vector<std::wstring> names;
        for (const XObject& o : selected) names.push_back(o.Name());
        return names;
    }
    void command(XSceneExplorer::Command which, TreeItem* context) {
        explorer->SetFocusItem(context);
        wxCommandEvent event(wxEVT_MENU, explorer->CommandID(which));
        explorer->ProcessWindowEvent(event);
    }
    void click(TreeItem* target, int modifiers = wxMOD_NONE) {
        explorer->EnsureVisible(target);
        GuiTest::pumpEvents(20);
        const wxRect label = explorer->GetLabelRect(target);
        wxUIActionSimulator input;
        input.MouseMove(explorer->ClientToScreen(wxPoint(label.x + 8, label.y + label.height / 2)));
        GuiTest::pumpEvents(20);
        if (modifiers != wxMOD_NONE) input.KeyDown(0, modifiers);
        input.MouseClick();
        if (modifiers != wxMOD_NONE) input.KeyUp(0, modifiers);
        GuiTest::pumpEvents(300);  // past the double-click time, so that clicks stay single
    }

    VelX::XScene scene;
    wxFrame* frame = nullptr;
    Explorer* explorer = nullptr;
};

TEST_F(ExplorerFixture, BuildsTransformsAndShapesInCoreOrderOnlyRootOpen) {
    expectTreeMirrorsScene(*explorer, scene);
    TreeItem* root = explorer->GetRoot();
    EXPECT_EQ(root->GetLabel(), "Scene");
    EXPECT_TRUE(root->IsExpanded());
    // The root's rows are the top-level transforms and shapes, in the core's order, nothing open.
    std::vector<wxString> expected;
    for (int i = 0; i < scene.RootObject().ChildCount(); ++i)
        if (shownKind(scene.RootObject().Child(i))) expected.push_back(scene.RootObject().Child(i).Name());
    std::vector<wxString> rows;
    for (size_t r = 1; r < explorer->GetShownRowCount(); ++r) rows.push_back(explorer->GetRowItem(r)->GetLabel());
    EXPECT_EQ(rows, expected);
    const std::map<std::wstring, std::wstring> kinds = {
        {L"Hero", L"Character"}, {L"MainCamera", L"Camera"}, {L"HeroRig", L"KinematicsCharacter"},
        {L"HeroPhysics", L"PhysicsCharacter"}, {L"Hips", L"Joint"}, {L"BodyMesh", L"MeshInstance"},
        {L"HeadShape", L"Primitive"}, {L"HipsBody", L"PhysicsJoint"}, {L"SpineBodyLimit", L"PhysicsJointLimit"},
        {L"HandConstraint", L"PhysicsConstraint"}, {L"LeftArmIK", L"IKHandle"}, {L"Ground", L"Transform"}};
    for (const auto& [name, kind] : kinds) {
        TreeItem* shown = item(name.c_str());
        ASSERT_NE(shown, nullptr) << wxString(name);
        EXPECT_EQ(static_cast<NavigatorTreeItem*>(shown)->GetItemType()->getTypeName(), wxString(kind));
    }
    EXPECT_EQ(item(L"ArmSolver"), nullptr);    // neither transform nor shape
    EXPECT_EQ(item(L"HeadTracker"), nullptr);
}

TEST_F(ExplorerFixture, SceneWithoutTransformsOrShapesShowsTheRootAlone) {
    scene.New();
    scene.Database().CreateObject(VelX::XIKSolver::TypeID, L"Solver");
    explorer->OnSceneLoaded(scene);
    EXPECT_EQ(explorer->GetShownRowCount(), 1u);
    EXPECT_EQ(explorer->GetRoot()->GetChildCount(), 0u);
}

TEST_F(ExplorerFixture, RemovalLiftsSurvivingChildrenWhereTheSceneLiftsThem) {
    TreeItem* hero = item(L"Hero");
    TreeItem* hips = item(L"Hips");
    const size_t hipsChildren = hips->GetChildCount();
    const size_t heroChildren = hero->GetChildCount();
    scene.Database().BeginChangeBlock();
    scene.Database().RemoveObjects(object(L"Hips").Path());  // children stay in the scene
    scene.Database().EndChangeBlock(L"Remove");
    EXPECT_EQ(item(L"Hips"), nullptr);
    EXPECT_EQ(hero->GetChildCount(), heroChildren - 1 + hipsChildren);
    expectTreeMirrorsScene(*explorer, scene);
    scene.Database().Undo();
    expectTreeMirrorsScene(*explorer, scene);
}

TEST_F(ExplorerFixture, CreationsRenamesAndReparentingsFollowTheScene) {
    VelX::XDatabase& database = scene.Database();
    database.BeginChangeBlock();
    XObject pivot = database.CreateObject(VelX::XTransform::TypeID, L"Pivot", object(L"Ground"));
    XObject cam = database.CreateObject(VelX::XCamera::TypeID, L"Cam2", pivot);
    database.EndChangeBlock(L"Create");
    EXPECT_EQ(explorer->findTreeItemInMap(cam.ObjectID())->GetParent(), explorer->findTreeItemInMap(pivot.ObjectID()));
    database.BeginChangeBlock();
    cam.SetParent(object(L"Hero"));
    const std::wstring given = pivot.SetName(L"Renamed");
    database.EndChangeBlock(L"Edit");
    EXPECT_EQ(explorer->findTreeItemInMap(cam.ObjectID())->GetParent(), item(L"Hero"));
    EXPECT_EQ(explorer->findTreeItemInMap(pivot.ObjectID())->GetLabel(), wxString(given));
    expectTreeMirrorsScene(*explorer, scene);
}

TEST_F(ExplorerFixture, HiddenExplorerDropsChangesUntilTheNextLoad) {
    Orka::LayoutManager layout(frame);
    auto* pane = new wxPanel(frame);
    auto* hidden = new Explorer(scene);
    hidden->Create(pane, &layout);
    layout.addPane(pane, "Hidden", "Hidden", Orka::PaneDock::Left);
    layout.update();
    layout.showWindow("Hidden", false);
    ASSERT_FALSE(hidden->IsVisible());
    const size_t before = hidden->GetRoot()->GetChildCount();
    scene.Database().BeginChangeBlock();
    scene.Database().DeleteObjects(object(L"Ground").Path());
    scene.Database().EndChangeBlock(L"Delete");
    EXPECT_EQ(hidden->GetRoot()->GetChildCount(), before);
    EXPECT_EQ(explorer->GetRoot()->GetChildCount(), before - 1);  // the shown one follows
    // Shown again, it catches up once it paints.
    layout.showWindow("Hidden", true);
    layout.update();
    EXPECT_TRUE(GuiTest::waitUntil([&] { return hidden->GetRoot()->GetChildCount() == before - 1; }));
    layout.removePane("Hidden");
    pane->Destroy();
}

TEST_F(ExplorerFixture, SceneSelectionIsMirroredInOrderAndBroughtIntoView) {
    scene.Selection().Select(std::vector<std::wstring>{object(L"LeftWrist").Path(), object(L"Ground").Path()});
    std::vector<TreeItem*> expected{item(L"LeftWrist"), item(L"Ground")};
    EXPECT_EQ(explorer->GetSelection(), expected);
    EXPECT_TRUE(explorer->IsShown(item(L"LeftWrist")));  // ancestors opened
    scene.Selection().Clear();
    EXPECT_TRUE(explorer->GetSelection().empty());
}

TEST_F(ExplorerFixture, ClicksSelectInTheSceneAndTheRootAddsNothing) {
    click(item(L"Ground"));
    EXPECT_EQ(selectedNames(), std::vector<std::wstring>{L"Ground"});
    click(item(L"MainCamera"), wxMOD_CONTROL);
    EXPECT_EQ(selectedNames(), (std::vector<std::wstring>{L"Ground", L"MainCamera"}));
    click(explorer->GetRoot(), wxMOD_SHIFT);  // from the anchor up to the root: the root adds nothing
    // Rows from the root to MainCamera: the root and seven objects.
    EXPECT_EQ(selectedNames().size(), 7u);
    EXPECT_EQ(explorer->GetSelection().size(), 7u);
    EXPECT_FALSE(explorer->GetRoot()->IsSelected());
    click(explorer->GetRoot());
    EXPECT_TRUE(selectedNames().empty());
}

TEST_F(ExplorerFixture, SubObjectEditModeKeepsTheSceneSelection) {
    scene.Selection().Select(object(L"Ground").Path());
    scene.Selection().SetSubObjectEditMode(true);
    click(item(L"MainCamera"));
    EXPECT_EQ(selectedNames(), std::vector<std::wstring>{L"Ground"});
    EXPECT_EQ(explorer->GetSelection(), std::vector<TreeItem*>{item(L"Ground")});
    scene.Selection().SetSubObjectEditMode(false);
}

TEST_F(ExplorerFixture, RenameByTypingGoesThroughTheCore) {
    explorer->SetFocusItem(item(L"Ground"));
    wxCommandEvent rename(wxEVT_MENU, explorer->CommandID(XSceneExplorer::RenameCommand));
    explorer->ProcessWindowEvent(rename);
    ASSERT_TRUE(explorer->IsEditingLabel());
    GuiTest::pumpEvents(50);
    wxUIActionSimulator().Text("Floor");
    GuiTest::pumpEvents(50);
    wxUIActionSimulator().Char(WXK_RETURN);
    GuiTest::waitUntil([&] { return !explorer->IsEditingLabel(); }, 2000);
    XObject floor = object(L"Floor");
    ASSERT_TRUE(floor.IsValid());
    EXPECT_EQ(explorer->findTreeItemInMap(floor.ObjectID())->GetLabel(), wxString(floor.Name()));
    // Escape leaves the name alone.
    explorer->EditLabel(explorer->findTreeItemInMap(floor.ObjectID()));
    wxUIActionSimulator().Text("Other");
    wxUIActionSimulator().Char(WXK_ESCAPE);
    GuiTest::pumpEvents(50);
    EXPECT_EQ(floor.Name(), L"Floor");
}

TEST_F(ExplorerFixture, BranchOperationsSelectDeselectAndOpen) {
    const std::wstring hero = object(L"Hero").Path();
    explorer->selectBranch(hero);
    std::vector<std::wstring> paths{hero};
    std::function<void(const XObject&)> list = [&](const XObject& o) {
        for (int i = 0; i < o.ChildCount(); ++i)
            if (shownKind(o.Child(i))) {
                paths.push_back(o.Child(i).Path());
                list(o.Child(i));
            }
    };
    list(object(L"Hero"));
    Velutils::Vector<XObject> selected;
    scene.Selection().Objects(selected);
    std::vector<std::wstring> selectedPaths;
    for (const XObject& o : selected) selectedPaths.push_back(o.Path());
    EXPECT_EQ(selectedPaths, paths);
    const std::wstring hips = object(L"Hips").Path();
    explorer->deselectBranch(hips);
    const long outsideHips = std::count_if(paths.begin(), paths.end(), [&](const std::wstring& p) {
        return p.compare(0, hips.size(), hips) != 0;
    });
    EXPECT_EQ(scene.Selection().Count(), outsideHips);
    EXPECT_TRUE(scene.Selection().IsSelected(object(L"BodyMesh")));
    EXPECT_FALSE(scene.Selection().IsSelected(object(L"LeftKnee")));
    explorer->expandBranch(hero);
    EXPECT_TRUE(explorer->IsShown(item(L"LeftAnkle")));
    explorer->collapseBranch(hero);
    EXPECT_FALSE(item(L"Hips")->IsExpanded());
    EXPECT_FALSE(explorer->IsShown(item(L"Hips")));
    scene.Selection().Select(object(L"RightKnee").Path());
    explorer->collapseBranch(hero);
    explorer->expandSelection(scene.RootObject().Path());
    EXPECT_TRUE(explorer->IsShown(item(L"RightKnee")));
}

TEST_F(ExplorerFixture, BranchMapRemovalKeepsTheLeavesBelowTheBranchRoot) {
    TreeItem* hero = item(L"Hero");
    TreeItem* hips = item(L"Hips");
    TreeItem* body = item(L"BodyMesh");  // a leaf right below Hero
    TreeItem* limit = item(L"Head");  // a leaf two levels further down: Head's own child
    while (limit->GetChildCount() > 0) limit = limit->GetChild(0);
    ASSERT_GE(limit->GetDepth(), 3);
    explorer->removeTreeItemBranchFromMap(hero);
    EXPECT_EQ(explorer->findObjectInMap(hero), XObject());
    EXPECT_EQ(explorer->findObjectInMap(hips), XObject());  // had children: removed
    EXPECT_NE(explorer->findObjectInMap(body), XObject());  // leaves stay mapped
    EXPECT_NE(explorer->findObjectInMap(limit), XObject());
}

TEST_F(ExplorerFixture, ContextMenuSectionsDependOnChildrenAndSelection) {
    Explorer& e = *explorer;
    auto menuFor = [&](const wchar_t* name) { return e.typeOf(item(name))->buildContextMenu(object(name)); };
    auto has = [&](const std::unique_ptr<wxUtils::VelPopupMenu>& menu, XSceneExplorer::Command c) {
        return menu->hasItem(e.CommandID(c));
    };
    scene.Selection().Select(object(L"Ground").Path());
    auto leaf = menuFor(L"MainCamera");
    EXPECT_EQ(leaf->title(), "MainCamera");
    for (auto c : {XSceneExplorer::CopyPathCommand, XSceneExplorer::RenameCommand, XSceneExplorer::RemoveCommand,
                   XSceneExplorer::DeleteCommand, XSceneExplorer::SelectTypeCommand})
        EXPECT_TRUE(has(leaf, c));
    EXPECT_EQ(leaf->itemCount(), 5u);  // no Children submenu, no Selection section
    for (auto c : {XSceneExplorer::BranchSelectCommand, XSceneExplorer::SelectionExpandCommand,
                   XSceneExplorer::SelectionReparentCommand, XSceneExplorer::SelectionDeleteCommand,
                   XSceneExplorer::SelectCommand, XSceneExplorer::DeselectCommand, XSceneExplorer::BranchDeselectCommand})
        EXPECT_FALSE(has(leaf, c));
    auto branch = menuFor(L"Hero");
    for (auto c : {XSceneExplorer::BranchSelectCommand, XSceneExplorer::BranchExpandCommand,
                   XSceneExplorer::BranchCollapseCommand})
        EXPECT_TRUE(has(branch, c));
    EXPECT_FALSE(has(branch, XSceneExplorer::BranchDeselectCommand));
    scene.Selection().Select(std::vector<std::wstring>{object(L"Ground").Path(), object(L"HandTarget").Path()});
    auto multi = menuFor(L"Hero");
    for (auto c : {XSceneExplorer::SelectionExpandCommand, XSceneExplorer::SelectionReparentCommand,
                   XSceneExplorer::SelectionDeleteCommand})
        EXPECT_TRUE(has(multi, c));
    EXPECT_FALSE(has(multi, XSceneExplorer::SelectCommand));
}

TEST_F(ExplorerFixture, CommandsActOnTheContextItemAsOneStep) {
    command(XSceneExplorer::SelectTypeCommand, item(L"Hips"));
    Velutils::Vector<XObject> selected;
    scene.Selection().Objects(selected);
    EXPECT_GT(selected.size(), 10u);
    for (const XObject& o : selected) EXPECT_TRUE(o.IsType(VelX::XJoint::TypeID));
    command(XSceneExplorer::SelectCommand, item(L"Ground"));
    EXPECT_TRUE(scene.Selection().IsSelected(object(L"Ground")));
    command(XSceneExplorer::DeselectCommand, item(L"Ground"));
    EXPECT_FALSE(scene.Selection().IsSelected(object(L"Ground")));
    command(XSceneExplorer::CopyPathCommand, item(L"Hips"));
    {
        ASSERT_TRUE(wxTheClipboard->Open()) << "the virtual display has a clipboard";
        wxTextDataObject text;
        EXPECT_TRUE(wxTheClipboard->GetData(text));
        wxTheClipboard->Close();
        EXPECT_EQ(text.GetText(), wxString(object(L"Hips").Path()));
    }
    const std::wstring undoBefore = scene.Database().UndoName();
    command(XSceneExplorer::DeleteCommand, item(L"HeroPhysics"));
    EXPECT_FALSE(object(L"HipsBody").IsValid());
    EXPECT_EQ(item(L"HeroPhysics"), nullptr);
    EXPECT_EQ(scene.Database().UndoName(), L"Delete");
    command(XSceneExplorer::RemoveCommand, item(L"Ground"));
    EXPECT_EQ(item(L"GroundPlane")->GetParent(), explorer->GetRoot());
    scene.Selection().Select(std::vector<std::wstring>{object(L"HandTarget").Path(), object(L"LookAtMarker").Path()});
    command(XSceneExplorer::SelectionReparentCommand, item(L"MainCamera"));
    EXPECT_EQ(item(L"HandTarget")->GetParent(), item(L"MainCamera"));
    command(XSceneExplorer::SelectionDeleteCommand, item(L"MainCamera"));
    EXPECT_EQ(item(L"LookAtMarker"), nullptr);
    expectTreeMirrorsScene(*explorer, scene);
}

TEST_F(ExplorerFixture, DeleteKeyDeletesTheSelection) {
    click(item(L"HandTarget"));
    wxUIActionSimulator().Char(WXK_DELETE);
    GuiTest::pumpEvents(50);
    EXPECT_FALSE(object(L"HandTarget").IsValid());
    EXPECT_EQ(scene.Selection().Count(), 0);
    expectTreeMirrorsScene(*explorer, scene);
}

TEST_F(ExplorerFixture, RandomEditsKeepTheTreeMirroringTheScene) {
    std::mt19937 random(77);
    VelX::XDatabase& database = scene.Database();
    const std::wstring types[] = {VelX::XTransform::TypeID, VelX::XJoint::TypeID, VelX::XPrimitive::TypeID,
                                  VelX::XCamera::TypeID};
    auto shownObjects = [&] {
        std::vector<XObject> all;
        std::function<void(const XObject&)> walk = [&](const XObject& o) {
            for (int i = 0; i < o.ChildCount(); ++i)
                if (shownKind(o.Child(i))) {
                    all.push_back(o.Child(i));
                    walk(o.Child(i));
                }
        };
        walk(scene.RootObject());
        return all;
    };
    for (int step = 0; step < 300; ++step) {
        std::vector<XObject> all = shownObjects();
        XObject target = all.empty() ? scene.RootObject() : all[random() % all.size()];
        database.BeginChangeBlock();
        switch (random() % 7) {
        case 0: case 1: {
            XObject parent = target.SupportsChildObjects() ? target : XObject();
            database.CreateObject(types[random() % 4], L"n" + std::to_wstring(step), parent);
            break;
        }
        case 2: target.SetName(L"r" + std::to_wstring(step)); break;
        case 3: if (!all.empty()) target.SetParent(all[random() % all.size()]); break;
        case 4: if (all.size() > 30) database.DeleteObjects(target.Path()); break;
        case 5: if (all.size() > 30) database.RemoveObjects(target.Path()); break;
        case 6: target.Unparent(); break;
        }
        database.EndChangeBlock(L"step");
        if (step % 25 == 24) database.Undo();
        expectTreeMirrorsScene(*explorer, scene);
        if (HasFatalFailure() || HasFailure()) FAIL() << "at step " << step;
    }
}

TEST(SceneExplorerItemTypes, IconsLoadFromTheResourcesOrFallBackToBlank) {
    VelX::XScene scene;
    auto* frame = new wxFrame(nullptr, wxID_ANY, "icons");
    auto* explorer = new Explorer(scene);
    explorer->Create(frame, nullptr);
    const wxString names[] = {"Camera", "Character", "IKHandle", "Joint", "JointLimit", "KinematicsCharacter",
                              "MeshInstance", "PhysicsCharacter", "PhysicsConstraint", "PhysicsJoint",
                              "PhysicsJointLimit", "Primitive", "Scene", "Shape", "Transform"};
    EXPECT_EQ(explorer->navigatorItemTypeCount(), 15u);
    // The build draws the icons into <build>/resources/Images, found from the test binary's folder.
    const wxString resources = Orka::EnvData::findResourcesDir(
        wxFileName(wxStandardPaths::Get().GetExecutablePath()).GetPath());
    wxString saved;
    const bool hadVariable = wxGetEnv("VELX_RESOURCES_DIR", &saved);
    for (const wxString& folder : {resources, wxString("/nonexistent-velx-resources")}) {
        wxSetEnv("VELX_RESOURCES_DIR", folder == resources ? folder : wxString(wxFileName::GetTempDir()));
        const bool real = folder == resources;
        for (const wxString& name : names) {
            auto* type = static_cast<VelXUI::SceneExplorerItemBaseType*>(explorer->findNavigatorItemType(name));
            ASSERT_NE(type, nullptr) << name;
            EXPECT_TRUE(type->iconPath().EndsWith("Explorer" + name + "16.png")) << type->iconPath();
            const wxImage icon = type->getTypeIcon(wxUtils::TreeControl::Normal);
            ASSERT_TRUE(icon.IsOk());
            EXPECT_EQ(icon.GetSize(), wxSize(16, 16));
            int opaque = 0;
            for (int y = 0; y < 16; ++y)
                for (int x = 0; x < 16; ++x) opaque += icon.HasAlpha() && icon.GetAlpha(x, y) > 128;
            if (real) EXPECT_GT(opaque, 20) << name << " should be drawn";
            else EXPECT_EQ(opaque, 0) << name << " should be blank";
            NavigatorTreeItem probe(type, "x");
            EXPECT_TRUE(type->canItemRename(&probe));
        }
    }
    if (hadVariable) wxSetEnv("VELX_RESOURCES_DIR", saved);
    else wxUnsetEnv("VELX_RESOURCES_DIR");
    frame->Destroy();
    GuiTest::pumpEvents(10);
}

TEST(SceneExplorerNumbering, EveryExplorerTakesTheNextIndex) {
    VelX::XScene scene;
    const int before = XSceneExplorer::EditorIndex;
    auto* first = new Explorer(scene);
    auto* second = new Explorer(scene);
    EXPECT_EQ(first->Index(), before + 1);
    EXPECT_EQ(second->Index(), before + 2);
    EXPECT_EQ(XSceneExplorer::EditorIndex, before + 2);
    EXPECT_NE(first->CommandID(XSceneExplorer::CopyPathCommand), second->CommandID(XSceneExplorer::CopyPathCommand));
    delete first;
    delete second;
}

}  // namespace

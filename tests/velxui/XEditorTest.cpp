#include <velxui/XEditor.h>

#include <guitest/GuiTest.h>
#include <orkacore/LayoutManager.h>
#include <velxcore/XAnimation.h>
#include <velxcore/XDemoScene.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XScene.h>

#include <veldatabase/Database.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <gtest/gtest.h>
#include <wx/frame.h>
#include <wx/panel.h>

#include <memory>

using VelX::XColour;
using VelX::XObject;
using VelXUI::XEditor;

namespace {

// The smallest real editor: a panel that is its own window (or, for copies, any window given).
class TestEditor : public wxPanel, public XEditor {
public:
    TestEditor(VelX::XScene& scene, wxWindow* parent) : wxPanel(parent), XEditor(scene) {}
    using XEditor::Create;
    wxWindow* Window() const override { return const_cast<TestEditor*>(this); }
};

// A frame whose panes a layout manager docks.
class DockedFrame : public ::testing::Test {
protected:
    void SetUp() override { frame->Show(); }
    void TearDown() override {
        layout.reset();
        frame->Destroy();
        GuiTest::pumpEvents(10);
    }
    wxPanel* addPane(const wxString& name) {
        auto* pane = new wxPanel(frame);
        EXPECT_TRUE(layout->addPane(pane, name, name, Orka::PaneDock::Left));
        layout->update();
        return pane;
    }
    static wxWindow* nest(wxWindow* window, int depth) {
        while (depth-- > 0) window = new wxPanel(window);
        return window;
    }

    VelX::XScene scene;
    wxFrame* frame = new wxFrame(nullptr, wxID_ANY, "editors", wxDefaultPosition, wxSize(640, 480));
    std::unique_ptr<Orka::LayoutManager> layout = std::make_unique<Orka::LayoutManager>(frame);
};

TEST_F(DockedFrame, VisibleWithoutManagerOrWithoutNamedAncestor) {
    TestEditor* editor = new TestEditor(scene, nest(frame, 2));
    EXPECT_TRUE(editor->IsVisible());
    EXPECT_TRUE(editor->Create(frame, layout.get()));
    addPane("Elsewhere");
    layout->showWindow("Elsewhere", false);
    EXPECT_TRUE(editor->IsVisible());
}

TEST_F(DockedFrame, PaneShownStateDecidesForEveryPanelInside) {
    wxPanel* pane = addPane("Outliner");
    TestEditor* direct = new TestEditor(scene, pane);
    TestEditor* deep = new TestEditor(scene, nest(pane, 4));
    TestEditor* ownPane = new TestEditor(scene, frame);
    layout->addPane(ownPane, "Own", "Own", Orka::PaneDock::Right);
    for (TestEditor* editor : {direct, deep, ownPane}) editor->Create(frame, layout.get());
    layout->showWindow("Outliner", false);
    EXPECT_FALSE(direct->IsVisible());
    EXPECT_FALSE(deep->IsVisible());
    EXPECT_TRUE(ownPane->IsVisible());
    layout->showWindow("Own", false);
    EXPECT_FALSE(ownPane->IsVisible());
    layout->showWindow("Outliner", true);
    EXPECT_TRUE(direct->IsVisible());
    EXPECT_TRUE(deep->IsVisible());
}

TEST_F(DockedFrame, CopiesKeepSceneManagerAndBringIntoView) {
    VelX::XScene other;
    TestEditor* editor = new TestEditor(scene, addPane("Pane"));
    editor->Create(frame, layout.get());
    EXPECT_TRUE(editor->BringIntoView());
    editor->SetBringIntoView(false);
    layout->showWindow("Pane", false);
    struct Copy : XEditor {  // keeps the original's window, so only the copied manager decides
        Copy(const XEditor& original, wxWindow* window) : XEditor(original), window(window) {}
        wxWindow* Window() const override { return window; }
        wxWindow* window;
    } copy(*editor, editor), assigned(*new TestEditor(other, frame), editor);
    static_cast<XEditor&>(assigned) = *editor;
    for (const XEditor* e : {static_cast<XEditor*>(&copy), static_cast<XEditor*>(&assigned)}) {
        EXPECT_EQ(&e->Scene(), &scene);
        EXPECT_FALSE(e->IsVisible());
        EXPECT_FALSE(e->BringIntoView());
    }
}

// The published colours, as single-precision floats.
const XColour Grey(0.5f, 0.5f, 0.5f, 1.0f);
const XColour Animation(0.6f, 0.8f, 1.0f, 1.0f);
const XColour Orange(0.9f, 0.6f, 0.0f, 1.0f);  // commands and tools alike
const XColour Operation(0.8f, 0.8f, 0.4f, 1.0f);
const XColour Settings(0.7f, 0.2f, 0.5f, 1.0f);

TEST(ObjectColour, TheConstantsHoldThePublishedColours) {
    const std::pair<const XColour*, XColour> table[] = {
        {&XEditor::DefaultColour, Grey},   {&XEditor::AnimationColour, Animation}, {&XEditor::CommandColour, Orange},
        {&XEditor::ToolColour, Orange},    {&XEditor::OperationColour, Operation}, {&XEditor::SettingsColour, Settings},
    };
    for (const auto& [constant, expected] : table) {
        EXPECT_EQ(constant->r, expected.r);
        EXPECT_EQ(constant->g, expected.g);
        EXPECT_EQ(constant->b, expected.b);
        EXPECT_EQ(constant->a, expected.a);
    }
    EXPECT_NE(&XEditor::CommandColour, &XEditor::ToolColour) << "two constants, one orange";
    EXPECT_EQ(XEditor::PanelBuilderBorder, 0);
}

XObject firstOfType(const XObject& parent, const std::wstring& type) {
    for (int i = 0; i < parent.ChildCount(); ++i) {
        XObject child = parent.Child(i), found = child.IsType(type) ? child : firstOfType(child, type);
        if (found.IsValid()) return found;
    }
    return {};
}

TEST(ObjectColour, RenderColourThenCommandsToolsControllersThenExactTypes) {
    VelX::XScene scene;
    VelX::XDemoScene::build(scene);
    VelX::XDatabase& database = scene.Database();
    // Types derived from animation, matrix conversion and controller, as a plug-in adds them.
    static const db::NodeDef clip("TestClip", &sg::AnimationNode::Def, {});
    static const db::NodeDef conversion("TestConversion", &sg::MatrixConversionNode::Def, {});
    static const db::NodeDef spring("TestSpring", &sg::ObjectControllerNode::Def, {});
    for (const db::NodeDef* def : {&clip, &conversion, &spring}) database.db().registerType(*def);

    XObject joint = firstOfType(scene.RootObject(), VelX::XJoint::TypeID);
    VelX::XAttribute colour = VelX::XRenderObject(joint).Colour();
    colour.Attribute(0).SetFloat(0.1f);
    colour.Attribute(1).SetFloat(0.2f);
    colour.Attribute(2).SetFloat(0.3f);
    XObject mesh = firstOfType(scene.RootObject(), VelX::XMeshInstance::TypeID);
    const std::pair<XObject, XColour> cases[] = {
        {joint, XColour(0.1f, 0.2f, 0.3f, 1.0f)},
        {mesh, VelX::XRenderObject(mesh).ColourValue()},
        {scene.CommandObject(L"CreateJointChainCommand"), Orange},
        {database.CreateObject(VelX::XCommand::TypeID, L"command"), Orange},
        {scene.ToolObject(3), Orange},
        {database.CreateObject(VelX::XTool::TypeID, L"tool"), Orange},
        {database.CreateObject(VelX::XObjectController::TypeID, L"controller"), Orange},
        {database.CreateObject(L"TestSpring", L"spring"), Orange},
        {firstOfType(scene.RootObject(), VelX::XAnimation::TypeID), Animation},
        {database.CreateObject(L"TestClip", L"clip"), Grey},
        {database.CreateObject(VelX::XMatrixConversion::TypeID, L"conversion"), Operation},
        {database.CreateObject(L"TestConversion", L"derivedConversion"), Grey},
        {scene.SceneSettings(), Settings},
        {database.Object(L"CurveEditorSettings"), Grey},
        {firstOfType(scene.RootObject(), VelX::XIKSolver::TypeID), Grey},
    };
    for (const auto& [object, expected] : cases) {
        ASSERT_TRUE(object.IsValid());
        const XColour c = XEditor::ObjectColour(object);
        EXPECT_TRUE(c == expected) << object.Path() << ": " << c.r << " " << c.g << " " << c.b << " " << c.a;
    }
    EXPECT_TRUE(XEditor::ObjectColour(XObject()) == Grey);
    // No object supports both render object and command: a type has one base, and commands do not
    // derive from render objects, so the render colour never competes with the command colour.
}

}  // namespace

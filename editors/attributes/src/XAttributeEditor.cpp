#include <velxui/XAttributeControl.h>
#include <velxui/XAttributeEditor.h>

namespace VelXUI {

const wchar_t* const XAttributeEditor::Title = L"Attributes";
const wchar_t* const XAttributeEditor::ToolTitle = L"Tool";
const wchar_t* const XAttributeEditor::CommandTitle = L"Command";
const wchar_t* const XAttributeEditor::TitleIndent = L"  ";
const wchar_t* const XAttributeEditor::DefaultAttributeGroupName = L"";
const wchar_t* const XAttributeEditor::CustomAttributes = L"Custom Attributes";
const wchar_t* const XAttributeEditor::NoConnection = L"None";
const wchar_t* const XAttributeEditor::ScriptTablePathKey = L"path";
const wchar_t* const XAttributeEditor::NullObjectSelection = L" Select an object to view its attributes.";
const wchar_t* const XAttributeEditor::NullToolSelection = L" Select a tool to view its attributes.";
const wchar_t* const XAttributeEditor::NullCommandSelection = L" Select a command to view its attributes.";
const wchar_t* const XAttributeEditor::NoCommandParameters = L" No command settings available for this command.";
const char* const XAttributeEditor::AttributeEditorTable = "AttributeEditor";
const char* const XAttributeEditor::AttributeSetsTable = "AttributeSets";
const char* const XAttributeEditor::RelatedAttributesTable = "RelatedAttributes";
const char* const XAttributeEditor::RelatedObjectsTable = "RelatedObjects";
const wchar_t* const XAttributeEditor::CommandNames[XAttributeEditor::CommandCount] = {
    L"Add Keyframe",  L"Add Keyframe All",  L"Clear Keyframes", L"Clear Keyframes All",
    L"Clear Inputs",  L"Clear Inputs All",  L"Unify Values",    L"Unify Values All"};
const float XAttributeEditor::NameColumnWidth = 0.6f;

int XAttributeEditor::EditorIndex = -1;

XAttributeEditor::XAttributeEditor(VelX::XScene& scene) : XEditor(scene), m_number(++EditorIndex) {}

XAttributeEditor::~XAttributeEditor() {
    delete m_control;
    m_control = nullptr;
}

bool XAttributeEditor::Create(VelX::XScene& scene, wxWindow* parent, Orka::LayoutManager* layoutManager) {
    if (!VelPanel::Create(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, 0, "VelPanel")) return false;
    XEditor::Create(parent, layoutManager);
    wxUtils::PanelBuilder builder(this, PanelBuilderBorder);
    builder.beginVertical(1, wxEXPAND);
    m_control = new XAttributeControl(scene);
    m_control->Create(this, layoutManager);
    builder.add(m_control, 1, wxEXPAND);
    builder.end();
    builder.finish();
    return true;
}

}  // namespace VelXUI

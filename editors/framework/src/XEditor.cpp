#include <velxui/XEditor.h>

#include <orkacore/LayoutManager.h>
#include <velxcore/XAnimation.h>
#include <velxcore/XAttribute.h>
#include <velxcore/XCommand.h>
#include <velxcore/XObjectController.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XRenderObject.h>
#include <velxcore/XSceneSettings.h>
#include <velxcore/XTool.h>

#include <wx/window.h>

namespace VelXUI {

const VelX::XColour XEditor::DefaultColour(0.5f, 0.5f, 0.5f, 1.0f);
const VelX::XColour XEditor::AnimationColour(0.6f, 0.8f, 1.0f, 1.0f);
const VelX::XColour XEditor::CommandColour(0.9f, 0.6f, 0.0f, 1.0f);
const VelX::XColour XEditor::ToolColour(0.9f, 0.6f, 0.0f, 1.0f);
const VelX::XColour XEditor::OperationColour(0.8f, 0.8f, 0.4f, 1.0f);
const VelX::XColour XEditor::SettingsColour(0.7f, 0.2f, 0.5f, 1.0f);
const int XEditor::PanelBuilderBorder;  // so that it may be bound to a reference

XEditor::XEditor(VelX::XScene& scene) : m_scene(scene) {}

XEditor::XEditor(const XEditor& other)
    : VelX::XSceneObserver(other),
      VelX::XScriptBase(other),
      m_scene(other.m_scene),
      m_layoutManager(other.m_layoutManager),
      m_bringIntoView(other.m_bringIntoView) {}

XEditor& XEditor::operator=(const XEditor& other) {
    m_scene = other.m_scene;
    m_layoutManager = other.m_layoutManager;
    m_bringIntoView = other.m_bringIntoView;
    return *this;
}

XEditor::~XEditor() = default;

bool XEditor::Create(wxWindow* /*parent*/, Orka::LayoutManager* layoutManager) {
    m_layoutManager = layoutManager;
    return true;
}

VelX::XScene& XEditor::Scene() const { return m_scene.get(); }

bool XEditor::IsVisible() const {
    if (!m_layoutManager) return true;
    wxString name;
    for (wxWindow* window = Window(); window && name.empty(); window = window->GetParent())
        name = m_layoutManager->getWindowName(window);
    return name.empty() || m_layoutManager->isWindowShown(name);
}

VelX::XColour XEditor::ObjectColour(const VelX::XObject& object) {
    // The order matters: the first test that holds decides.
    if (object.SupportsType(VelX::XRenderObject::TypeID)) {
        const VelX::XAttribute colour = VelX::XRenderObject(object).Colour();
        return VelX::XColour(colour.Attribute(0).Float(), colour.Attribute(1).Float(), colour.Attribute(2).Float(),
                             DefaultColour.a);
    }
    if (object.SupportsType(VelX::XCommand::TypeID)) return CommandColour;
    if (object.SupportsType(VelX::XTool::TypeID) || object.SupportsType(VelX::XObjectController::TypeID))
        return ToolColour;
    if (object.IsType(VelX::XAnimation::TypeID)) return AnimationColour;
    if (object.IsType(VelX::XMatrixConversion::TypeID)) return OperationColour;
    if (object.IsType(VelX::XSceneSettings::TypeID)) return SettingsColour;
    return DefaultColour;
}

void XEditor::SetBringIntoView(bool bringIntoView) { m_bringIntoView = bringIntoView; }

bool XEditor::BringIntoView() const { return m_bringIntoView; }

}  // namespace VelXUI

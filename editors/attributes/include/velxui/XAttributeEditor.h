#pragma once

#include <velxui/XEditor.h>
#include <velwidgets/VelPanel.h>

#include <string>

namespace VelX {
class XScene;
}

namespace VelXUI {

class XAttributeControl;

// The attribute editor panel: it hosts one XAttributeControl, which shows the attributes of the
// selection, the active tool or the active command and does all the work (and observes the scene).
class XAttributeEditor : public wxUtils::VelPanel, public XEditor {
public:
    static const wchar_t* const Title;
    static const wchar_t* const ToolTitle;
    static const wchar_t* const CommandTitle;
    static const wchar_t* const TitleIndent;
    static const wchar_t* const DefaultAttributeGroupName;
    static const wchar_t* const CustomAttributes;
    static const wchar_t* const NoConnection;
    static const wchar_t* const ScriptTablePathKey;
    // The messages start with a space on purpose: it is part of the text.
    static const wchar_t* const NullObjectSelection;
    static const wchar_t* const NullToolSelection;
    static const wchar_t* const NullCommandSelection;
    static const wchar_t* const NoCommandParameters;
    static const char* const AttributeEditorTable;
    static const char* const AttributeSetsTable;
    static const char* const RelatedAttributesTable;
    static const char* const RelatedObjectsTable;
    static constexpr int CommandCount = 8;
    static const wchar_t* const CommandNames[CommandCount];
    static const float NameColumnWidth;
    static const int GroupSpacing = 8;
    static const int TitleSpacing = 4;
    static const int ListSpacing = 4;

    // Editors are numbered 0, 1, 2 ... in creation order.
    static int EditorIndex;

    explicit XAttributeEditor(VelX::XScene& scene);
    ~XAttributeEditor() override;

    virtual bool Create(VelX::XScene& scene, wxWindow* parent, Orka::LayoutManager* layoutManager);

    int Number() const { return m_number; }
    XAttributeControl* Control() const { return m_control; }

protected:
    wxWindow* Window() const override { return const_cast<XAttributeEditor*>(this); }

private:
    XAttributeControl* m_control = nullptr;  // a child window: wx destroys it with the panel
    int m_number;
};

}  // namespace VelXUI

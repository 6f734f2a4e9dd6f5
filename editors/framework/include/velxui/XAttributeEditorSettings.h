#pragma once

#include <velxui/XEditorSettingsObject.h>

#include <velscenegraph/SceneGraphNodes.h>

namespace VelXUI {

// The attribute editor's view options: what it shows (the selection, the active tool or the active
// command). The scene keeps one object of the type, at top level, named by the type.
class XAttributeEditorSettings
    : public XEditorSettingsObject<XAttributeEditorSettings, sg::AttributeEditorSettingsNode> {
public:
    static constexpr const wchar_t* TypeID = L"AttributeEditorSettings";

    using XEditorSettingsObject::XEditorSettingsObject;

    // The number of live wrappers of this class.
    static unsigned& ObjectRefCount();

    const VelX::XObjectDef* definition() const override;
    // The display mode to its default, 0.
    void onInitialize() override;

    VelX::XAttribute DisplayMode() const;  // 8, enumeration
};

}  // namespace VelXUI

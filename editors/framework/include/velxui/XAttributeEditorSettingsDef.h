#pragma once

#include <velxui/XEditorSettingsDefinition.h>
#include <velxui/XAttributeEditorSettings.h>

namespace VelXUI {

// The definition through which the scene database makes XAttributeEditorSettings wrappers. There is one,
// made on first use and kept for the whole process, since the application holds on to it.
class XAttributeEditorSettingsDef
    : public XEditorSettingsDefinition<XAttributeEditorSettings, sg::AttributeEditorSettingsNode> {
public:
    static XAttributeEditorSettingsDef& Instance();

private:
    XAttributeEditorSettingsDef();
};

}  // namespace VelXUI

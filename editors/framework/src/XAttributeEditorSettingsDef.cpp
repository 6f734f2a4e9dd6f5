#include <velxui/XAttributeEditorSettingsDef.h>

namespace VelXUI {

XAttributeEditorSettingsDef::XAttributeEditorSettingsDef() : XEditorSettingsDefinition(XAttributeEditorSettings::TypeID) {}

XAttributeEditorSettingsDef& XAttributeEditorSettingsDef::Instance() {
    // Never destroyed: the application keeps a pointer to it until the very end of the process.
    static XAttributeEditorSettingsDef* const definition = new XAttributeEditorSettingsDef;
    return *definition;
}

}  // namespace VelXUI

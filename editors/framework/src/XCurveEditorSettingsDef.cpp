#include <velxui/XCurveEditorSettingsDef.h>

namespace VelXUI {

XCurveEditorSettingsDef::XCurveEditorSettingsDef() : XEditorSettingsDefinition(XCurveEditorSettings::TypeID) {}

XCurveEditorSettingsDef& XCurveEditorSettingsDef::Instance() {
    // Never destroyed: the application keeps a pointer to it until the very end of the process.
    static XCurveEditorSettingsDef* const definition = new XCurveEditorSettingsDef;
    return *definition;
}

}  // namespace VelXUI

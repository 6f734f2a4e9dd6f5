#include <velxui/XTimelineEditorSettingsDef.h>

namespace VelXUI {

XTimelineEditorSettingsDef::XTimelineEditorSettingsDef() : XEditorSettingsDefinition(XTimelineEditorSettings::TypeID) {}

XTimelineEditorSettingsDef& XTimelineEditorSettingsDef::Instance() {
    // Never destroyed: the application keeps a pointer to it until the very end of the process.
    static XTimelineEditorSettingsDef* const definition = new XTimelineEditorSettingsDef;
    return *definition;
}

}  // namespace VelXUI

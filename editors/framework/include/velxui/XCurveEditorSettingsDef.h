#pragma once

#include <velxui/XEditorSettingsDefinition.h>
#include <velxui/XCurveEditorSettings.h>

namespace VelXUI {

// The definition through which the scene database makes XCurveEditorSettings wrappers. There is one,
// made on first use and kept for the whole process, since the application holds on to it.
class XCurveEditorSettingsDef
    : public XEditorSettingsDefinition<XCurveEditorSettings, sg::CurveEditorSettingsNode> {
public:
    static XCurveEditorSettingsDef& Instance();

private:
    XCurveEditorSettingsDef();
};

}  // namespace VelXUI

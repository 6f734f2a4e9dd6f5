#pragma once

#include <velxui/XEditorSettingsDefinition.h>
#include <velxui/XTimelineEditorSettings.h>

namespace VelXUI {

// The definition through which the scene database makes XTimelineEditorSettings wrappers. There is one,
// made on first use and kept for the whole process, since the application holds on to it.
class XTimelineEditorSettingsDef
    : public XEditorSettingsDefinition<XTimelineEditorSettings, sg::TimelineEditorSettingsNode> {
public:
    static XTimelineEditorSettingsDef& Instance();

private:
    XTimelineEditorSettingsDef();
};

}  // namespace VelXUI

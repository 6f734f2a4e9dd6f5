#include <velxui/XTimelineEditorSettings.h>
#include <velxui/XTimelineEditorSettingsDef.h>

namespace VelXUI {

unsigned& XTimelineEditorSettings::ObjectRefCount() {
    static unsigned count = 0;
    return count;
}

const VelX::XObjectDef* XTimelineEditorSettings::definition() const { return &XTimelineEditorSettingsDef::Instance(); }

void XTimelineEditorSettings::onInitialize() {
    XObject::onInitialize();
    applyDefaults([this] {
        SnapToFrames().SetBoolean(false);
    });
}

VelX::XAttribute XTimelineEditorSettings::SnapToFrames() const { return ownAttribute(0); }

}  // namespace VelXUI

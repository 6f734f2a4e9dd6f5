#include <velxui/XAttributeEditorSettings.h>
#include <velxui/XAttributeEditorSettingsDef.h>

namespace VelXUI {

unsigned& XAttributeEditorSettings::ObjectRefCount() {
    static unsigned count = 0;
    return count;
}

const VelX::XObjectDef* XAttributeEditorSettings::definition() const {
    return &XAttributeEditorSettingsDef::Instance();
}

void XAttributeEditorSettings::onInitialize() {
    XObject::onInitialize();
    applyDefaults([this] {
        DisplayMode().SetEnumeration(0);
    });
}

VelX::XAttribute XAttributeEditorSettings::DisplayMode() const { return ownAttribute(0); }

}  // namespace VelXUI

#include <velxui/XCurveEditorSettings.h>
#include <velxui/XCurveEditorSettingsDef.h>

namespace VelXUI {

unsigned& XCurveEditorSettings::ObjectRefCount() {
    static unsigned count = 0;
    return count;
}

const VelX::XObjectDef* XCurveEditorSettings::definition() const { return &XCurveEditorSettingsDef::Instance(); }

void XCurveEditorSettings::onInitialize() {
    XObject::onInitialize();
    applyDefaults([this] {
        HorizontalRangeStart().SetFloat(-5.0f);
        HorizontalRangeEnd().SetFloat(77.0f);
        HorizontalSnapping().SetBoolean(false);
        HorizontalSnapTolerance().SetFloat(1.0f);
        VerticalRangeStart().SetFloat(-100.0f);
        VerticalRangeEnd().SetFloat(100.0f);
        VerticalSnapping().SetBoolean(false);
        VerticalSnapTolerance().SetFloat(1.0f);
    });
}

VelX::XAttribute XCurveEditorSettings::HorizontalRangeStart() const { return ownAttribute(0); }
VelX::XAttribute XCurveEditorSettings::HorizontalRangeEnd() const { return ownAttribute(1); }
VelX::XAttribute XCurveEditorSettings::HorizontalSnapping() const { return ownAttribute(2); }
VelX::XAttribute XCurveEditorSettings::HorizontalSnapTolerance() const { return ownAttribute(3); }
VelX::XAttribute XCurveEditorSettings::VerticalRangeStart() const { return ownAttribute(4); }
VelX::XAttribute XCurveEditorSettings::VerticalRangeEnd() const { return ownAttribute(5); }
VelX::XAttribute XCurveEditorSettings::VerticalSnapping() const { return ownAttribute(6); }
VelX::XAttribute XCurveEditorSettings::VerticalSnapTolerance() const { return ownAttribute(7); }

}  // namespace VelXUI

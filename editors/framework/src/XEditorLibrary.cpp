#include <velxui/XAttributeEditorSettingsDef.h>
#include <velxui/XCurveEditorSettingsDef.h>
#include <velxui/XEditorLibrary.h>
#include <velxui/XTimelineEditorSettingsDef.h>

#include <velxcore/XApplication.h>

#include <array>
#include <string>

namespace VelXUI {

namespace {

std::array<VelX::XObjectDef*, 3> definitions() {
    return {&XAttributeEditorSettingsDef::Instance(), &XCurveEditorSettingsDef::Instance(),
            &XTimelineEditorSettingsDef::Instance()};
}

bool isRegistered(const VelX::XApplication& application, VelX::XObjectDef* definition) {
    return application.ObjectDefinition(definition->ObjectType()) == definition;
}

}  // namespace

void XEditorLibrary::Initialise() {
    VelX::XApplication& application = VelX::XApplication::Instance();
    for (VelX::XObjectDef* definition : definitions())
        if (!isRegistered(application, definition)) application.RegisterObjectDef(definition);
}

void XEditorLibrary::Shutdown() {
    VelX::XApplication& application = VelX::XApplication::Instance();
    for (VelX::XObjectDef* definition : definitions()) {
        if (!isRegistered(application, definition)) continue;
        if (!application.UnregisterObjectDef(definition)) {
            const std::wstring line = L"The editor settings type " + definition->ObjectType() +
                                      L" stays registered: wrappers of it are still in use.";
            application.LogInformation(line.c_str());
        }
    }
}

bool XEditorLibrary::IsInitialised() {
    const VelX::XApplication& application = VelX::XApplication::Instance();
    for (VelX::XObjectDef* definition : definitions())
        if (!isRegistered(application, definition)) return false;
    return true;
}

}  // namespace VelXUI

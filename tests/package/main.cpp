// Loads the installed panel library, registers its types and checks that a scene gets the editor
// settings objects with their defaults.
#include <velxcore/XApplication.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XScene.h>
#include <velxui/XCurveEditorSettings.h>
#include <velxui/XEditorLibrary.h>

#include <cstdio>

int main() {
    VelXUI::XEditorLibrary::Initialise();
    VelX::XScene& scene = VelX::XApplication::Instance().ActiveScene();
    VelXUI::XCurveEditorSettings settings(scene.Database().Object(L"CurveEditorSettings"));
    if (!settings.isValid() || settings.HorizontalRangeEnd().Float() != 77.0f) {
        std::puts("the installed library did not give the curve editor settings");
        return 1;
    }
    std::puts("VelXUI package works");
    return 0;
}

#include <velxui/CameraItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString CameraItemType::getTypeName() const { return XSceneExplorer::CameraTypeID; }

}  // namespace VelXUI

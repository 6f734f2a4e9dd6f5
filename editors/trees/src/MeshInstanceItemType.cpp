#include <velxui/MeshInstanceItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString MeshInstanceItemType::getTypeName() const { return XSceneExplorer::MeshInstanceTypeID; }

}  // namespace VelXUI

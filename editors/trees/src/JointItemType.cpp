#include <velxui/JointItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString JointItemType::getTypeName() const { return XSceneExplorer::JointTypeID; }

}  // namespace VelXUI

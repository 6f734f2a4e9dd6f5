#include <velxui/JointLimitItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString JointLimitItemType::getTypeName() const { return XSceneExplorer::JointLimitTypeID; }

}  // namespace VelXUI

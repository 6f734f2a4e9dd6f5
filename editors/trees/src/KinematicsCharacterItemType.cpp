#include <velxui/KinematicsCharacterItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString KinematicsCharacterItemType::getTypeName() const { return XSceneExplorer::KinematicsCharacterTypeID; }

}  // namespace VelXUI

#include <velxui/PhysicsCharacterItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString PhysicsCharacterItemType::getTypeName() const { return XSceneExplorer::PhysicsCharacterTypeID; }

}  // namespace VelXUI

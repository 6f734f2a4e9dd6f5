#include <velxui/PhysicsConstraintItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString PhysicsConstraintItemType::getTypeName() const { return XSceneExplorer::PhysicsConstraintTypeID; }

}  // namespace VelXUI

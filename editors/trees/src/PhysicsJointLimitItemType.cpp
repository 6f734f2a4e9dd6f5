#include <velxui/PhysicsJointLimitItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString PhysicsJointLimitItemType::getTypeName() const { return XSceneExplorer::PhysicsJointLimitTypeID; }

}  // namespace VelXUI

#include <velxui/PhysicsJointItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString PhysicsJointItemType::getTypeName() const { return XSceneExplorer::PhysicsJointTypeID; }

}  // namespace VelXUI

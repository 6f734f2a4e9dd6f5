#pragma once

#include <velxui/SceneExplorerItemBaseType.h>

namespace VelXUI {

// Scene explorer items for objects of type PhysicsJoint.
class PhysicsJointItemType : public SceneExplorerItemBaseType {
public:
    explicit PhysicsJointItemType(XSceneExplorer* explorer) : SceneExplorerItemBaseType(explorer) {}
    wxString getTypeName() const override;
};

}  // namespace VelXUI

#pragma once

#include <velxui/SceneExplorerItemBaseType.h>

namespace VelXUI {

// Scene explorer items for objects of type PhysicsJointLimit.
class PhysicsJointLimitItemType : public SceneExplorerItemBaseType {
public:
    explicit PhysicsJointLimitItemType(XSceneExplorer* explorer) : SceneExplorerItemBaseType(explorer) {}
    wxString getTypeName() const override;
};

}  // namespace VelXUI

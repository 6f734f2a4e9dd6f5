#pragma once

#include <velxui/SceneExplorerItemBaseType.h>

namespace VelXUI {

// Scene explorer items for objects of type PhysicsConstraint.
class PhysicsConstraintItemType : public SceneExplorerItemBaseType {
public:
    explicit PhysicsConstraintItemType(XSceneExplorer* explorer) : SceneExplorerItemBaseType(explorer) {}
    wxString getTypeName() const override;
};

}  // namespace VelXUI

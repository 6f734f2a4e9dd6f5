#pragma once

#include <velxui/SceneExplorerItemBaseType.h>

namespace VelXUI {

// Scene explorer items for objects of type PhysicsCharacter.
class PhysicsCharacterItemType : public SceneExplorerItemBaseType {
public:
    explicit PhysicsCharacterItemType(XSceneExplorer* explorer) : SceneExplorerItemBaseType(explorer) {}
    wxString getTypeName() const override;
};

}  // namespace VelXUI

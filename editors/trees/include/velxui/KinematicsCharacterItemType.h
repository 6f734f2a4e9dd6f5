#pragma once

#include <velxui/SceneExplorerItemBaseType.h>

namespace VelXUI {

// Scene explorer items for objects of type KinematicsCharacter.
class KinematicsCharacterItemType : public SceneExplorerItemBaseType {
public:
    explicit KinematicsCharacterItemType(XSceneExplorer* explorer) : SceneExplorerItemBaseType(explorer) {}
    wxString getTypeName() const override;
};

}  // namespace VelXUI

#pragma once

#include <velxui/SceneExplorerItemBaseType.h>

namespace VelXUI {

// Scene explorer items for objects of type MeshInstance.
class MeshInstanceItemType : public SceneExplorerItemBaseType {
public:
    explicit MeshInstanceItemType(XSceneExplorer* explorer) : SceneExplorerItemBaseType(explorer) {}
    wxString getTypeName() const override;
};

}  // namespace VelXUI

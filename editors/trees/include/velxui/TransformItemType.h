#pragma once

#include <velxui/SceneExplorerItemBaseType.h>

namespace VelXUI {

// Scene explorer items for any transform without an item type of its own.
class TransformItemType : public SceneExplorerItemBaseType {
public:
    explicit TransformItemType(XSceneExplorer* explorer) : SceneExplorerItemBaseType(explorer) {}
    wxString getTypeName() const override;
};

}  // namespace VelXUI

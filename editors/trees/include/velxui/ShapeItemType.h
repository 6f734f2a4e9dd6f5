#pragma once

#include <velxui/SceneExplorerItemBaseType.h>

namespace VelXUI {

// Scene explorer items for any shape without an item type of its own.
class ShapeItemType : public SceneExplorerItemBaseType {
public:
    explicit ShapeItemType(XSceneExplorer* explorer) : SceneExplorerItemBaseType(explorer) {}
    wxString getTypeName() const override;
};

}  // namespace VelXUI

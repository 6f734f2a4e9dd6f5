#pragma once

#include <velxui/SceneExplorerItemBaseType.h>

namespace VelXUI {

// Scene explorer items for objects of type IKHandle.
class IKHandleItemType : public SceneExplorerItemBaseType {
public:
    explicit IKHandleItemType(XSceneExplorer* explorer) : SceneExplorerItemBaseType(explorer) {}
    wxString getTypeName() const override;
};

}  // namespace VelXUI

#include <velxui/SceneItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString SceneItemType::getTypeName() const { return XSceneExplorer::SceneTypeID; }

}  // namespace VelXUI

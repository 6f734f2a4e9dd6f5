#include <velxui/TransformItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString TransformItemType::getTypeName() const { return XSceneExplorer::TransformTypeID; }

}  // namespace VelXUI

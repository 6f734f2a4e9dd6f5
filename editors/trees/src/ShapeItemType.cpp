#include <velxui/ShapeItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString ShapeItemType::getTypeName() const { return XSceneExplorer::ShapeTypeID; }

}  // namespace VelXUI

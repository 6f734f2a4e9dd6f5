#include <velxui/PrimitiveItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString PrimitiveItemType::getTypeName() const { return XSceneExplorer::PrimitiveTypeID; }

}  // namespace VelXUI

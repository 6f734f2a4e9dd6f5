#include <velxui/IKHandleItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString IKHandleItemType::getTypeName() const { return XSceneExplorer::IKHandleTypeID; }

}  // namespace VelXUI

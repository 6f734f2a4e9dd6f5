#include <velxui/CharacterItemType.h>

#include <velxui/XSceneExplorer.h>

namespace VelXUI {

wxString CharacterItemType::getTypeName() const { return XSceneExplorer::CharacterTypeID; }

}  // namespace VelXUI

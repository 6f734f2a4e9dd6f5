#include <velxcore/XSelectionGroup.h>

namespace VelX {

const std::wstring XSelectionGroup::TypeID = L"SelectionGroup";

}  // namespace VelX

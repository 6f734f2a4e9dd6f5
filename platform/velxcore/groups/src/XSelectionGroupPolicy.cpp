#include <velxcore/XSelectionGroup.h>
#include <velxcore/XSelectionGroupPolicy.h>

namespace VelX {

const std::wstring& XSelectionGroupPolicy::GroupTypeID() const { return XSelectionGroup::TypeID; }

}  // namespace VelX

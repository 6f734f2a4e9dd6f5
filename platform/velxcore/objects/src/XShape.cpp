#include <velxcore/XShape.h>

namespace VelX {

const std::wstring XShape::TypeID = L"Shape";

XTransform XShape::Transform() const { return XTransform(Parent()); }

}  // namespace VelX

#include <velxcore/XObjectController.h>

namespace VelX {

const std::wstring XObjectController::TypeID = L"ObjectController";

namespace {
constexpr int TargetIndex = 8, EnabledIndex = 9, WeightIndex = 10;
}

XAttribute XObjectController::Target() const { return Attribute(TargetIndex); }
XAttribute XObjectController::Enabled() const { return Attribute(EnabledIndex); }
XAttribute XObjectController::Weight() const { return Attribute(WeightIndex); }
XObject XObjectController::TargetObject() const { return Target().ObjectRef(); }

bool XObjectController::SetTarget(const XObject& object) {
    XAttribute target = Target();
    if (!target.IsValid() || !object.IsValid() || object.DatabasePointer() != m_database || object == *this) return false;
    target.SetObjectRef(object);
    return TargetObject() == object;
}

bool XObjectController::Drives(const XObject& object) const {
    return IsValid() && object.IsValid() && Enabled().Boolean() && Weight().Float() > 0.0f && TargetObject() == object;
}

}  // namespace VelX

#include <velxcore/XTransform.h>

#include <velscenegraph/SceneGraphNodes.h>

namespace VelX {

const std::wstring XTransform::TypeID = L"Transform";

XAttribute XTransform::Translate(int axis) const {
    return axis >= 0 && axis < 3 ? Attribute(sg::Index::TranslateX + axis) : XAttribute();
}
XAttribute XTransform::Rotate(int axis) const {
    return axis >= 0 && axis < 3 ? Attribute(sg::Index::RotateX + axis) : XAttribute();
}
XAttribute XTransform::Scale(int axis) const {
    return axis >= 0 && axis < 3 ? Attribute(sg::Index::ScaleX + axis) : XAttribute();
}
XAttribute XTransform::ParentMatrix() const { return Attribute(sg::Index::ParentMatrix); }
XAttribute XTransform::LocalMatrix() const { return Attribute(sg::Index::LocalMatrix); }
XAttribute XTransform::WorldMatrix() const { return Attribute(sg::Index::WorldMatrix); }

}  // namespace VelX

#pragma once

#include <velxcore/XRenderObject.h>

namespace VelX {

class XTransform : public XRenderObject {
public:
    static const std::wstring TypeID;
    XTransform() = default;
    explicit XTransform(const XObject& object) : XRenderObject(object, TypeID) {}

    XAttribute Translate(int axis) const;
    XAttribute Rotate(int axis) const;
    XAttribute Scale(int axis) const;
    XAttribute ParentMatrix() const;  // fed by the parent transform's world matrix
    XAttribute LocalMatrix() const;
    XAttribute WorldMatrix() const;

protected:
    XTransform(const XObject& object, const std::wstring& requiredType) : XRenderObject(object, requiredType) {}
};

}  // namespace VelX

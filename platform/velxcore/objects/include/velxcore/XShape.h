#pragma once

#include <velxcore/XRenderObject.h>
#include <velxcore/XTransform.h>

namespace VelX {

class XShape : public XRenderObject {
public:
    static const std::wstring TypeID;
    XShape() = default;
    explicit XShape(const XObject& object) : XRenderObject(object, TypeID) {}

    XTransform Transform() const;  // the transform the shape hangs under (invalid at top level)

protected:
    XShape(const XObject& object, const std::wstring& requiredType) : XRenderObject(object, requiredType) {}
};

}  // namespace VelX

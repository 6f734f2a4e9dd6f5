#pragma once

#include <velxcore/XAttribute.h>
#include <velxcore/XColour.h>
#include <velxcore/XSceneObject.h>

namespace VelX {

class XRenderObject : public XSceneObject {
public:
    static const std::wstring TypeID;
    XRenderObject() = default;
    explicit XRenderObject(const XObject& object) : XSceneObject(object, TypeID) {}

    XAttribute Colour() const;  // compound: children 0, 1, 2 are red, green, blue in 0..1
    XColour ColourValue() const;
    XAttribute Visibility() const;

protected:
    XRenderObject(const XObject& object, const std::wstring& requiredType) : XSceneObject(object, requiredType) {}
};

}  // namespace VelX

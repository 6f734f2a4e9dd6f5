#include <velxcore/XRenderObject.h>

#include <velscenegraph/SceneGraphNodes.h>

namespace VelX {

const std::wstring XRenderObject::TypeID = L"RenderObject";

XAttribute XRenderObject::Colour() const { return Attribute(sg::Index::Colour); }
XAttribute XRenderObject::Visibility() const { return Attribute(sg::Index::Visibility); }

XColour XRenderObject::ColourValue() const {
    XAttribute c = Colour();
    if (!c.IsValid()) return {};
    return XColour(c.Attribute(0).Float(), c.Attribute(1).Float(), c.Attribute(2).Float(), 1.0f);
}

}  // namespace VelX

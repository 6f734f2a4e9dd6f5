#pragma once

#include <velxcore/XAttribute.h>
#include <velxcore/XSceneObject.h>

namespace VelX {

// An object that drives another object (its target) with a weight while it is enabled.
class XObjectController : public XSceneObject {
public:
    static const std::wstring TypeID;
    XObjectController() = default;
    explicit XObjectController(const XObject& object) : XSceneObject(object, TypeID) {}

    XAttribute Target() const;
    XAttribute Enabled() const;
    XAttribute Weight() const;
    XObject TargetObject() const;
    bool SetTarget(const XObject& object);
    // True when enabled with a positive weight and the object is the target.
    bool Drives(const XObject& object) const;

protected:
    XObjectController(const XObject& object, const std::wstring& requiredType) : XSceneObject(object, requiredType) {}
};

}  // namespace VelX

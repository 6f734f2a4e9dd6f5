#pragma once

#include <velxcore/XObject.h>

namespace VelX {

// An object that takes part in the scene selection. Building it from an object of a type that
// does not support `TypeID` gives an invalid handle.
class XSceneObject : public XObject {
public:
    static const std::wstring TypeID;
    XSceneObject() = default;
    explicit XSceneObject(const XObject& object) : XSceneObject(object, TypeID) {}

    bool IsSelected() const;
    XSceneObject& Select();        // the selection becomes this object alone
    XSceneObject& SelectAppend();  // added at the end of the selection
    XSceneObject& Deselect();

protected:
    XSceneObject(const XObject& object, const std::wstring& requiredType);
};

}  // namespace VelX

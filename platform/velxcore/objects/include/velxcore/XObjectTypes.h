#pragma once

#include <velxcore/XShape.h>
#include <velxcore/XTransform.h>

// Typed handles that add only their type identifier to their base. Groups, tools, commands and
// controllers are services of their own, with their own headers.
namespace VelX {

#define VELX_TYPED_HANDLE(ClassName, Base)                                               \
    class ClassName : public Base {                                                      \
    public:                                                                              \
        static const std::wstring TypeID;                                                \
        ClassName() = default;                                                           \
        explicit ClassName(const XObject& object) : ClassName(object, TypeID) {}         \
                                                                                         \
    protected:                                                                           \
        ClassName(const XObject& object, const std::wstring& t) : Base(object, t) {}     \
    }

VELX_TYPED_HANDLE(XCamera, XTransform);
VELX_TYPED_HANDLE(XCharacter, XTransform);
VELX_TYPED_HANDLE(XKinematicsCharacter, XTransform);
VELX_TYPED_HANDLE(XPhysicsCharacter, XTransform);
VELX_TYPED_HANDLE(XJoint, XTransform);
VELX_TYPED_HANDLE(XJointLimit, XTransform);
VELX_TYPED_HANDLE(XPhysicsJoint, XTransform);
VELX_TYPED_HANDLE(XPhysicsJointLimit, XTransform);
VELX_TYPED_HANDLE(XPhysicsConstraint, XTransform);
VELX_TYPED_HANDLE(XMeshInstance, XShape);
VELX_TYPED_HANDLE(XPrimitive, XShape);
VELX_TYPED_HANDLE(XMatrixConversion, XSceneObject);
VELX_TYPED_HANDLE(XIKSolver, XSceneObject);

#undef VELX_TYPED_HANDLE

class XIKHandle : public XTransform {
public:
    static const std::wstring TypeID;
    XIKHandle() = default;
    explicit XIKHandle(const XObject& object) : XTransform(object, TypeID) {}
    XIKSolver Solver() const;
};

}  // namespace VelX

#include <velxcore/XAttribute.h>
#include <velxcore/XObjectTypes.h>

namespace VelX {

const std::wstring XCamera::TypeID = L"Camera";
const std::wstring XCharacter::TypeID = L"Character";
const std::wstring XKinematicsCharacter::TypeID = L"KinematicsCharacter";
const std::wstring XPhysicsCharacter::TypeID = L"PhysicsCharacter";
const std::wstring XJoint::TypeID = L"Joint";
const std::wstring XJointLimit::TypeID = L"JointLimit";
const std::wstring XPhysicsJoint::TypeID = L"PhysicsJoint";
const std::wstring XPhysicsJointLimit::TypeID = L"PhysicsJointLimit";
const std::wstring XPhysicsConstraint::TypeID = L"PhysicsConstraint";
const std::wstring XMeshInstance::TypeID = L"MeshInstance";
const std::wstring XPrimitive::TypeID = L"Primitive";
const std::wstring XMatrixConversion::TypeID = L"MatrixConversion";
const std::wstring XIKSolver::TypeID = L"IKSolver";
const std::wstring XIKHandle::TypeID = L"IKHandle";

XIKSolver XIKHandle::Solver() const { return XIKSolver(Attribute(L"solver").ObjectRef()); }

}  // namespace VelX

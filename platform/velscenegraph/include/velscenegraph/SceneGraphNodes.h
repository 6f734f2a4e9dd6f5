#pragma once

#include <veldatabase/NodeDef.h>

#include <vector>

namespace db {
class Database;
}

// The node types of a character, animation and physics scene. Each type publishes its type name
// as a wide string (ClassID) and its node definition (Def). Types derive as the tool needs:
// Transform and Shape from RenderObject; cameras, joints, IK handles and physics bodies from
// Transform; meshes and primitives from Shape.
namespace sg {

#define VELX_SG_NODE(ClassName)                \
    struct ClassName {                         \
        static const wchar_t* const ClassID;   \
        static const db::NodeDef& Def;         \
    }

VELX_SG_NODE(ObjectNode);
VELX_SG_NODE(RenderObjectNode);
VELX_SG_NODE(TransformNode);
VELX_SG_NODE(CameraNode);
VELX_SG_NODE(CharacterNode);
VELX_SG_NODE(KinematicsCharacterNode);
VELX_SG_NODE(PhysicsCharacterNode);
VELX_SG_NODE(JointNode);
VELX_SG_NODE(JointLimitNode);
VELX_SG_NODE(IKHandleNode);
VELX_SG_NODE(PhysicsJointNode);
VELX_SG_NODE(PhysicsJointLimitNode);
VELX_SG_NODE(PhysicsConstraintNode);
VELX_SG_NODE(ShapeNode);
VELX_SG_NODE(MeshInstanceNode);
VELX_SG_NODE(PrimitiveNode);
VELX_SG_NODE(AnimationNode);
VELX_SG_NODE(MatrixConversionNode);
VELX_SG_NODE(IKSolverNode);
VELX_SG_NODE(CommandNode);
VELX_SG_NODE(ToolNode);
VELX_SG_NODE(ObjectControllerNode);
VELX_SG_NODE(ObjectGroupNode);
VELX_SG_NODE(SelectionGroupNode);
VELX_SG_NODE(DisplayGroupNode);
VELX_SG_NODE(CollisionGroupNode);
VELX_SG_NODE(SceneSettingsNode);
VELX_SG_NODE(AttributeEditorSettingsNode);
VELX_SG_NODE(CurveEditorSettingsNode);
VELX_SG_NODE(TimelineEditorSettingsNode);

#undef VELX_SG_NODE

// Attribute indices that other code relies on.
namespace Index {
constexpr int Message = 0;
constexpr int Visibility = 8;
constexpr int Colour = 9;
constexpr int TranslateX = 11;
constexpr int RotateX = 14;
constexpr int ParentMatrix = 17;
constexpr int LocalMatrix = 18;
constexpr int WorldMatrix = 19;
constexpr int ScaleX = 20;
constexpr int RotateOrder = 23;
constexpr int InheritsTransform = 24;

constexpr int AnimPreExtrapolation = 8;
constexpr int AnimPostExtrapolation = 9;
constexpr int AnimPreGradient = 10;
constexpr int AnimPostGradient = 11;
constexpr int AnimKeys = 12;
constexpr int AnimOutput = 13;
// Fields of one key.
constexpr int KeyTime = 0;
constexpr int KeyValue = 1;
constexpr int KeyInTangent = 2;
constexpr int KeyOutTangent = 3;
constexpr int KeyInSlope = 4;
constexpr int KeyOutSlope = 5;

constexpr int Frame = 8;
constexpr int StartFrame = 9;
constexpr int EndFrame = 10;
constexpr int PlaybackStartFrame = 11;
constexpr int PlaybackEndFrame = 12;
constexpr int FrameRate = 13;
constexpr int Plugins = 14;
constexpr int ScriptingLanguage = 15;
constexpr int StartScript = 25;
constexpr int UpdateScript = 26;
constexpr int EndScript = 27;
constexpr int PluginPath = 0;
constexpr int PluginLoadOnStartup = 1;
}  // namespace Index

// Every node type above, base types before derived ones.
const std::vector<const db::NodeDef*>& allNodeDefs();
// Registers every node type with a database.
void registerNodeTypes(db::Database& database);

}  // namespace sg

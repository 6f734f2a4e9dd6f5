// Node definitions of every scene object type. They are defined in this one file, base types
// first, so that each derived definition sees its base fully built.
#include <velscenegraph/AnimationEvaluator.h>
#include <velscenegraph/SceneGraphNodes.h>

#include "AttributeBuilder.h"

#include <veldatabase/Database.h>
#include <velutils/Matrix4.h>

#include <cmath>

namespace sg {

using namespace build;
using db::NodeDef;
using db::ValueType;

namespace {

constexpr int Linear = 2, Angular = 5, Time = 8, Mass = 9, Density = 10, Force = 11, Torque = 12,
              Stiffness = 13, Damping = 14, AngularStiffness = 15, AngularDamping = 16, Framerate = 17,
              Filename = 18, Acceleration = 4;

constexpr std::uint32_t Hierarchy = db::DefaultNodeTypeFlags;
constexpr std::uint32_t Leaf = db::Deletable | db::Reparentable | db::Renamable;
constexpr std::uint32_t Settings = db::SettingsType | db::HiddenFromExplorer;

db::AttrKey at(const db::Node& n, int index) { return db::AttrKey{n.id(), n.def().topLevelSlot(index)}; }
float readFloat(const db::Database& d, const db::Node& n, int index) {
    return static_cast<float>(d.value(at(n, index)).asDouble());
}

db::Value computeTransform(const db::Database& d, const db::Node& n, int slot) {
    using Velutils::Matrix4;
    switch (n.def().slot(slot).index) {
    case Index::ParentMatrix: {
        const db::Node* p = d.node(n.parent());
        if (p && p->isOfType(TransformNode::Def) && d.value(at(n, Index::InheritsTransform)).asBool()) {
            db::Value world = d.value(at(*p, Index::WorldMatrix));
            if (world.is<Matrix4>()) return world;
        }
        return Matrix4::identity();
    }
    case Index::LocalMatrix: {
        Velutils::Vec3 t{readFloat(d, n, Index::TranslateX), readFloat(d, n, Index::TranslateX + 1),
                         readFloat(d, n, Index::TranslateX + 2)};
        Velutils::Vec3 r{readFloat(d, n, Index::RotateX), readFloat(d, n, Index::RotateX + 1),
                         readFloat(d, n, Index::RotateX + 2)};
        Velutils::Vec3 s{readFloat(d, n, Index::ScaleX), readFloat(d, n, Index::ScaleX + 1),
                         readFloat(d, n, Index::ScaleX + 2)};
        int order = d.value(at(n, Index::RotateOrder)).asInt();
        if (order < 0 || order > 5) order = 0;
        return Matrix4::fromTranslateRotateScale(t, r, s, static_cast<Velutils::RotateOrder>(order));
    }
    case Index::WorldMatrix: {
        db::Value local = d.value(at(n, Index::LocalMatrix));
        db::Value parent = d.value(at(n, Index::ParentMatrix));
        return local.get<Matrix4>() * parent.get<Matrix4>();
    }
    default: return {};
    }
}

db::Value computeAnimation(const db::Database& d, const db::Node& n, int slot) {
    const int index = n.def().slot(slot).index;
    if (index == Index::AnimOutput) return AnimationEvaluator::output(d, n);
    AnimationCurve curve = AnimationEvaluator::curve(d, n.id());
    switch (index) {
    case Index::AnimPreGradient: return curve.preGradient();
    case Index::AnimPostGradient: return curve.postGradient();
    case Index::AnimOutput: return curve.evaluate(AnimationEvaluator::currentTime(d));
    default: return {};
    }
}

// Splits a matrix into translation, XYZ rotation and scale.
db::Value computeMatrixConversion(const db::Database& d, const db::Node& n, int slot) {
    db::Value in = d.value(at(n, 8));
    Velutils::Matrix4 m = in.is<Velutils::Matrix4>() ? in.get<Velutils::Matrix4>() : Velutils::Matrix4::identity();
    int index = n.def().slot(slot).index;
    float scale[3];
    for (int r = 0; r < 3; ++r)
        scale[r] = std::sqrt(m.m[r][0] * m.m[r][0] + m.m[r][1] * m.m[r][1] + m.m[r][2] * m.m[r][2]);
    if (index >= 9 && index <= 11) return m.m[3][index - 9];
    if (index >= 15 && index <= 17) return scale[index - 15];
    float rot[3][3];
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) rot[r][c] = scale[r] > 1e-12f ? m.m[r][c] / scale[r] : 0.0f;
    float y = std::asin(std::fmax(-1.0f, std::fmin(1.0f, -rot[0][2])));
    float x, z;
    if (std::fabs(rot[0][2]) < 0.99999f) {
        x = std::atan2(rot[1][2], rot[2][2]);
        z = std::atan2(rot[0][1], rot[0][0]);
    } else {  // gimbal lock: fold the whole rotation into X
        x = std::atan2(-rot[2][1], rot[1][1]);
        z = 0.0f;
    }
    const float angles[3] = {x, y, z};
    return angles[index - 12];
}

std::vector<db::AttributeDef> objectAttributes() {
    db::AttributeDef message = attr("message", ValueType::ObjectRef, static_cast<std::int32_t>(-1), 0, db::Internal);
    return {message,
            choice("nodeState", {"normal", "hasNoEffect", "blocking"}),
            boolean("frozen", false),
            boolean("locked", false),
            text("notes"),
            boolean("caching", false),
            boolean("hiddenInExplorer", false),
            text("tag")};
}

std::vector<db::AttributeDef> transformAttributes() {
    db::AttributeDef parentMatrix = matrixOutput("parentMatrix");
    parentMatrix.parentSlot = Index::WorldMatrix;
    // The parent matrix follows the parent's world matrix and the local one the node's own values:
    // neither is made from the node's other matrices.
    parentMatrix.flags |= db::FromOwnValues;
    db::AttributeDef localMatrix = matrixOutput("localMatrix");
    localMatrix.flags |= db::FromOwnValues;
    return {real("translateX", 0, Linear), real("translateY", 0, Linear), real("translateZ", 0, Linear),
            real("rotateX", 0, Angular), real("rotateY", 0, Angular), real("rotateZ", 0, Angular),
            parentMatrix, localMatrix, matrixOutput("worldMatrix"),
            real("scaleX", 1), real("scaleY", 1), real("scaleZ", 1),
            choice("rotateOrder", {"xyz", "xzy", "yzx", "yxz", "zxy", "zyx"}),
            boolean("inheritsTransform", true),
            boolean("displayHandle", false)};
}

db::AttributeDef keyElement() {
    const std::initializer_list<const char*> tangents = {"fixed", "linear", "flat", "step", "smooth"};
    return arrayOf(compound("keys", {real("time", 0, 0, db::DefaultFlags), real("value", 0, 0, db::DefaultFlags),
                                     choice("inTangent", tangents, 4), choice("outTangent", tangents, 4),
                                     real("inSlope", 0, 0, db::DefaultFlags), real("outSlope", 0, 0, db::DefaultFlags)}));
}

std::vector<db::AttributeDef> groupAttributes() {
    return {text("label"),          boolean("active", true),    boolean("editable", true),
            boolean("expanded", true), boolean("focused", false), boolean("selectable", true),
            boolean("visible", true),  boolean("folder", false),  boolean("separator", false),
            colour("groupColour", 0.5f, 0.5f, 0.5f), arrayOf(reference("objects"))};
}

const std::initializer_list<const char*> extrapolations = {"constant", "linear", "cycle", "oscillate"};

}  // namespace

#define VELX_DEFINE(ClassName, TypeName, ...)                              \
    const wchar_t* const ClassName::ClassID = L##TypeName;                 \
    static const NodeDef ClassName##Storage(TypeName, __VA_ARGS__);        \
    const NodeDef& ClassName::Def = ClassName##Storage;

VELX_DEFINE(ObjectNode, "Object", nullptr, objectAttributes(), Leaf | db::Abstract)
VELX_DEFINE(RenderObjectNode, "RenderObject", &ObjectNodeStorage,
            {boolean("visibility", true, Anim), colour("colour", 0.6f, 0.6f, 0.6f),
             choice("displayMode", {"normal", "template", "reference"})},
            Hierarchy | db::Abstract, "Render Object")
VELX_DEFINE(TransformNode, "Transform", &RenderObjectNodeStorage, transformAttributes(), Hierarchy, "Transform",
            computeTransform)
VELX_DEFINE(CameraNode, "Camera", &TransformNodeStorage,
            {real("focalLength", 35), real("nearClip", 0.01f, Linear), real("farClip", 1000, Linear),
             boolean("orthographic", false), real("orthographicWidth", 10, Linear),
             real("horizontalAperture", 36), real("verticalAperture", 24)})
VELX_DEFINE(CharacterNode, "Character", &TransformNodeStorage,
            {reference("rootJoint", "Joint"), real("totalMass", 75, Mass), real("height", 1.8f, Linear),
             choice("upAxis", {"yAxis", "zAxis"})})
VELX_DEFINE(KinematicsCharacterNode, "KinematicsCharacter", &TransformNodeStorage,
            {reference("rootJoint", "Joint"), boolean("ikEnabled", true), integer("solverIterations", 10),
             real("blendWeight", 1)},
            Hierarchy, "Kinematics Character")
VELX_DEFINE(PhysicsCharacterNode, "PhysicsCharacter", &TransformNodeStorage,
            {reference("rootBody", "PhysicsJoint"), real("totalMass", 75, Mass), real("gravityScale", 1),
             boolean("selfCollision", false), real("motorStrength", 1)},
            Hierarchy, "Physics Character")
VELX_DEFINE(JointNode, "Joint", &TransformNodeStorage,
            {real("jointOrientX", 0, Angular), real("jointOrientY", 0, Angular), real("jointOrientZ", 0, Angular),
             real("preferredAngleX", 0, Angular), real("preferredAngleY", 0, Angular),
             real("preferredAngleZ", 0, Angular), real("radius", 0.05f, Linear),
             boolean("segmentScaleCompensate", true), reference("limit", "JointLimit")})
VELX_DEFINE(JointLimitNode, "JointLimit", &TransformNodeStorage,
            {boolean("limitX", true), boolean("limitY", true), boolean("limitZ", true),
             real("minRotateX", -1.5707964f, Angular), real("minRotateY", -1.5707964f, Angular),
             real("minRotateZ", -1.5707964f, Angular), real("maxRotateX", 1.5707964f, Angular),
             real("maxRotateY", 1.5707964f, Angular), real("maxRotateZ", 1.5707964f, Angular)},
            Hierarchy, "Joint Limit")
VELX_DEFINE(IKHandleNode, "IKHandle", &TransformNodeStorage,
            {reference("startJoint", "Joint"), reference("endJoint", "Joint"), reference("solver", "IKSolver"),
             real("poleVectorX", 0, Linear), real("poleVectorY", 1, Linear), real("poleVectorZ", 0, Linear),
             real("twist", 0, Angular), real("weight", 1), boolean("stickiness", false)},
            Hierarchy, "IK Handle")
VELX_DEFINE(PhysicsJointNode, "PhysicsJoint", &TransformNodeStorage,
            {reference("drivenJoint", "Joint"), choice("shape", {"capsule", "box", "sphere"}),
             real("mass", 1, Mass), real("density", 1000, Density), real("shapeRadius", 0.05f, Linear),
             real("shapeLength", 0.3f, Linear), real("friction", 0.5f), real("restitution", 0.1f),
             real("linearDamping", 0.05f, Damping), real("angularDamping", 0.05f, AngularDamping),
             reference("limit", "PhysicsJointLimit")},
            Hierarchy, "Physics Joint")
VELX_DEFINE(PhysicsJointLimitNode, "PhysicsJointLimit", &TransformNodeStorage,
            {real("swing1Limit", 0.7853982f, Angular), real("swing2Limit", 0.7853982f, Angular),
             real("twistMin", -0.5235988f, Angular), real("twistMax", 0.5235988f, Angular),
             real("stiffness", 50, AngularStiffness), real("damping", 2, AngularDamping)},
            Hierarchy, "Physics Joint Limit")
VELX_DEFINE(PhysicsConstraintNode, "PhysicsConstraint", &TransformNodeStorage,
            {reference("body1", "PhysicsJoint"), reference("body2", "PhysicsJoint"),
             choice("constraintType", {"fixed", "point", "hinge", "spring"}),
             attr("targetMatrix", ValueType::Matrix, Velutils::Matrix4::identity()),
             real("linearStiffness", 1000, Stiffness), real("linearDamping", 10, Damping),
             real("angularStiffness", 500, AngularStiffness), real("angularDamping", 5, AngularDamping),
             real("breakForce", 10000, Force), real("breakTorque", 10000, Torque), boolean("enabled", true, Anim)},
            Hierarchy, "Physics Constraint")
VELX_DEFINE(ShapeNode, "Shape", &RenderObjectNodeStorage,
            {boolean("castsShadows", true), boolean("receivesShadows", true), text("material", "default"),
             boolean("wireframe", false)},
            Leaf | db::Abstract)
VELX_DEFINE(MeshInstanceNode, "MeshInstance", &ShapeNodeStorage,
            {text("meshFile", "", Filename), integer("subdivisionLevel", 0), boolean("smoothShading", true),
             integer("vertexCount", 0, db::Visible)},
            Leaf, "Mesh Instance")
VELX_DEFINE(PrimitiveNode, "Primitive", &ShapeNodeStorage,
            {choice("primitiveType", {"box", "sphere", "capsule", "cylinder", "plane", "cone"}),
             real("width", 1, Linear), real("height", 1, Linear), real("depth", 1, Linear),
             real("radius", 0.5f, Linear), integer("segments", 16)},
            Leaf)
VELX_DEFINE(AnimationNode, "Animation", &ObjectNodeStorage,
            {choice("preExtrapolation", extrapolations), choice("postExtrapolation", extrapolations),
             realOutput("preGradient"), realOutput("postGradient"), keyElement(),
             [] {
                 db::AttributeDef out = realOutput("output");
                 out.flags |= db::TimeDependent | db::NumericOutput;
                 return out;
             }()},
            Leaf, "Animation", computeAnimation)
VELX_DEFINE(MatrixConversionNode, "MatrixConversion", &ObjectNodeStorage,
            {attr("inputMatrix", ValueType::Matrix, Velutils::Matrix4::identity()),
             realOutput("translateX", Linear), realOutput("translateY", Linear), realOutput("translateZ", Linear),
             realOutput("rotateX", Angular), realOutput("rotateY", Angular), realOutput("rotateZ", Angular),
             realOutput("scaleX"), realOutput("scaleY"), realOutput("scaleZ")},
            Leaf, "Matrix Conversion", computeMatrixConversion)
VELX_DEFINE(IKSolverNode, "IKSolver", &ObjectNodeStorage,
            {choice("solverType", {"singleChain", "rotatePlane", "fullBody"}, 1), integer("maxIterations", 20),
             real("tolerance", 1e-4f, Linear)},
            Leaf, "IK Solver")
VELX_DEFINE(CommandNode, "Command", &ObjectNodeStorage, {text("commandName"), text("description")}, Leaf)
VELX_DEFINE(ToolNode, "Tool", &ObjectNodeStorage,
            {text("toolName"), choice("space", {"world", "object", "parent"}), boolean("snapping", false),
             real("snapIncrement", 1), real("handleSize", 1)},
            Leaf)
VELX_DEFINE(ObjectControllerNode, "ObjectController", &ObjectNodeStorage,
            {reference("target"), boolean("enabled", true), real("weight", 1)}, Leaf, "Object Controller")
VELX_DEFINE(ObjectGroupNode, "ObjectGroup", &ObjectNodeStorage, groupAttributes(), Hierarchy | db::Abstract,
            "Object Group")
VELX_DEFINE(SelectionGroupNode, "SelectionGroup", &ObjectGroupNodeStorage, {}, Hierarchy, "Selection Group")
VELX_DEFINE(DisplayGroupNode, "DisplayGroup", &ObjectGroupNodeStorage, {}, Hierarchy, "Display Group")
VELX_DEFINE(CollisionGroupNode, "CollisionGroup", &ObjectGroupNodeStorage, {boolean("collidesWithSelf", false)},
            Hierarchy, "Collision Group")
VELX_DEFINE(SceneSettingsNode, "SceneSettings", &ObjectNodeStorage,
            {real("frame", 1, 0, db::DefaultFlags), real("startFrame", 1, 0, db::DefaultFlags),
             real("endFrame", 120, 0, db::DefaultFlags), real("playbackStartFrame", 1, 0, db::DefaultFlags),
             real("playbackEndFrame", 120, 0, db::DefaultFlags), real("frameRate", 30, Framerate, db::DefaultFlags),
             arrayOf(compound("plugins", {text("path", "", Filename), boolean("loadOnStartup", false)})),
             choice("scriptingLanguage", {"python", "lua"}, 1),
             real("gravityX", 0, Acceleration, db::DefaultFlags), real("gravityY", -9.81f, Acceleration, db::DefaultFlags),
             real("gravityZ", 0, Acceleration, db::DefaultFlags), integer("simulationSubsteps", 4),
             integer("solverIterations", 8), boolean("simulationEnabled", true), boolean("loopPlayback", true),
             real("playbackSpeed", 1, 0, db::DefaultFlags), real("timeStep", 0.0333333f, Time, db::DefaultFlags),
             text("startScript"), text("updateScript"), text("endScript")},
            Settings, "Scene Settings")
VELX_DEFINE(AttributeEditorSettingsNode, "AttributeEditorSettings", &ObjectNodeStorage,
            {choice("displayMode", {"ActiveSelection", "ActiveTool", "ActiveCommand"})}, Settings,
            "Attribute Editor Settings")
VELX_DEFINE(CurveEditorSettingsNode, "CurveEditorSettings", &ObjectNodeStorage,
            {real("horizontalRangeStart", -5, 0, db::DefaultFlags), real("horizontalRangeEnd", 77, 0, db::DefaultFlags),
             boolean("horizontalSnapping", false), real("horizontalSnapTolerance", 1, 0, db::DefaultFlags),
             real("verticalRangeStart", -100, 0, db::DefaultFlags), real("verticalRangeEnd", 100, 0, db::DefaultFlags),
             boolean("verticalSnapping", false), real("verticalSnapTolerance", 1, 0, db::DefaultFlags)},
            Settings, "Curve Editor Settings")
VELX_DEFINE(TimelineEditorSettingsNode, "TimelineEditorSettings", &ObjectNodeStorage,
            {boolean("snapToFrames", false)}, Settings, "Timeline Editor Settings")

// Built-in objects of every scene, one of each type, hidden from the explorer: the root of each kind
// of object group, the manipulator tools (tool indices 3 to 6) and the commands with their parameters.
constexpr std::uint32_t BuiltIn = db::SettingsType | db::HiddenFromExplorer;
static const NodeDef SelectionGroupsStorage("SelectionGroups", &SelectionGroupNodeStorage, {},
                                            BuiltIn | db::SupportsChildren, "Selection Groups");
static const NodeDef DisplayGroupsStorage("DisplayGroups", &DisplayGroupNodeStorage, {},
                                          BuiltIn | db::SupportsChildren, "Display Groups");
static const NodeDef CollisionGroupsStorage("CollisionGroups", &CollisionGroupNodeStorage, {},
                                            BuiltIn | db::SupportsChildren, "Collision Groups");
static const NodeDef TranslateToolStorage("TranslateTool", &ToolNodeStorage,
                                          {choice("axis", {"free", "x", "y", "z", "xy", "yz", "xz"}),
                                           boolean("preserveChildren", false)},
                                          BuiltIn, "Translate Tool");
static const NodeDef RotateToolStorage("RotateTool", &ToolNodeStorage,
                                       {choice("axis", {"free", "x", "y", "z", "view"}),
                                        boolean("useJointLimits", true)},
                                       BuiltIn, "Rotate Tool");
static const NodeDef ScaleToolStorage("ScaleTool", &ToolNodeStorage,
                                      {choice("axis", {"uniform", "x", "y", "z"}), boolean("preserveChildren", false)},
                                      BuiltIn, "Scale Tool");
static const NodeDef IKDragToolStorage("IKDragTool", &ToolNodeStorage,
                                       {integer("chainLength", 3), integer("iterations", 10),
                                        boolean("useJointLimits", true), boolean("pinRoot", true)},
                                       BuiltIn, "IK Drag Tool");
static const NodeDef CreateJointChainCommandStorage("CreateJointChainCommand", &CommandNodeStorage,
                                                    {integer("jointCount", 3), real("length", 1, Linear, db::DefaultFlags),
                                                     choice("axis", {"x", "y", "z"}), text("baseName", "joint"),
                                                     boolean("underSelection", true)},
                                                    BuiltIn, "Create Joint Chain Command");
static const NodeDef MirrorJointsCommandStorage("MirrorJointsCommand", &CommandNodeStorage,
                                                {choice("axis", {"x", "y", "z"}), text("searchFor", "Left"),
                                                 text("replaceWith", "Right")},
                                                BuiltIn, "Mirror Joints Command");

#undef VELX_DEFINE

const std::vector<const db::NodeDef*>& allNodeDefs() {
    static const std::vector<const db::NodeDef*> defs = {
        &ObjectNode::Def, &RenderObjectNode::Def, &TransformNode::Def, &CameraNode::Def, &CharacterNode::Def,
        &KinematicsCharacterNode::Def, &PhysicsCharacterNode::Def, &JointNode::Def, &JointLimitNode::Def,
        &IKHandleNode::Def, &PhysicsJointNode::Def, &PhysicsJointLimitNode::Def, &PhysicsConstraintNode::Def,
        &ShapeNode::Def, &MeshInstanceNode::Def, &PrimitiveNode::Def, &AnimationNode::Def,
        &MatrixConversionNode::Def, &IKSolverNode::Def, &CommandNode::Def, &ToolNode::Def,
        &ObjectControllerNode::Def, &ObjectGroupNode::Def, &SelectionGroupNode::Def, &DisplayGroupNode::Def,
        &CollisionGroupNode::Def, &SceneSettingsNode::Def, &AttributeEditorSettingsNode::Def,
        &CurveEditorSettingsNode::Def, &TimelineEditorSettingsNode::Def,
        &SelectionGroupsStorage, &DisplayGroupsStorage, &CollisionGroupsStorage, &TranslateToolStorage,
        &RotateToolStorage, &ScaleToolStorage, &IKDragToolStorage, &CreateJointChainCommandStorage,
        &MirrorJointsCommandStorage};
    return defs;
}

void registerNodeTypes(db::Database& database) {
    for (const db::NodeDef* def : allNodeDefs()) database.registerType(*def);
}

}  // namespace sg

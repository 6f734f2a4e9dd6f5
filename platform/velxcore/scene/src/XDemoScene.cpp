#include <velxcore/XAnimation.h>
#include <velxcore/XDemoScene.h>
#include <velxcore/XCollisionGroupPolicy.h>
#include <velxcore/XDisplayGroupPolicy.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XSelectionGroupPolicy.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneSettings.h>

#include <veldatabase/Database.h>

namespace VelX {

namespace {

struct Builder {
    XScene& scene;
    XDatabase& database;

    XObject make(const std::wstring& type, const std::wstring& name, const XObject& parent = XObject()) {
        return database.CreateObject(type, name, parent);
    }
    static void place(XObject& o, float x, float y, float z) {
        o.Attribute(L"translateX").SetFloat(x);
        o.Attribute(L"translateY").SetFloat(y);
        o.Attribute(L"translateZ").SetFloat(z);
    }
    static void tint(XObject& o, float r, float g, float b) {
        XAttribute c = XRenderObject(o).Colour();
        c.Attribute(0).SetFloat(r);
        c.Attribute(1).SetFloat(g);
        c.Attribute(2).SetFloat(b);
    }
    XObject joint(const std::wstring& name, const XObject& parent, float x, float y, float z) {
        XObject j = make(XJoint::TypeID, name, parent);
        place(j, x, y, z);
        tint(j, 0.9f, 0.8f, 0.2f);
        return j;
    }
    XObject limit(XObject& j, float minDegrees, float maxDegrees) {
        XObject l = make(XJointLimit::TypeID, j.Name() + L"Limit", j);
        const float toRadians = 0.017453292f;
        for (const wchar_t* axis : {L"X", L"Y", L"Z"}) {
            l.Attribute(std::wstring(L"minRotate") + axis).SetFloat(minDegrees * toRadians);
            l.Attribute(std::wstring(L"maxRotate") + axis).SetFloat(maxDegrees * toRadians);
        }
        j.Attribute(L"limit").SetObjectRef(l);
        return l;
    }
    void keys(XObject& o, const wchar_t* attribute, std::initializer_list<std::pair<float, float>> frameValues) {
        XSceneSettings settings = scene.SceneSettings();
        XAttribute a = o.Attribute(attribute);
        for (const auto& [frame, value] : frameValues) {
            settings.SetFrame(frame);
            a.SetFloat(value);  // ignored once animated: the key below carries the value
            XKeyframe k = a.SetKeyframe();
            k.SetOutputValue(value);
        }
    }
};

}  // namespace

void XDemoScene::build(XScene& scene) {
    XDatabase& database = scene.Database();
    Builder b{scene, database};
    database.BeginChangeBlock();

    // The character and its skeleton.
    XObject hero = b.make(XCharacter::TypeID, L"Hero");
    XObject hips = b.joint(L"Hips", hero, 0, 1.0f, 0);
    XObject spine = b.joint(L"Spine", hips, 0, 0.15f, 0);
    XObject chest = b.joint(L"Chest", spine, 0, 0.2f, 0);
    XObject neck = b.joint(L"Neck", chest, 0, 0.2f, 0);
    XObject head = b.joint(L"Head", neck, 0, 0.1f, 0);
    XObject shoulders[2], elbows[2], wrists[2], hipJoints[2], knees[2], ankles[2];
    const wchar_t* sides[2] = {L"Left", L"Right"};
    for (int s = 0; s < 2; ++s) {
        float sign = s == 0 ? 1.0f : -1.0f;
        std::wstring side = sides[s];
        shoulders[s] = b.joint(side + L"Shoulder", chest, 0.18f * sign, 0.15f, 0);
        elbows[s] = b.joint(side + L"Elbow", shoulders[s], 0.28f * sign, 0, 0);
        wrists[s] = b.joint(side + L"Wrist", elbows[s], 0.25f * sign, 0, 0);
        hipJoints[s] = b.joint(side + L"Hip", hips, 0.1f * sign, -0.05f, 0);
        knees[s] = b.joint(side + L"Knee", hipJoints[s], 0, -0.45f, 0);
        ankles[s] = b.joint(side + L"Ankle", knees[s], 0, -0.42f, 0);
        b.limit(elbows[s], 0.0f, 150.0f);
        b.limit(knees[s], -150.0f, 0.0f);
    }
    b.limit(neck, -45.0f, 45.0f);
    hero.Attribute(L"rootJoint").SetObjectRef(hips);

    // Meshes and primitives.
    XObject body = b.make(XMeshInstance::TypeID, L"BodyMesh", hero);
    body.Attribute(L"meshFile").SetString(L"meshes/hero_body.obj");
    body.Attribute(L"subdivisionLevel").SetInteger(1);
    XObject headShape = b.make(XPrimitive::TypeID, L"HeadShape", head);
    headShape.Attribute(L"primitiveType").SetEnumeration(L"sphere");
    headShape.Attribute(L"radius").SetFloat(0.12f);
    Builder::tint(headShape, 0.95f, 0.75f, 0.6f);
    XObject ground = b.make(XTransform::TypeID, L"Ground");
    XObject plane = b.make(XPrimitive::TypeID, L"GroundPlane", ground);
    plane.Attribute(L"primitiveType").SetEnumeration(L"plane");
    plane.Attribute(L"width").SetFloat(20.0f);
    plane.Attribute(L"depth").SetFloat(20.0f);
    Builder::tint(plane, 0.35f, 0.45f, 0.35f);

    // Inverse kinematics: a handle on each arm sharing one solver.
    XObject solver = b.make(XIKSolver::TypeID, L"ArmSolver");
    for (int s = 0; s < 2; ++s) {
        XObject handle = b.make(XIKHandle::TypeID, std::wstring(sides[s]) + L"ArmIK", hero);
        Builder::place(handle, s == 0 ? 0.7f : -0.7f, 1.5f, 0.1f);
        handle.Attribute(L"startJoint").SetObjectRef(shoulders[s]);
        handle.Attribute(L"endJoint").SetObjectRef(wrists[s]);
        handle.Attribute(L"solver").SetObjectRef(solver);
    }
    XObject rig = b.make(XKinematicsCharacter::TypeID, L"HeroRig");
    rig.Attribute(L"rootJoint").SetObjectRef(hips);

    // Physics: bodies following the skeleton, a limit and a constraint driven by a target.
    XObject physics = b.make(XPhysicsCharacter::TypeID, L"HeroPhysics");
    XObject hipsBody = b.make(XPhysicsJoint::TypeID, L"HipsBody", physics);
    hipsBody.Attribute(L"drivenJoint").SetObjectRef(hips);
    hipsBody.Attribute(L"mass").SetFloat(12.0f);
    XObject spineBody = b.make(XPhysicsJoint::TypeID, L"SpineBody", hipsBody);
    spineBody.Attribute(L"drivenJoint").SetObjectRef(spine);
    spineBody.Attribute(L"mass").SetFloat(9.5f);
    XObject spineLimit = b.make(XPhysicsJointLimit::TypeID, L"SpineBodyLimit", spineBody);
    spineBody.Attribute(L"limit").SetObjectRef(spineLimit);
    physics.Attribute(L"rootBody").SetObjectRef(hipsBody);
    XObject target = b.make(XTransform::TypeID, L"HandTarget");
    Builder::place(target, 0.6f, 1.2f, 0.4f);
    Builder::tint(target, 0.9f, 0.2f, 0.2f);
    XObject constraint = b.make(XPhysicsConstraint::TypeID, L"HandConstraint", physics);
    constraint.Attribute(L"body1").SetObjectRef(hipsBody);
    constraint.Attribute(L"body2").SetObjectRef(spineBody);
    constraint.Attribute(L"constraintType").SetEnumeration(L"spring");
    constraint.Attribute(L"targetMatrix").ConnectInputTo(XTransform(target).WorldMatrix());

    // A head tracker: the head's world matrix split into channels that drive a look-at marker.
    XObject tracker = b.make(XMatrixConversion::TypeID, L"HeadTracker");
    tracker.Attribute(L"inputMatrix").ConnectInputTo(XTransform(head).WorldMatrix());
    XObject lookAt = b.make(XTransform::TypeID, L"LookAtMarker");
    lookAt.Attribute(L"translateY").ConnectInputTo(tracker.Attribute(L"translateY"));
    lookAt.Attribute(L"translateZ").SetFloat(2.0f);

    XObject camera = b.make(XCamera::TypeID, L"MainCamera");
    Builder::place(camera, 0.0f, 1.6f, 5.0f);
    camera.Attribute(L"focalLength").SetFloat(50.0f);

    // Animation: a walk-like bob, a swaying spine, a bending elbow and a moving target.
    b.keys(hips, L"translateY", {{1, 1.0f}, {15, 0.95f}, {30, 1.0f}, {45, 0.95f}, {60, 1.0f}});
    b.keys(spine, L"rotateX", {{1, 0.0f}, {30, 0.15f}, {60, 0.0f}, {90, -0.15f}, {120, 0.0f}});
    b.keys(elbows[0], L"rotateY", {{1, 0.2f}, {40, 1.4f}, {80, 0.6f}, {120, 0.2f}});
    b.keys(target, L"translateX", {{1, 0.6f}, {60, 0.2f}, {120, 0.6f}});
    XAnimation bob = hips.Attribute(L"translateY").Animation();
    bob.PostExtrapolation().SetEnumeration(L"cycle");

    // Groups of the three kinds, under the scene's root group of each kind.
    XObjectGroup leftArm = scene.SelectionGroups().CreateChildGroup(L"Left Arm");
    leftArm.AddObjects({shoulders[0], elbows[0], wrists[0]}, XSelectionGroupPolicy());
    XObjectGroup rigFolder = scene.DisplayGroups().CreateChildFolder(L"Rig");
    XObjectGroup skeleton = rigFolder.CreateChildGroup(L"Skeleton");
    skeleton.AddObjects({hips, spine, chest, neck, head}, XDisplayGroupPolicy());
    rigFolder.CreateChildSeparator();
    XObjectGroup helpers = rigFolder.CreateChildGroup(L"Helpers");
    helpers.AddObjects({target, lookAt}, XDisplayGroupPolicy());
    XObjectGroup bodies = scene.CollisionGroups().CreateChildGroup(L"Bodies");
    bodies.AddObjects({hipsBody, spineBody}, XCollisionGroupPolicy());

    // Simulation scripts, in Lua.
    XSceneSettings settings = scene.SceneSettings();
    settings.ScriptingLanguage().SetEnumeration(1);
    settings.StartScript().SetString(L"velx.log(\"Simulation started\")\n");
    settings.UpdateScript().SetString(
        L"local hips = velx.find(\"Hero/Hips\")\n"
        L"if hips then velx.set(hips, \"rotateY\", velx.frame() * 0.01) end\n");
    settings.EndScript().SetString(L"velx.log(\"Simulation ended\")\n");
    settings.SetFrame(1.0f);

    database.EndChangeBlock(L"Build Demo Scene");
    database.db().clearUndo();
}

}  // namespace VelX

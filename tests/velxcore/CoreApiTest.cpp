#include <velxcore/XAnimation.h>
#include <velxcore/XApplication.h>
#include <velxcore/XDemoScene.h>
#include <velxcore/XLog.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneChange.h>
#include <velxcore/XSceneObserver.h>
#include <velxcore/XSceneSettings.h>
#include <velxcore/XUnits.h>

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

using namespace VelX;

namespace {

// Records the order of the notifications a scene sends.
class RecordingObserver : public XSceneObserver {
public:
    explicit RecordingObserver(const XScene* bound = nullptr) : m_bound(bound) {
        XApplication::Instance().AddSceneObserver(this);
    }
    ~RecordingObserver() override { XApplication::Instance().RemoveSceneObserver(this); }
    void OnSceneChanged(const XSceneChange& change, bool) override {
        events.push_back(change.IsTimeChange() ? "time-change" : "change");
        lastTimeChange = change.IsTimeChange();
    }
    void OnSceneSelectionChanged(XScene&, bool) override { events.push_back("selection"); }
    void OnSceneTimeChanged(XScene&, bool) override { events.push_back("time"); }
    const XScene* ObservedScene() const override { return m_bound; }
    std::vector<std::string> events;
    bool lastTimeChange = false;

private:
    const XScene* m_bound;
};

XObject transform(XScene& scene, const wchar_t* name, const XObject& parent = XObject()) {
    return scene.Database().CreateObject(XTransform::TypeID, name, parent);
}

}  // namespace

TEST(CoreLog, LinesAreCutAndTheHistoryKeepsTheLatestWithinItsCaps) {
    std::vector<std::wstring> heard;
    XLog::SetSink([&](const std::wstring& text, XLog::Level) { heard.push_back(text); });
    XLog::Write(std::string(1 << 20, 'x'));
    XLog::Write(std::wstring(100000, L'y'));
    for (const std::wstring& line : {XLog::Lines()[XLog::Lines().size() - 2], XLog::Lines().back()}) {
        EXPECT_LT(line.size(), 16u * 1024u + 100u);
        EXPECT_NE(line.find(L"left out)"), std::wstring::npos);
    }
    ASSERT_EQ(heard.size(), 2u);
    EXPECT_EQ(heard.back(), XLog::Lines().back()) << "what the application shows is what the history keeps";
    XLog::SetSink(nullptr);

    for (int i = 0; i < 25000; ++i) XLog::Write("line " + std::to_string(i));
    EXPECT_LE(XLog::Lines().size(), 10000u);
    EXPECT_EQ(XLog::Lines().back(), L"line 24999");
    for (int i = 0; i < 1000; ++i) XLog::Write(std::string(15000, 'z'));
    std::size_t characters = 0;
    for (const std::wstring& line : XLog::Lines()) characters += line.size();
    EXPECT_LE(characters, 4u * 1024u * 1024u);
    EXPECT_EQ(XLog::Lines().back(), std::wstring(15000, L'z'));
}

TEST(CoreHandles, RootSettingsAndPaths) {
    XScene scene;
    XObject root = scene.RootObject();
    EXPECT_EQ(root.ObjectID(), 0);
    EXPECT_EQ(root.Path(), L"");
    EXPECT_FALSE(root.SupportsDeletion());
    // One object of each settings type, at top level, named by its type.
    for (const wchar_t* type : {L"SceneSettings", L"AttributeEditorSettings", L"CurveEditorSettings", L"TimelineEditorSettings"}) {
        XObject o = scene.Database().Object(type);
        ASSERT_TRUE(o.IsValid()) << std::string(type, type + wcslen(type));
        EXPECT_EQ(o.Path(), type);
        EXPECT_EQ(o.ObjectType(), type);
    }
    XObject curves = scene.Database().Object(L"CurveEditorSettings");
    EXPECT_FLOAT_EQ(curves.Attribute(8).Float(), -5.0f);
    EXPECT_FLOAT_EQ(curves.Attribute(9).Float(), 77.0f);
    EXPECT_FLOAT_EQ(curves.Attribute(13).Float(), 100.0f);

    XObject hero = transform(scene, L"Hero");
    XObject hips = transform(scene, L"Hips", hero);
    XObject spine = transform(scene, L"Spine", hips);
    EXPECT_EQ(spine.Path(), L"Hero/Hips/Spine");
    EXPECT_EQ(scene.Database().Object(L"Hero/Hips/Spine"), spine);
    EXPECT_EQ(hero.Parent(), root);
    EXPECT_TRUE(spine.IsChildOf(hips));
    EXPECT_FALSE(spine.IsChildOf(hero));
    EXPECT_EQ(spine.FindAncestor(XTransform::TypeID, XComparisonMode::ExactType), hips);

    XAttribute tx(scene.Database(), L"Hero/Hips.translateX");
    ASSERT_TRUE(tx.IsValid());
    EXPECT_EQ(tx.Path(), L"Hero/Hips.translateX");
    EXPECT_EQ(tx.DisplayName(), L"Translate X");
    EXPECT_EQ(scene.Database().Attribute(tx.AttributeID()), tx);
    XAttribute red(scene.Database(), L"Hero.colour.r");
    ASSERT_TRUE(red.IsValid());
    EXPECT_EQ(red.ParentAttribute(), XRenderObject(hero).Colour());
    XAttribute pluginPath(scene.Database(), L"SceneSettings.plugins[0].path");
    EXPECT_FALSE(pluginPath.IsValid());  // no element yet
    scene.SceneSettings().Plugins().SetArraySize(2);
    XAttribute second(scene.Database(), L"SceneSettings.plugins[1].path");
    ASSERT_TRUE(second.IsValid());
    second.SetString(L"/opt/plugins/cloth.so");
    EXPECT_EQ(scene.SceneSettings().Plugins().Attribute(1).Attribute(0).String(), L"/opt/plugins/cloth.so");
    EXPECT_EQ(second.Path(), L"SceneSettings.plugins[1].path");
}

TEST(CoreHandles, NamesAreSanitisedAndUniqueAndHandlesSurviveDeletion) {
    XScene scene;
    XObject a = transform(scene, L"joint");
    XObject b = transform(scene, L"joint");
    XObject c = transform(scene, L"my joint!");
    EXPECT_EQ(a.Name(), L"joint");
    EXPECT_EQ(b.Name(), L"joint1");
    EXPECT_EQ(c.Name(), L"my_joint_");
    EXPECT_EQ(b.SetName(L"joint"), L"joint1");  // taken by a sibling
    XObject child = transform(scene, L"joint", a);
    EXPECT_EQ(child.Name(), L"joint");  // unique among siblings only

    int id = a.ObjectID();
    EXPECT_TRUE(a.Delete());
    EXPECT_FALSE(a.IsValid());
    EXPECT_FALSE(child.IsValid());
    EXPECT_EQ(a.ObjectID(), -1);
    EXPECT_EQ(a.Name(), L"");
    EXPECT_FALSE(a.Attribute(L"translateX").IsValid());
    XObject fresh = transform(scene, L"joint");
    EXPECT_GT(fresh.ObjectID(), id);  // ids are never reused
    ASSERT_TRUE(scene.Database().Undo());  // the creation of `fresh`
    ASSERT_TRUE(scene.Database().Undo());  // the deletion
    EXPECT_TRUE(a.IsValid());  // the same object is back
    EXPECT_TRUE(child.IsValid());
}

TEST(CoreHandles, IsTypeIsExactAndSupportsTypeFollowsDerivation) {
    XScene scene;
    XObject joint = scene.Database().CreateObject(XJoint::TypeID, L"j");
    XObject mesh = scene.Database().CreateObject(XMeshInstance::TypeID, L"m", joint);
    EXPECT_TRUE(joint.IsType(XJoint::TypeID));
    EXPECT_FALSE(joint.IsType(XTransform::TypeID));
    EXPECT_TRUE(joint.SupportsType(XTransform::TypeID));
    EXPECT_TRUE(joint.SupportsType(XRenderObject::TypeID));
    EXPECT_FALSE(joint.SupportsType(XShape::TypeID));
    EXPECT_TRUE(mesh.SupportsType(XShape::TypeID));
    EXPECT_FALSE(mesh.SupportsChildObjects());
    EXPECT_TRUE(XShape(mesh).Transform() == joint);
    EXPECT_FALSE(XTransform(mesh).IsValid());  // a typed handle refuses the wrong type
    XObject animation = scene.Database().CreateObject(XAnimation::TypeID, L"curve");
    EXPECT_FALSE(animation.SupportsType(XRenderObject::TypeID));
    std::map<XObject, int> byObject{{joint, 1}, {mesh, 2}};
    EXPECT_EQ(byObject[mesh], 2);
}

TEST(CoreUnits, RoundTripsUseTheStoredFactors) {
    XScene scene;
    XObject t = transform(scene, L"t");
    XDisplayUnits& units = XApplication::Instance().DisplayUnits();
    XDisplayUnits saved = units;
    units.length = 3;  // inches
    XAttribute tx = t.Attribute(L"translateX");
    tx.SetDisplayFloat(1.0f);
    EXPECT_FLOAT_EQ(tx.Float(), 0.0254f);
    EXPECT_NEAR(tx.AsDisplayFloat(), 1.0f, 1e-6f);
    units.mass = 4;  // stones
    XObject body = scene.Database().CreateObject(XPhysicsJoint::TypeID, L"body");
    body.Attribute(L"mass").SetDisplayFloat(1.0f);
    EXPECT_FLOAT_EQ(body.Attribute(L"mass").Float(), 6.3502932f);
    units.angle = 0;
    t.Attribute(L"rotateX").SetDisplayFloat(90.0f);
    EXPECT_NEAR(t.Attribute(L"rotateX").Float(), 1.5707964f, 1e-6f);
    EXPECT_EQ(std::wstring(XUnits::MassUnitNames[4]), L"Stones");
    EXPECT_EQ(std::string(XUnits::QuantityNames[17]), "framerate");
    units = saved;
}

TEST(CoreValues, DisplayValuesAndNameConversions) {
    XScene scene;
    XObject t = transform(scene, L"t");
    t.Attribute(L"translateX").SetFloat(2.0f);
    t.Attribute(L"translateY").SetFloat(1.0f / 3.0f);
    EXPECT_EQ(t.Attribute(L"translateX").DisplayValue(), L"2.0");
    EXPECT_EQ(t.Attribute(L"translateY").DisplayValue(), L"0.33333");
    t.Attribute(L"rotateOrder").SetEnumeration(L"zxy");
    EXPECT_EQ(t.Attribute(L"rotateOrder").Enumeration(), 4);
    EXPECT_EQ(t.Attribute(L"rotateOrder").EnumerationDisplayString(), L"Zxy");
    t.Attribute(L"rotateOrder").SetEnumeration(99);  // out of range: refused
    EXPECT_EQ(t.Attribute(L"rotateOrder").Enumeration(), 4);
    EXPECT_EQ(XAttribute::ConvertToDisplayName(L"playbackStartFrame"), L"Playback Start Frame");
    EXPECT_EQ(XAttribute::ConvertToInternalName(L"Translate X"), L"translateX");
    EXPECT_EQ(XAttribute::ConvertToInternalName(XAttribute::ConvertToDisplayName(L"scaleZ")), L"scaleZ");
    XAttribute custom = t.AddCustomAttribute(L"stiffness", 4);
    ASSERT_TRUE(custom.IsValid());
    EXPECT_TRUE(t.HasCustomAttributes());
    EXPECT_EQ(custom.Index(), t.AttributeCount() - 1);
    EXPECT_FALSE(t.AddCustomAttribute(L"translateX", 4).IsValid());  // name taken
}

TEST(CoreEvaluation, WorldMatricesComposeAndConnectionsAreChecked) {
    XScene scene;
    XObject parent = transform(scene, L"parent");
    XObject child = transform(scene, L"child", parent);
    parent.Attribute(L"translateX").SetFloat(1.0f);
    child.Attribute(L"translateY").SetFloat(2.0f);
    Velutils::Vec3 p = XTransform(child).WorldMatrix().Matrix().translation();
    EXPECT_FLOAT_EQ(p.x, 1.0f);
    EXPECT_FLOAT_EQ(p.y, 2.0f);
    EXPECT_EQ(child.Attribute(17).Matrix(), parent.Attribute(19).Matrix());
    parent.Attribute(L"translateX").SetFloat(5.0f);  // dirt reaches the child
    EXPECT_FLOAT_EQ(XTransform(child).WorldMatrix().Matrix().translation().x, 5.0f);

    XObject other = transform(scene, L"other");
    XAttribute otherTx = other.Attribute(L"translateX");
    EXPECT_FALSE(otherTx.ConnectInputTo(child.Attribute(L"visibility")));  // bool into float
    EXPECT_TRUE(otherTx.ConnectInputTo(child.Attribute(L"translateY")));
    EXPECT_FLOAT_EQ(otherTx.Float(), 2.0f);
    EXPECT_TRUE(otherTx.IsConnectedInput());
    EXPECT_EQ(otherTx.InputObject(), child);
    // child.translateY <- parent's world matrix chain would close a loop through the hierarchy.
    XObject conv = scene.Database().CreateObject(XMatrixConversion::TypeID, L"conv");
    EXPECT_TRUE(conv.Attribute(L"inputMatrix").ConnectInputTo(XTransform(child).WorldMatrix()));
    EXPECT_FALSE(parent.Attribute(L"translateZ").ConnectInputTo(conv.Attribute(L"translateZ")));
    EXPECT_FLOAT_EQ(conv.Attribute(L"translateX").Float(), 5.0f);

    XObject joint = scene.Database().CreateObject(XJoint::TypeID, L"j");
    XObject limit = scene.Database().CreateObject(XJointLimit::TypeID, L"lim");
    joint.Attribute(L"limit").SetObjectRef(parent);  // wrong referenced type
    EXPECT_FALSE(joint.Attribute(L"limit").ObjectRef().IsValid());
    joint.Attribute(L"limit").SetObjectRef(limit);
    EXPECT_EQ(joint.Attribute(L"limit").ObjectRef(), limit);
    EXPECT_TRUE(joint.Attribute(L"limit").HasInput());
    EXPECT_FALSE(joint.Attribute(L"limit").InputAttribute().IsValid());
    EXPECT_EQ(joint.Attribute(L"limit").InputObject(), limit);
    limit.Delete();
    EXPECT_FALSE(joint.Attribute(L"limit").ObjectRef().IsValid());
}

TEST(CoreAnimation, KeysDriveValuesAndFrameChangesNotifyInOrder) {
    XScene scene;
    XSceneSettings settings = scene.SceneSettings();
    XObject t = transform(scene, L"t");
    XAttribute ty = t.Attribute(L"translateY");
    settings.SetFrame(1);
    ty.SetFloat(0.0f);
    ty.SetKeyframe();
    settings.SetFrame(11);
    ty.SetFloat(10.0f);  // refused: the curve drives the value now
    XKeyframe second = ty.SetKeyframe();
    EXPECT_FLOAT_EQ(second.OutputValue(), 0.0f);
    second.SetOutputValue(10.0f);
    EXPECT_TRUE(ty.IsAnimated());
    EXPECT_TRUE(second.IsValid());
    EXPECT_FLOAT_EQ(second.InputValue(), 11.0f);
    XAnimation anim = ty.Animation();
    ASSERT_EQ(anim.KeyframeCount(), 2);

    RecordingObserver observer;
    scene.Database().BeginChangeBlock();
    settings.SetFrame(6);
    XSceneObject(t).Select();
    scene.Database().EndChangeBlock();
    EXPECT_EQ(observer.events, (std::vector<std::string>{"time-change", "selection", "time"}));
    EXPECT_GT(ty.Float(), 0.0f);
    EXPECT_LT(ty.Float(), 10.0f);

    observer.events.clear();
    settings.SetFrame(11);
    EXPECT_EQ(observer.events, (std::vector<std::string>{"time-change", "time"}));
    EXPECT_FLOAT_EQ(ty.Float(), 10.0f);

    Velutils::Vector<Velutils::VelPoint2D> points;
    anim.CurvePoints(points, 0.1f, 0.01f);
    ASSERT_GE(points.size(), 2u);
    EXPECT_FLOAT_EQ(points.front().x, 1.0f);
    EXPECT_FLOAT_EQ(points.back().x, 11.0f);
    for (std::size_t i = 1; i < points.size(); ++i) {
        float midX = 0.5f * (points[i - 1].x + points[i].x);
        float chord = 0.5f * (points[i - 1].y + points[i].y);
        EXPECT_NEAR(chord, anim.Evaluate(midX), 0.0101f);
    }

    EXPECT_TRUE(ty.ClearAnimation());
    EXPECT_FALSE(ty.IsAnimated());
    EXPECT_FALSE(anim.IsValid());
    EXPECT_FLOAT_EQ(ty.Float(), 10.0f);  // keeps the value it showed
}

TEST(CoreEdits, RemoveKeepsChildrenAndReparentSelection) {
    XScene scene;
    XObject a = transform(scene, L"a");
    XObject b = transform(scene, L"b", a);
    XObject c1 = transform(scene, L"c1", b);
    XObject c2 = transform(scene, L"c2", b);
    EXPECT_TRUE(scene.Database().RemoveObjects(L"a/b"));
    EXPECT_FALSE(b.IsValid());
    EXPECT_EQ(c1.Path(), L"a/c1");
    EXPECT_EQ(a.Child(0), c1);
    EXPECT_EQ(a.Child(1), c2);
    EXPECT_EQ(scene.Database().UndoName(), L"Remove");
    scene.Database().Undo();
    EXPECT_EQ(c1.Path(), L"a/b/c1");

    XObject target = transform(scene, L"target");
    scene.Selection().Select(std::vector<std::wstring>{L"a/b/c1", L"a/b/c2", L"missing"});
    EXPECT_EQ(scene.Selection().Count(), 2);
    scene.ReparentSelection(L"target");
    EXPECT_EQ(c2.Path(), L"target/c2");
    scene.Selection().SelectByType(XTransform::TypeID, XComparisonMode::ExactType);
    EXPECT_EQ(scene.Selection().Count(), 5);
    scene.DeleteSelection();
    EXPECT_FALSE(target.IsValid());
    EXPECT_EQ(scene.Selection().Count(), 0);
}

TEST(CoreDemo, DemoSceneHasEveryKindOfObject) {
    XScene scene;
    XDemoScene::build(scene);
    EXPECT_FALSE(scene.Database().CanUndo());
    for (const std::wstring& type : {XCharacter::TypeID, XJoint::TypeID, XJointLimit::TypeID, XIKHandle::TypeID,
                                     XIKSolver::TypeID, XMeshInstance::TypeID, XPrimitive::TypeID, XPhysicsJoint::TypeID,
                                     XPhysicsJointLimit::TypeID, XPhysicsConstraint::TypeID, XCamera::TypeID,
                                     XAnimation::TypeID, XMatrixConversion::TypeID, XSelectionGroup::TypeID,
                                     XDisplayGroup::TypeID, XCollisionGroup::TypeID, XKinematicsCharacter::TypeID,
                                     XPhysicsCharacter::TypeID}) {
        scene.Selection().SelectByType(type, XComparisonMode::ExactType);
        EXPECT_GT(scene.Selection().Count(), 0) << std::string(type.begin(), type.end());
    }
    XObject constraint = scene.Database().Object(L"HeroPhysics/HandConstraint");
    ASSERT_TRUE(constraint.IsValid());
    EXPECT_TRUE(constraint.Attribute(L"targetMatrix").IsConnectedInput());
    XObject hips = scene.Database().Object(L"Hero/Hips");
    EXPECT_TRUE(hips.Attribute(L"translateY").IsAnimated());
    EXPECT_EQ(XIKHandle(scene.Database().Object(L"Hero/LeftArmIK")).Solver().Name(), L"ArmSolver");
}

TEST(CoreNotification, AScenesChangesReachOnlyItsOwnObserversAndTheUnboundOnes) {
    XScene first;
    XScene second;
    RecordingObserver ofFirst(&first);
    RecordingObserver ofSecond(&second);
    RecordingObserver ofEvery;
    XObject a = transform(second, L"A");
    XSceneObject(a).Select();
    EXPECT_TRUE(ofFirst.events.empty());
    EXPECT_EQ(ofSecond.events, (std::vector<std::string>{"change", "selection"}));
    EXPECT_EQ(ofEvery.events, ofSecond.events);

    ofSecond.events.clear();
    ofEvery.events.clear();
    first.Database().CreateObject(XTransform::TypeID, L"B");
    EXPECT_EQ(ofFirst.events, (std::vector<std::string>{"change"}));
    EXPECT_TRUE(ofSecond.events.empty());
    EXPECT_EQ(ofEvery.events, (std::vector<std::string>{"change"}));
}

TEST(CoreHandles, SettersRememberARefusalAndSayWhy) {
    XScene scene;
    XObject a = transform(scene, L"A");
    XObject b = transform(scene, L"B");
    XAttribute tx = a.Attribute(L"translateX");
    EXPECT_FALSE(tx.SetFloat(2.0f).WasRefused());
    EXPECT_EQ(tx.RefusalReason(), L"");

    ASSERT_TRUE(tx.ConnectInputTo(b.Attribute(L"translateY")));
    EXPECT_TRUE(tx.SetFloat(3.0f).WasRefused());
    EXPECT_EQ(tx.RefusalReason(), L"it is driven by B.translateY");

    XAttribute world = a.Attribute(19);
    EXPECT_TRUE(world.SetFloat(1.0f).WasRefused());
    EXPECT_EQ(world.RefusalReason(), L"it is computed by the scene");
    EXPECT_TRUE(a.Attribute(L"rotateOrder").SetEnumeration(L"sideways").WasRefused());
    EXPECT_TRUE(a.Attribute(L"translateY").SetEnumeration(1).WasRefused()) << "not a choice attribute";

    XAttribute ty = a.Attribute(L"translateY");
    a.Delete();
    EXPECT_TRUE(ty.SetFloat(1.0f).WasRefused());
    EXPECT_EQ(ty.RefusalReason(), L"the attribute no longer exists");
}

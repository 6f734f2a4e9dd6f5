#include <velxcore/XCreateJointChainCommand.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XSelection.h>

#include <velscenegraph/SceneGraphNodes.h>

#include <cmath>

namespace VelX {

const std::wstring XCreateJointChainCommand::TypeID = L"CreateJointChainCommand";

namespace {
constexpr int JointCountIndex = 10, LengthIndex = 11, AxisIndex = 12, BaseNameIndex = 13, UnderSelectionIndex = 14;
}

XAttribute XCreateJointChainCommand::JointCount() const { return Attribute(JointCountIndex); }
XAttribute XCreateJointChainCommand::Length() const { return Attribute(LengthIndex); }
XAttribute XCreateJointChainCommand::Axis() const { return Attribute(AxisIndex); }
XAttribute XCreateJointChainCommand::BaseName() const { return Attribute(BaseNameIndex); }
XAttribute XCreateJointChainCommand::UnderSelection() const { return Attribute(UnderSelectionIndex); }

bool XCreateJointChainCommand::run() {
    if (!IsValid()) return false;
    const int count = JointCount().Integer();
    const float length = Length().Float();
    const int axis = Axis().Enumeration();
    if (count < 1 || count > MaxJointCount || !std::isfinite(length) || axis < 0 || axis > 2) return false;
    std::wstring base = BaseName().String();
    if (base.empty()) base = L"joint";

    XDatabase& database = *m_database;
    XObject parent;
    if (UnderSelection().Boolean()) {
        Velutils::Vector<XObject> selected;
        XSelection(database).Objects(selected);
        for (const XObject& o : selected) {
            if (XTransform(o).IsValid() && o.SupportsChildObjects()) {
                parent = o;
                break;
            }
        }
    }
    const float step = count > 1 ? length / static_cast<float>(count - 1) : 0.0f;
    Velutils::Vector<XObject> chain;
    XObject previous = parent;
    for (int i = 0; i < count; ++i) {
        XObject joint = database.CreateObject(XJoint::TypeID, base + std::to_wstring(i + 1), previous);
        if (!joint.IsValid()) break;
        if (i > 0) joint.Attribute(sg::Index::TranslateX + axis).SetFloat(step);
        chain.push_back(joint);
        previous = joint;
    }
    if (chain.empty()) return false;
    XSelection(database).SelectObjects(Velutils::Vector<XObject>{chain.front()});
    return true;
}

}  // namespace VelX

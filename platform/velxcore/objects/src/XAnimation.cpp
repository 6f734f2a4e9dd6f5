#include <velxcore/XAnimation.h>
#include <velxcore/XDatabase.h>

#include <veldatabase/Database.h>
#include <velscenegraph/AnimationEvaluator.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <algorithm>
#include <cmath>

namespace VelX {

const std::wstring XAnimation::TypeID = L"Animation";

XAnimation::XAnimation(const XObject& object) : XObject(object) {
    if (!SupportsType(TypeID)) m_id = -1;
}

XAttribute XAnimation::Keys() const { return Attribute(sg::Index::AnimKeys); }
XAttribute XAnimation::Output() const { return Attribute(sg::Index::AnimOutput); }
XAttribute XAnimation::PreExtrapolation() const { return Attribute(sg::Index::AnimPreExtrapolation); }
XAttribute XAnimation::PostExtrapolation() const { return Attribute(sg::Index::AnimPostExtrapolation); }
XAttribute XAnimation::PreGradient() const { return Attribute(sg::Index::AnimPreGradient); }
XAttribute XAnimation::PostGradient() const { return Attribute(sg::Index::AnimPostGradient); }

int XAnimation::KeyframeCount() const { return Keys().ArraySize(); }

XKeyframe XAnimation::Keyframe(int index) const {
    if (index < 0 || index >= KeyframeCount()) return {};
    return XKeyframe(m_database, m_id, index);
}

void XAnimation::CurvePoints(Velutils::Vector<Velutils::VelPoint2D>& out, float toleranceX, float toleranceY) const {
    if (!IsValid()) return;
    std::vector<Velutils::VelPoint2D> points;
    sg::AnimationEvaluator::curve(m_database->db(), m_id).sample(toleranceX, toleranceY, points);
    out.insert(out.end(), points.begin(), points.end());
}

float XAnimation::Evaluate(float frame) const {
    return IsValid() ? sg::AnimationEvaluator::curve(m_database->db(), m_id).evaluate(frame) : 0.0f;
}

XKeyframe XAnimation::AddKeyframe(float frame, float value) {
    if (!IsValid() || !std::isfinite(frame) || !std::isfinite(value)) return {};
    db::Database& d = m_database->db();
    db::AttrKey keys = Keys().key();
    db::ValueList list = d.storedValue(keys).get<db::ValueList>();
    auto fieldsAt = [&](std::size_t i) -> db::ValueList& { return list[i].get<db::ValueList>(); };
    std::size_t index = 0;
    while (index < list.size() && fieldsAt(index)[sg::Index::KeyTime].asDouble() < frame) ++index;
    if (index < list.size() && static_cast<float>(fieldsAt(index)[sg::Index::KeyTime].asDouble()) == frame) {
        fieldsAt(index)[sg::Index::KeyValue] = db::Value(value);
    } else {
        db::ValueList fields = {db::Value(frame), db::Value(value), db::Value(std::int32_t(4)), db::Value(std::int32_t(4)),
                                db::Value(0.0f), db::Value(0.0f)};
        list.insert(list.begin() + static_cast<std::ptrdiff_t>(index), db::Value(std::move(fields)));
    }
    if (!d.setValue(keys, db::Value(std::move(list)))) return {};
    return XKeyframe(m_database, m_id, static_cast<int>(index));
}

bool XAnimation::RemoveKeyframe(int index) {
    if (index < 0 || index >= KeyframeCount()) return false;
    db::Database& d = m_database->db();
    db::ValueList list = d.storedValue(Keys().key()).get<db::ValueList>();
    list.erase(list.begin() + index);
    return d.setValue(Keys().key(), db::Value(std::move(list)));
}

}  // namespace VelX

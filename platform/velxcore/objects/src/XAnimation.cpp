#include <velxcore/XAnimation.h>
#include <velxcore/XDatabase.h>

#include <veldatabase/Database.h>
#include <veldatabase/PackedArray.h>
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
    const db::AttrKey keys = Keys().key();
    // The first key at or after the frame, as the keys are stored (in time order unless a user
    // moved one past another).
    const db::PackedArray* stored = d.node(m_id)->packed(keys.slot);
    const int count = stored ? stored->size() : 0;
    int index = 0;
    while (index < count && stored->number<double>(index, sg::Index::KeyTime) < frame) ++index;
    if (index < count && stored->number<float>(index, sg::Index::KeyTime) == frame) {
        if (!d.setValue(keys.withElement(index, sg::Index::KeyValue), db::Value(value))) return {};
        return XKeyframe(m_database, m_id, index);
    }
    const db::Value key(db::ValueList{db::Value(frame), db::Value(value), db::Value(std::int32_t(4)), db::Value(std::int32_t(4)),
                                      db::Value(0.0f), db::Value(0.0f)});
    if (!d.insertElement(keys, index, key)) {
        // Keys that are ends of connections keep them by index: the whole list is written instead.
        db::ValueList list = d.storedValue(keys).get<db::ValueList>();
        list.insert(list.begin() + index, key);
        if (!d.setValue(keys, db::Value(std::move(list)))) return {};
    }
    return XKeyframe(m_database, m_id, index);
}

bool XAnimation::AddKeyframes(const std::vector<float>& frames, const std::vector<float>& values) {
    if (!IsValid() || frames.size() != values.size()) return false;
    db::Database& d = m_database->db();
    const db::AttrKey keys = Keys().key();
    const db::Node* node = d.node(m_id);
    const db::PackedLayout* layout = node->def().slot(keys.slot).packed;
    if (!layout || d.input(keys).isValid()) return false;
    const db::PackedArray none(*layout);
    const db::PackedArray* stored = node->packed(keys.slot) ? node->packed(keys.slot) : &none;
    // The new keys in time order (the last given wins at one frame), merged with the stored ones.
    std::vector<std::size_t> order(frames.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return frames[a] < frames[b]; });
    db::PackedArray merged(*layout);
    merged.reserve(static_cast<std::size_t>(stored->size()) + frames.size());
    auto storedTime = [&](int e) { return stored->number<float>(e, sg::Index::KeyTime); };
    int next = 0;
    for (std::size_t n = 0; n < order.size(); ++n) {
        const float frame = frames[order[n]];
        if (n + 1 < order.size() && frames[order[n + 1]] == frame) continue;
        while (next < stored->size() && storedTime(next) < frame) merged.append(*stored, next++);
        if (next < stored->size() && storedTime(next) == frame) {
            merged.append(*stored, next++);
            merged.setField(merged.size() - 1, sg::Index::KeyValue, db::Value(values[order[n]]));
        } else {
            merged.resize(merged.size() + 1);  // a new key: smooth tangents, no slopes
            merged.setField(merged.size() - 1, sg::Index::KeyTime, db::Value(frame));
            merged.setField(merged.size() - 1, sg::Index::KeyValue, db::Value(values[order[n]]));
        }
    }
    while (next < stored->size()) merged.append(*stored, next++);
    return d.setArray(keys, std::move(merged));
}

bool XAnimation::RemoveKeyframe(int index) {
    if (index < 0 || index >= KeyframeCount()) return false;
    db::Database& d = m_database->db();
    if (d.removeElement(Keys().key(), index)) return true;
    db::ValueList list = d.storedValue(Keys().key()).get<db::ValueList>();
    list.erase(list.begin() + index);
    return d.setValue(Keys().key(), db::Value(std::move(list)));
}

}  // namespace VelX

#include <velxcore/XDatabase.h>
#include <velxcore/XKeyframe.h>

#include <veldatabase/Database.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <cmath>

namespace VelX {

namespace {
db::AttrKey keysOf(const db::Database& d, int animation) {
    const db::Node* n = d.node(animation);
    if (!n || !n->isOfType(sg::AnimationNode::Def)) return {};
    return db::AttrKey{animation, n->def().topLevelSlot(sg::Index::AnimKeys)};
}
}  // namespace

bool XKeyframe::IsValid() const {
    if (!m_database) return false;
    db::AttrKey keys = keysOf(m_database->db(), m_animation);
    return keys.isValid() && m_index >= 0 && m_index < m_database->db().arraySize(keys);
}

float XKeyframe::field(int f) const {
    if (!IsValid()) return 0.0f;
    db::AttrKey keys = keysOf(m_database->db(), m_animation);
    return static_cast<float>(m_database->db().storedValue(keys.withElement(m_index, f)).asDouble());
}

bool XKeyframe::setField(int f, float value) {
    if (!IsValid() || !std::isfinite(value)) return false;
    db::AttrKey keys = keysOf(m_database->db(), m_animation);
    return m_database->db().setValue(keys.withElement(m_index, f), db::Value(value));
}

float XKeyframe::InputValue() const { return field(sg::Index::KeyTime); }
float XKeyframe::OutputValue() const { return field(sg::Index::KeyValue); }
int XKeyframe::InTangentType() const { return static_cast<int>(field(sg::Index::KeyInTangent)); }
int XKeyframe::OutTangentType() const { return static_cast<int>(field(sg::Index::KeyOutTangent)); }

XKeyframe& XKeyframe::SetOutputValue(float value) {
    setField(sg::Index::KeyValue, value);
    return *this;
}

XKeyframe& XKeyframe::SetTangentTypes(int inType, int outType) {
    if (!IsValid()) return *this;
    db::Database& d = m_database->db();
    db::AttrKey keys = keysOf(d, m_animation);
    d.beginChangeBlock();
    d.setValue(keys.withElement(m_index, sg::Index::KeyInTangent), db::Value(static_cast<std::int32_t>(inType)));
    d.setValue(keys.withElement(m_index, sg::Index::KeyOutTangent), db::Value(static_cast<std::int32_t>(outType)));
    d.endChangeBlock();
    return *this;
}

XKeyframe& XKeyframe::SetInputValue(float frame) {
    if (!IsValid() || !std::isfinite(frame)) return *this;
    db::Database& d = m_database->db();
    db::AttrKey keys = keysOf(d, m_animation);
    db::ValueList list = d.storedValue(keys).get<db::ValueList>();
    db::Value moved = list[static_cast<std::size_t>(m_index)];
    moved.get<db::ValueList>()[sg::Index::KeyTime] = db::Value(frame);
    list.erase(list.begin() + m_index);
    // Keep the list in time order; a key landing on another key's frame replaces it.
    std::size_t at = 0;
    while (at < list.size() && list[at].get<db::ValueList>()[sg::Index::KeyTime].asDouble() < frame) ++at;
    if (at < list.size() && static_cast<float>(list[at].get<db::ValueList>()[sg::Index::KeyTime].asDouble()) == frame)
        list.erase(list.begin() + static_cast<std::ptrdiff_t>(at));
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(at), moved);
    if (d.setValue(keys, db::Value(std::move(list)))) m_index = static_cast<int>(at);
    return *this;
}

}  // namespace VelX

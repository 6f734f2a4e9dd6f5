#include <velscenegraph/AnimationEvaluator.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <veldatabase/Database.h>

namespace sg {

namespace {
TangentType tangent(int code) { return code >= 0 && code <= 4 ? static_cast<TangentType>(code) : TangentType::Smooth; }
Extrapolation extrapolation(int code) {
    return code >= 0 && code <= 3 ? static_cast<Extrapolation>(code) : Extrapolation::Constant;
}
}  // namespace

AnimationCurve AnimationEvaluator::curve(const db::Database& database, int animationNode) {
    const db::Node* n = database.node(animationNode);
    if (!n || !n->isOfType(AnimationNode::Def)) return {};
    const db::NodeDef& def = n->def();
    auto slot = [&](int index) { return db::AttrKey{animationNode, def.topLevelSlot(index)}; };
    std::vector<CurveKey> keys;
    // Keys nothing drives are read where they are stored, without copying the list.
    db::Value list;
    const db::ValueList* elements = n->inputCount() == 0 ? n->array(slot(Index::AnimKeys).slot) : nullptr;
    if (!elements) {
        list = database.value(slot(Index::AnimKeys));
        elements = list.tryGet<db::ValueList>();
    }
    if (elements) {
        keys.reserve(elements->size());
        for (const db::Value& element : *elements) {
            const db::ValueList* f = element.tryGet<db::ValueList>();
            if (!f || f->size() < 6) continue;
            CurveKey k;
            k.time = static_cast<float>((*f)[Index::KeyTime].asDouble());
            k.value = static_cast<float>((*f)[Index::KeyValue].asDouble());
            k.inType = tangent((*f)[Index::KeyInTangent].asInt());
            k.outType = tangent((*f)[Index::KeyOutTangent].asInt());
            k.inSlope = static_cast<float>((*f)[Index::KeyInSlope].asDouble());
            k.outSlope = static_cast<float>((*f)[Index::KeyOutSlope].asDouble());
            keys.push_back(k);
        }
    }
    auto pre = extrapolation(database.value(slot(Index::AnimPreExtrapolation)).asInt());
    auto post = extrapolation(database.value(slot(Index::AnimPostExtrapolation)).asInt());
    return AnimationCurve(std::move(keys), pre, post);
}

float AnimationEvaluator::currentTime(const db::Database& database) {
    const db::AttrKey& key = database.timeKey();
    return key.isValid() ? static_cast<float>(database.value(key).asDouble()) : 0.0f;
}

}  // namespace sg

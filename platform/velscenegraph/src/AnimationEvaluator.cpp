#include <velscenegraph/AnimationEvaluator.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <veldatabase/Database.h>
#include <veldatabase/PackedArray.h>

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
    auto add = [&](const auto& number, int count) {
        keys.reserve(static_cast<std::size_t>(count));
        for (int e = 0; e < count; ++e) {
            CurveKey k;
            k.time = number(e, Index::KeyTime);
            k.value = number(e, Index::KeyValue);
            k.inType = tangent(static_cast<int>(number(e, Index::KeyInTangent)));
            k.outType = tangent(static_cast<int>(number(e, Index::KeyOutTangent)));
            k.inSlope = number(e, Index::KeyInSlope);
            k.outSlope = number(e, Index::KeyOutSlope);
            keys.push_back(k);
        }
    };
    // Keys nothing drives are read where they are stored, without copying them.
    const db::PackedArray* stored = n->inputCount() == 0 ? n->packed(slot(Index::AnimKeys).slot) : nullptr;
    if (stored) {
        add([&](int e, int f) { return stored->number<float>(e, f); }, stored->size());
    } else {
        const db::Value list = database.value(slot(Index::AnimKeys));
        if (const db::ValueList* elements = list.tryGet<db::ValueList>()) {
            std::vector<const db::ValueList*> fields;
            for (const db::Value& element : *elements) {
                const db::ValueList* f = element.tryGet<db::ValueList>();
                if (f && f->size() >= 6) fields.push_back(f);
            }
            add([&](int e, int f) { return static_cast<float>((*fields[static_cast<std::size_t>(e)])[static_cast<std::size_t>(f)].asDouble()); },
                static_cast<int>(fields.size()));
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

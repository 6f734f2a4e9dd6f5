#include <velscenegraph/AnimationEvaluator.h>
#include <velscenegraph/CurveMath.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <veldatabase/Database.h>
#include <veldatabase/PackedArray.h>

namespace sg {

namespace {
TangentType tangent(int code) { return code >= 0 && code <= 4 ? static_cast<TangentType>(code) : TangentType::Smooth; }
Extrapolation extrapolation(int code) {
    return code >= 0 && code <= 3 ? static_cast<Extrapolation>(code) : Extrapolation::Constant;
}

// Keys where the database stores them, as the curve mathematics reads them.
struct PackedKeys {
    const db::PackedArray& keys;
    std::size_t size() const { return static_cast<std::size_t>(keys.size()); }
    float number(std::size_t i, int field) const { return keys.number<float>(static_cast<int>(i), field); }
    float time(std::size_t i) const { return number(i, Index::KeyTime); }
    float value(std::size_t i) const { return number(i, Index::KeyValue); }
    TangentType inType(std::size_t i) const { return tangent(keys.number<int>(static_cast<int>(i), Index::KeyInTangent)); }
    TangentType outType(std::size_t i) const { return tangent(keys.number<int>(static_cast<int>(i), Index::KeyOutTangent)); }
    float inSlope(std::size_t i) const { return number(i, Index::KeyInSlope); }
    float outSlope(std::size_t i) const { return number(i, Index::KeyOutSlope); }

    // Whether the curve object would take the keys as they are: finite times, strictly increasing.
    bool inCurveOrder() const {
        for (std::size_t i = 0; i < size(); ++i)
            if (!std::isfinite(time(i)) || (i > 0 && !(time(i - 1) < time(i)))) return false;
        return true;
    }
};

// The node's memo of its curve: unknown, keys out of order, or the segment last evaluated.
constexpr int MemoUnknown = -1;
constexpr int MemoUnordered = -2;

}  // namespace

float AnimationEvaluator::output(const db::Database& database, const db::Node& n) {
    const db::NodeDef& def = n.def();
    const db::PackedArray* keys = n.inputCount() == 0 ? n.packed(def.topLevelSlot(Index::AnimKeys)) : nullptr;
    int memo = n.evaluationMemo();
    if (keys && memo == MemoUnknown) memo = PackedKeys{*keys}.inCurveOrder() ? 0 : MemoUnordered;
    if (!keys || memo == MemoUnordered) {
        // Keys that come through a connection or are out of order make a curve object first.
        n.setEvaluationMemo(memo);
        return curve(database, n.id()).evaluate(currentTime(database));
    }
    // Keys in order, read in place: no allocation, and the segment of the last frame tried first.
    const auto pre = extrapolation(n.stored(def.topLevelSlot(Index::AnimPreExtrapolation)).asInt());
    const auto post = extrapolation(n.stored(def.topLevelSlot(Index::AnimPostExtrapolation)).asInt());
    std::size_t segment = static_cast<std::size_t>(memo);
    const float value = curve::evaluate(PackedKeys{*keys}, pre, post, currentTime(database), segment);
    n.setEvaluationMemo(static_cast<int>(segment));
    return value;
}

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

#include "ProductionScene.h"

#include <velscenegraph/SceneGraphNodes.h>

#include <malloc.h>

#include <cmath>
#include <string>

namespace prod {

double heapBytes() {
    struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

db::AttrKey slot(const db::Database& database, int id, int index) {
    return db::AttrKey{id, database.node(id)->def().topLevelSlot(index)};
}

float keyTime(int k) { return static_cast<float>(1 + k * 2); }
float keyValue(int curve, int k) {
    return 0.5f * std::sin(0.2f * static_cast<float>(k) + 0.01f * static_cast<float>(curve));
}

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

namespace {
// A curve's keys as one value, as a script or an importer hands them over.
db::Value curveKeys(int curve) {
    db::ValueList keys;
    keys.reserve(KeysPerCurve);
    for (int k = 0; k < KeysPerCurve; ++k)
        keys.emplace_back(db::ValueList{db::Value(keyTime(k)), db::Value(keyValue(curve, k)), db::Value(std::int32_t{4}),
                                        db::Value(std::int32_t{4}), db::Value(0.0f), db::Value(0.0f)});
    return db::Value(std::move(keys));
}
}  // namespace

void buildCharacters(db::Database& d, std::vector<int>& joints, std::vector<int>& animated) {
    d.beginChangeBlock();
    for (int c = 0; c < Characters; ++c) {
        const int character = d.create(sg::CharacterNode::Def, "Character" + std::to_string(c));
        const int root = d.create(sg::JointNode::Def, "Root", character);
        joints.push_back(root);
        const int perLimb = (JointsPerCharacter - 1) / Limbs + 1;
        int made = 1;
        for (int limb = 0; limb < Limbs && made < JointsPerCharacter; ++limb) {
            int parent = root;
            for (int j = 0; j < perLimb && made < JointsPerCharacter; ++j, ++made) {
                parent = d.create(sg::JointNode::Def, "Limb" + std::to_string(limb) + "_" + std::to_string(j), parent);
                joints.push_back(parent);
                if (made <= AnimatedPerCharacter) animated.push_back(parent);
            }
        }
    }
    d.endChangeBlock("Create");
}

Crowd::Crowd() {
    db::Database& d = *database;
    sg::registerNodeTypes(d);
    settings = d.create(sg::SceneSettingsNode::Def, "SceneSettings");
    d.setTimeKey(slot(d, settings, sg::Index::Frame));
    auto start = std::chrono::steady_clock::now();
    buildCharacters(d, joints, animated);
    createSeconds = secondsSince(start);
}

ProductionScene::ProductionScene() {
    db::Database& d = *database;
    const double heapBefore = heapBytes();
    auto start = std::chrono::steady_clock::now();
    d.beginChangeBlock();
    for (int joint : animated) {
        for (int channel = 0; channel < Channels; ++channel) {
            const int curve = d.create(sg::AnimationNode::Def, "Curve", db::Database::RootId);
            d.setValue(slot(d, curve, sg::Index::AnimKeys), curveKeys(static_cast<int>(curves.size())));
            d.connect(slot(d, curve, sg::Index::AnimOutput), slot(d, joint, sg::Index::RotateX + channel));
            curves.push_back(curve);
        }
    }
    d.endChangeBlock("Key");
    keySeconds = secondsSince(start);
    keyBytes = heapBytes() - heapBefore;
}

ProductionScene& scene() {
    static ProductionScene shared;
    return shared;
}

}  // namespace prod

// Animation at production scale: 200 characters of 500 joints (100,000 objects), 10,000 joints
// animated on three rotation channels with 100 keys each (30,000 curves, 3,000,000 keys).
// The scene is built once and shared by the benchmarks that read it.

#include <veldatabase/Database.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <chrono>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int Characters = 200;
constexpr int JointsPerCharacter = 500;
constexpr int Limbs = 10;
constexpr int AnimatedPerCharacter = 50;
constexpr int KeysPerCurve = 100;
constexpr int Channels = 3;

double heapBytes() {
    struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

db::AttrKey slot(const db::Database& database, int id, int index) {
    return db::AttrKey{id, database.node(id)->def().topLevelSlot(index)};
}

// A curve's keys as one value: a smooth wave, offset per channel so that curves differ.
db::Value curveKeys(int curve) {
    db::ValueList keys;
    keys.reserve(KeysPerCurve);
    for (int k = 0; k < KeysPerCurve; ++k) {
        const float time = static_cast<float>(1 + k * 2);
        const float value = 0.5f * std::sin(0.2f * static_cast<float>(k) + 0.01f * static_cast<float>(curve));
        keys.emplace_back(db::ValueList{db::Value(time), db::Value(value), db::Value(std::int32_t{4}),
                                        db::Value(std::int32_t{4}), db::Value(0.0f), db::Value(0.0f)});
    }
    return db::Value(std::move(keys));
}

struct ProductionScene {
    std::unique_ptr<db::Database> database = std::make_unique<db::Database>();
    std::vector<int> joints;    // every joint, character by character
    std::vector<int> animated;  // the joints with curves
    std::vector<int> curves;    // every animation node
    int settings = -1;
    double createSeconds = 0, keySeconds = 0, keyBytes = 0;

    ProductionScene() {
        db::Database& d = *database;
        sg::registerNodeTypes(d);
        settings = d.create(sg::SceneSettingsNode::Def, "SceneSettings");
        d.setTimeKey(slot(d, settings, sg::Index::Frame));

        auto start = std::chrono::steady_clock::now();
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
        createSeconds = secondsSince(start);

        const double heapBefore = heapBytes();
        start = std::chrono::steady_clock::now();
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

    static double secondsSince(std::chrono::steady_clock::time_point start) {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
};

ProductionScene& scene() {
    static ProductionScene shared;
    return shared;
}

// Building the scene and keying it curve by curve, reported once.
void BM_ProdKeyBulk(benchmark::State& state) {
    ProductionScene& s = scene();
    for (auto _ : state) benchmark::DoNotOptimize(s.curves.size());
    state.counters["objects"] = static_cast<double>(s.database->nodeCount());
    state.counters["create_s"] = s.createSeconds;
    state.counters["key_s"] = s.keySeconds;
    state.counters["bytes_per_key"] = s.keyBytes / (static_cast<double>(s.curves.size()) * KeysPerCurve);
}
BENCHMARK(BM_ProdKeyBulk)->Iterations(1)->Unit(benchmark::kMillisecond);

// One frame to the next: the frame is set, then every animated channel and every joint's world
// matrix is read, as a viewport and the panels would.
void BM_ProdFrameChange(benchmark::State& state) {
    ProductionScene& s = scene();
    db::Database& d = *s.database;
    const db::AttrKey frame = slot(d, s.settings, sg::Index::Frame);
    float time = static_cast<float>(state.range(0));
    double sum = 0;
    for (auto _ : state) {
        time += state.range(1) != 0 ? 37.0f : 1.0f;
        if (time > 200.0f) time -= 200.0f;
        d.setValue(frame, db::Value(time));
        for (int joint : s.animated)
            for (int channel = 0; channel < Channels; ++channel)
                sum += d.value(slot(d, joint, sg::Index::RotateX + channel)).asDouble();
        for (int joint : s.joints) benchmark::DoNotOptimize(d.value(slot(d, joint, sg::Index::WorldMatrix)));
    }
    benchmark::DoNotOptimize(sum);
}
BENCHMARK(BM_ProdFrameChange)->ArgNames({"start", "jump"})->Args({1, 0})->Args({1, 1})->Iterations(3)->Unit(benchmark::kMillisecond);

}  // namespace

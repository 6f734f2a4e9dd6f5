// Keying and evaluating animation at production scale (the scene of ProductionScene.h).

#include "ProductionScene.h"

#include <velscenegraph/SceneGraphNodes.h>

#include <benchmark/benchmark.h>

namespace {

using namespace prod;

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
    // The scene as a viewport has shown it once: every value evaluated (and its cache made).
    for (int joint : s.joints) benchmark::DoNotOptimize(d.value(slot(d, joint, sg::Index::WorldMatrix)));
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

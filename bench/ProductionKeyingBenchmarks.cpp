// Keying the production scene's 3,000,000 keys one at a time through the object API, and keys
// through the scripting module (the scene of ProductionScene.h).

#include "ProductionScene.h"

#include <velxcore/XAttribute.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XKeyframe.h>
#include <velxcore/XObject.h>
#include <velxcore/XPythonScript.h>
#include <velxcore/XScene.h>

#include <velscenegraph/SceneGraphNodes.h>

#include <benchmark/benchmark.h>

#include <string>

namespace {

using namespace prod;

// Every key added by itself, as an importer or a tool adding keys would, in one change block;
// then the block undone and redone, each one step.
void BM_ProdKeyInsert(benchmark::State& state) {
    for (auto _ : state) {
        VelX::XScene scene;
        VelX::XDatabase& database = scene.Database();
        std::vector<int> joints, animated;
        buildCharacters(database.db(), joints, animated);
        const double heapBefore = heapBytes();
        auto start = std::chrono::steady_clock::now();
        database.db().beginChangeBlock();
        int curve = 0;
        for (int joint : animated) {
            for (int channel = 0; channel < Channels; ++channel, ++curve) {
                VelX::XAttribute a = VelX::XObject(&database, joint).Attribute(sg::Index::RotateX + channel);
                for (int k = 0; k < KeysPerCurve; ++k) a.SetKeyframeAt(keyTime(k), keyValue(curve, k));
            }
        }
        database.db().endChangeBlock("Key");
        state.counters["key_s"] = secondsSince(start);
        state.counters["bytes_per_key"] = (heapBytes() - heapBefore) / (static_cast<double>(curve) * KeysPerCurve);
        start = std::chrono::steady_clock::now();
        if (!database.db().undo()) state.SkipWithError("the keying could not be undone");
        state.counters["undo_s"] = secondsSince(start);
        start = std::chrono::steady_clock::now();
        if (!database.db().redo()) state.SkipWithError("the keying could not be redone");
        state.counters["redo_s"] = secondsSince(start);
    }
}
BENCHMARK(BM_ProdKeyInsert)->Iterations(1)->Unit(benchmark::kMillisecond);

// 10,000 keys (100 curves of 100) from a Python scene script, key by key with velx.set_key
// (range 0) or a curve at a time with velx.set_keys (range 1).
void BM_ProdKeyScript(benchmark::State& state) {
    const bool bulk = state.range(0) != 0;
    std::wstring script = L"import velx, math\n";
    if (bulk)
        script += L"frames = [1 + 2 * k for k in range(100)]\n"
                  L"for j in range(100):\n"
                  L"    velx.set_keys('J%d' % j, 'rotateX', frames, [0.5 * math.sin(0.2 * k + 0.01 * j) for k in range(100)])\n";
    else
        script += L"for j in range(100):\n"
                  L"    name = 'J%d' % j\n"
                  L"    for k in range(100):\n"
                  L"        velx.set_key(name, 'rotateX', 1 + 2 * k, 0.5 * math.sin(0.2 * k + 0.01 * j))\n";
    for (auto _ : state) {
        state.PauseTiming();
        VelX::XScene scene;
        db::Database& d = scene.Database().db();
        for (int j = 0; j < 100; ++j) d.create(sg::JointNode::Def, "J" + std::to_string(j));
        VelX::XPythonScript python;
        python.SetTimeBudget(600);
        python.SetMemoryBudget(std::size_t{1} << 30);
        python.RunSceneScript(L"import velx, math\n", L"warm", scene);  // the interpreter's start is not counted
        const double heapBefore = heapBytes();
        state.ResumeTiming();
        if (!python.RunSceneScript(script, L"keys", scene)) state.SkipWithError("the keying script failed");
        state.PauseTiming();
        state.counters["growth_MB"] = (heapBytes() - heapBefore) / 1e6;
        state.ResumeTiming();
    }
}
BENCHMARK(BM_ProdKeyScript)->ArgName("bulk")->Arg(0)->Arg(1)->Iterations(3)->Unit(benchmark::kMillisecond);

}  // namespace

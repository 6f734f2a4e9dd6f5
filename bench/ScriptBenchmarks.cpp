// Timing of calls from C++ into the application's Lua script.

#include <velxcore/LuaObject.h>
#include <velxcore/XApplication.h>
#include <velxcore/XLuaScript.h>
#include <velxcore/XScene.h>
#include <velxcore/XScriptBase.h>

#include <veldatabase/Database.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <string>

namespace {

// An editor asking its Lua helper for a description, as the editors do.
class BenchEditor : public VelX::XScriptBase {
public:
    LuaPlus::LuaObject describe(const std::wstring& path, int depth) {
        return runLuaFunctionReturnObject("BenchEditor", "describe", path, depth);
    }
};

// One call returning a small table of four fields (budget: under 5 microseconds).
void BM_LuaCallReturnTable(benchmark::State& state) {
    VelX::XLuaScript& lua = VelX::XApplication::Instance().LuaScript();
    lua.RunScript(LR"(
        BenchEditor = {}
        function BenchEditor.describe(path, depth)
          return { name = path, depth = depth, visible = true, kind = "Joint" }
        end)",
                  L"bench");
    BenchEditor editor;
    const std::wstring path = L"Hero/Hips/Spine";
    for (auto _ : state) {
        LuaPlus::LuaObject result = editor.describe(path, 3);
        benchmark::DoNotOptimize(result);
        if (!result.IsTable()) {
            state.SkipWithError("the call did not return a table");
            break;
        }
    }
}
BENCHMARK(BM_LuaCallReturnTable);

// A scene script that creates N objects and then fails: the rollback must cost no more than the
// creation. Reports the run that succeeds and the one that is rolled back, in milliseconds.
void BM_SceneScriptRollback(benchmark::State& state) {
    const std::wstring create = L"for i = 1, " + std::to_wstring(state.range(0)) +
                                L" do velx.create('Transform', 'Made') end\n";
    double kept = 0, rolledBack = 0;
    for (auto _ : state) {
        VelX::XScene scene;
        VelX::XLuaScript lua(VelX::XLuaScript::Trust::Sandboxed);
        lua.SetTimeBudget(600);
        lua.SetMemoryBudget(std::size_t{4} << 30);
        auto start = std::chrono::steady_clock::now();
        if (lua.RunSceneScript(create, L"create", scene) != 0) state.SkipWithError("the creating script failed");
        kept += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        start = std::chrono::steady_clock::now();
        if (lua.RunSceneScript(create + L"error('stop')", L"create and fail", scene) == 0)
            state.SkipWithError("the failing script succeeded");
        rolledBack += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["create_ms"] = kept / n;
    state.counters["create_and_roll_back_ms"] = rolledBack / n;
}
BENCHMARK(BM_SceneScriptRollback)->Arg(100000)->Arg(30000)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

// Timing of calls from C++ into the application's Lua script.

#include <velxcore/LuaObject.h>
#include <velxcore/XApplication.h>
#include <velxcore/XLuaScript.h>
#include <velxcore/XScriptBase.h>

#include <benchmark/benchmark.h>

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

}  // namespace

// Start-up and main-loop costs of the studio.
#include "UiBenchmarkSupport.h"
#include <velxstudio/StudioFrame.h>

#include <orkacore/LayoutManager.h>
#include <orkacore/Logger.h>
#include <velwidgets/AppMainLoop.h>
#include <velxcore/XApplication.h>
#include <velxcore/XDemoScene.h>
#include <velxcore/XScene.h>
#include <velxui/XEditorLibrary.h>

#include <benchmark/benchmark.h>
#include <wx/app.h>
#include <wx/evtloop.h>

#include <chrono>
#include <set>

namespace {

using UiBenchmark::closeFrame;
using UiBenchmark::runOneTurn;

StudioFrame::Options benchmarkOptions() {
    StudioFrame::Options options;
    options.rememberLayout = false;
    options.autosave = false;
    return options;
}

// From an empty scene to the demo scene in a shown studio window whose every pane has painted on
// screen (the paint handlers run inside GTK's draw signal).
void BM_StudioStartToFirstPaint(benchmark::State& state) {
    VelXUI::XEditorLibrary::Initialise();
    wxUtils::AppMainLoop::Instance().install(wxTheApp);
    VelX::XScene& scene = VelX::XApplication::Instance().ActiveScene();
    Orka::Logger logger;
    for (auto _ : state) {
        scene.New();
        const auto start = std::chrono::steady_clock::now();
        VelX::XDemoScene::build(scene);
        auto* frame = new StudioFrame(scene, logger, benchmarkOptions());
        std::set<wxWindow*> waiting;
        for (const wxString& name : frame->PaneLayout().paneNames()) {
            wxWindow* pane = frame->PaneLayout().getWindow(name);
            waiting.insert(pane);
            pane->Bind(wxEVT_PAINT, [&waiting, pane](wxPaintEvent& event) {
                event.Skip();
                waiting.erase(pane);
            });
        }
        frame->Show();
        const auto deadline = start + std::chrono::seconds(10);
        while (!waiting.empty() && std::chrono::steady_clock::now() < deadline) {
            runOneTurn();
            wxMilliSleep(0);
        }
        const auto end = std::chrono::steady_clock::now();
        state.SetIterationTime(std::chrono::duration<double>(end - start).count());
        if (!waiting.empty()) state.SkipWithError("a pane never painted");
        closeFrame(frame);
    }
    wxUtils::AppMainLoop::Instance().uninstall();
}
BENCHMARK(BM_StudioStartToFirstPaint)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

// One main-loop pass over every redraw client of the shown studio when nothing has changed.
void BM_RedrawPassNoWork(benchmark::State& state) {
    VelXUI::XEditorLibrary::Initialise();
    VelX::XScene& scene = VelX::XApplication::Instance().ActiveScene();
    scene.New();
    VelX::XDemoScene::build(scene);
    Orka::Logger logger;
    auto* frame = new StudioFrame(scene, logger, benchmarkOptions());
    frame->Show();
    for (int i = 0; i < 20; ++i) runOneTurn();
    wxUtils::AppMainLoop& mainLoop = wxUtils::AppMainLoop::Instance();
    mainLoop.runRedrawPass();
    for (auto _ : state) mainLoop.runRedrawPass();
    closeFrame(frame);
}
BENCHMARK(BM_RedrawPassNoWork)->Unit(benchmark::kMicrosecond);

}  // namespace

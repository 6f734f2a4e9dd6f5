// The main of the user-interface benchmarks: starts wxWidgets on the X display with an active event
// loop (the benchmarks show real windows and wait for them to paint), then runs Google Benchmark.
#include "UiBenchmarkSupport.h"

#include <benchmark/benchmark.h>
#include <wx/app.h>
#include <wx/evtloop.h>
#include <wx/frame.h>
#include <wx/init.h>
#include <wx/log.h>

#include <cstdio>
#include <cstdlib>

void UiBenchmark::runOneTurn() {
    wxEventLoopBase* loop = wxEventLoopBase::GetActive();
    while (loop && loop->Pending()) loop->Dispatch();
    wxTheApp->ProcessPendingEvents();
    wxTheApp->ProcessIdle();
}

void UiBenchmark::showAndSettle(wxFrame* frame) {
    frame->Show();
    for (int i = 0; i < 30; ++i) runOneTurn();
}

void UiBenchmark::closeFrame(wxFrame* frame) {
    frame->Destroy();
    for (int i = 0; i < 5; ++i) runOneTurn();
}

namespace {

class BenchmarkApp : public wxApp {
public:
    bool OnInit() override { return true; }
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    if (!std::getenv("DISPLAY")) {
        std::fprintf(stderr, "velx-bench-ui needs an X display: run it with scripts/with-display.sh.\n");
        return 1;
    }
    wxApp::SetInstance(new BenchmarkApp);
    int wxArgc = 1;
    if (!wxEntryStart(wxArgc, argv) || !wxTheApp->CallOnInit()) {
        std::fprintf(stderr, "wxWidgets could not start on the display.\n");
        return 1;
    }
    delete wxLog::SetActiveTarget(new wxLogStderr);
    {
        wxEventLoop loop;
        wxEventLoopActivator activate(&loop);
        benchmark::RunSpecifiedBenchmarks();
    }
    benchmark::Shutdown();
    wxTheApp->OnExit();
    wxEntryCleanup();
    return 0;
}

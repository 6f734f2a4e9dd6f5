// The main of every GUI test binary: starts wxWidgets on the X display, keeps an event loop active
// for the whole run (simulated input and idle events need one) and runs the GoogleTest cases.
// A wx assertion raised during a test fails it (a misused wx call is a fault even where wx
// recovers), and settings go to a private folder when the caller names none.
#include <guitest/GuiTest.h>

#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/evtloop.h>
#include <wx/frame.h>
#include <wx/sizer.h>
#include <wx/init.h>
#include <wx/log.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

class GuiTestApp : public wxApp {
public:
    bool OnInit() override { return true; }
};

}  // namespace

namespace GuiTest {

void runOneTurn() {
    wxEventLoopBase* loop = wxEventLoopBase::GetActive();
    if (loop) {
        while (loop->Pending()) loop->Dispatch();
    }
    wxTheApp->ProcessPendingEvents();
    wxTheApp->ProcessIdle();
}

void pumpEvents(int milliseconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    do {
        runOneTurn();
        wxMilliSleep(2);
    } while (std::chrono::steady_clock::now() < end);
}

bool waitUntil(const std::function<bool()>& condition, int timeoutMilliseconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) return condition();
        runOneTurn();
        wxMilliSleep(2);
    }
    return true;
}

void showFilling(wxFrame* frame, wxWindow* window) {
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(window, 1, wxEXPAND);
    frame->SetSizer(sizer);
    frame->Show();
    frame->Layout();
    waitUntil([&] { return window->IsShownOnScreen(); });
}

}  // namespace GuiTest

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();  // test discovery needs no display
    if (!std::getenv("DISPLAY")) {
        std::fprintf(stderr, "The GUI tests need an X display; scripts/test.sh starts Xvfb when none is set.\n");
        return 1;
    }
    std::string privateConfig;
    if (!std::getenv("XDG_CONFIG_HOME")) {
        std::string folder = (std::filesystem::temp_directory_path() / "velx-gui-tests-XXXXXX").string();
        if (mkdtemp(folder.data())) ::setenv("XDG_CONFIG_HOME", (privateConfig = folder).c_str(), 1);
    }
    wxApp::SetInstance(new GuiTestApp);
    if (!wxEntryStart(argc, argv) || !wxTheApp->CallOnInit()) {
        std::fprintf(stderr, "wxWidgets could not start on display %s.\n", std::getenv("DISPLAY"));
        return 1;
    }
    // wx's own messages go to stderr: a message box at exit would wait for a person forever.
    delete wxLog::SetActiveTarget(new wxLogStderr);
    wxSetAssertHandler([](const wxString& file, int line, const wxString&, const wxString& condition,
                          const wxString& message) {
        ADD_FAILURE_AT(file.utf8_str().data(), line) << "wx assertion " << condition << ": " << message;
    });
    int result = 0;
    {
        wxEventLoop loop;
        wxEventLoopActivator activate(&loop);
        result = RUN_ALL_TESTS();
    }
    wxTheApp->OnExit();
    wxEntryCleanup();
    if (!privateConfig.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(privateConfig, ignored);
    }
    return result;
}

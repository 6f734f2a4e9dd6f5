#pragma once

#include <velxstudio/StudioOptions.h>

#include <wx/app.h>

#include <memory>

namespace Orka {
class Logger;
}
class StudioFrame;

// The studio program: reads the command line, starts the panel library, the application script
// and the scene, shows the main frame, offers back a crashed session's work, and in screenshot
// mode paints everything once, saves the window and ends.
class StudioApp : public wxApp {
public:
    explicit StudioApp(const StudioOptions& options);
    ~StudioApp() override;

    bool OnInit() override;
    int OnExit() override;
    int OnRun() override;
    // The command line is read in OnInit; wx's own parser stays out of the way.
    void OnInitCmdLine(wxCmdLineParser&) override {}
    bool OnCmdLineParsed(wxCmdLineParser&) override { return true; }

    StudioFrame* Frame() const { return m_frame; }

private:
    void quietScrollEdges();
    void startLogging();
    void loadApplicationScript();
    void openStartScene();
    void offerRecovery();
    void afterStart();
    void takeScreenshotAndExit();

    StudioOptions m_options;
    std::unique_ptr<Orka::Logger> m_logger;
    StudioFrame* m_frame = nullptr;
    int m_exitCode = 0;
};

#include <velxstudio/StudioApp.h>

#include <velxstudio/SceneAutosave.h>
#include <velxstudio/ScreenshotWriter.h>
#include <velxstudio/StudioFrame.h>
#include <velxstudio/StudioScriptRunner.h>

#include <orkacore/EnvData.h>
#include <orkacore/LayoutManager.h>
#include <orkacore/Logger.h>
#include <velwidgets/AppMainLoop.h>
#include <velxcore/XApplication.h>
#include <velxcore/XPluginManager.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XDemoScene.h>
#include <velxcore/XLuaScript.h>
#include <velxcore/XScene.h>
#include <velxui/XEditorLibrary.h>

#include <wx/ffile.h>
#include <wx/filename.h>
#include <wx/image.h>
#include <wx/log.h>
#include <wx/msgdlg.h>
#include <wx/timer.h>

#include <gtk/gtk.h>

#include <cstdio>

namespace {

// How long the screenshot waits after the first paint for every pane to settle.
constexpr int ScreenshotSettleMilliseconds = 400;

}  // namespace

StudioApp::StudioApp(const StudioOptions& options) : m_options(options) {}
StudioApp::~StudioApp() = default;

bool StudioApp::OnInit() {
    SetAppName("velx-studio");
    SetAppDisplayName("VelX Studio");
    wxInitAllImageHandlers();
    quietScrollEdges();
    startLogging();
    VelXUI::XEditorLibrary::Initialise();
    wxUtils::AppMainLoop::Instance().install(this);
    loadApplicationScript();

    VelX::XScene& scene = VelX::XApplication::Instance().ActiveScene();
    VelX::XDemoScene::build(scene);
    m_logger->information(wxString::Format("VelX Studio started with the demo scene (%zu objects).",
                                           scene.Database().ObjectCount()));
    // Plug-ins join before the menus are made, so that their object types can be created; what
    // could not be loaded is in the log with the reason.
    VelX::XApplication::Instance().PluginManager().LoadAtStart();

    StudioFrame::Options frameOptions;
    // A screenshot shows the default layout and leaves the user's layout and autosave alone.
    frameOptions.rememberLayout = !m_options.screenshotMode();
    frameOptions.autosave = !m_options.screenshotMode();
    m_frame = new StudioFrame(scene, *m_logger, frameOptions);
    if (m_options.screenshotMode()) {
        delete wxLog::SetActiveTarget(new wxLogStderr);
        // Without prompts: a screenshot run never waits for a person.
        m_frame->SetPrompt([this](const wxString& message, const wxString&, long) {
            std::fprintf(stderr, "%s\n", static_cast<const char*>(message.utf8_str()));
            return wxNO;
        });
    }
    m_frame->Show();
    openStartScene();
    if (!m_options.screenshotMode()) offerRecovery();
    CallAfter([this] { afterStart(); });
    return true;
}

void StudioApp::quietScrollEdges() {
    // GTK glows the edges of a scrolled window when its scroll position meets an end; the panels
    // are custom-drawn lists that show their own state, and the glow lay over their rows.
    GtkCssProvider* css = gtk_css_provider_new();
    gtk_css_provider_load_from_data(css,
                                    "scrolledwindow undershoot, scrolledwindow overshoot"
                                    " { background: none; box-shadow: none; }",
                                    -1, nullptr);
    if (GdkScreen* screen = gdk_screen_get_default())
        gtk_style_context_add_provider_for_screen(screen, GTK_STYLE_PROVIDER(css), GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_unref(css);
}

void StudioApp::startLogging() {
    m_logger = std::make_unique<Orka::Logger>();
    const wxString logFile = wxFileName(Orka::EnvData::getUserConfigDir(), "velx-studio.log").GetFullPath();
    m_logger->setLogFile(logFile);
    VelX::XApplication& application = VelX::XApplication::Instance();
    for (const std::wstring& line : application.LogLines()) m_logger->information(line);
    Orka::Logger* logger = m_logger.get();
    application.SetLogSink([logger](const std::wstring& line, VelX::XLog::Level level) {
        switch (level) {
        case VelX::XLog::Level::Error: logger->error(line); break;
        case VelX::XLog::Level::Warning: logger->warning(line); break;
        case VelX::XLog::Level::Information: logger->information(line); break;
        }
    });
}

void StudioApp::loadApplicationScript() {
    // The application script tells the panels which attributes to group and show; without it the
    // panels use their built-in behaviour.
    const wxString path = Orka::EnvData::resourcePath("scripts/application.lua");
    wxFFile file;
    wxString text;
    if (path.empty() || !wxFileName::FileExists(path) || !file.Open(path, "rb") || !file.ReadAll(&text, wxConvUTF8)) {
        m_logger->warning("The application script resources/scripts/application.lua was not found; "
                          "the panels use their built-in attribute sets.");
        return;
    }
    VelX::XLuaScript& lua = VelX::XApplication::Instance().LuaScript();
    if (lua.RunScript(text.ToStdWstring(), L"application.lua") != 0)
        m_logger->error(wxString::Format("The application script failed: %s", wxString(lua.LastError())));
}

void StudioApp::openStartScene() {
    if (m_options.sceneFile.empty()) return;
    // A file that does not load leaves the demo scene open; the frame says why.
    if (!m_frame->OpenScene(m_options.sceneFile) && m_options.screenshotMode()) m_exitCode = 1;
}

void StudioApp::offerRecovery() {
    const wxString folder = wxFileName(Orka::EnvData::getUserConfigDir(), "autosave").GetFullPath();
    std::vector<SceneAutosave::CrashedSession> sessions = SceneAutosave::findCrashedSessions(folder);
    if (sessions.empty()) return;
    const SceneAutosave::CrashedSession& newest = sessions.front();
    if (!newest.autosaveFile.empty()) {
        const wxString what = newest.sceneFile.empty() ? wxString("an untitled scene")
                                                       : wxFileName(newest.sceneFile).GetFullName();
        const wxString message = wxString::Format(
            "VelX Studio did not close normally last time. Recover the work on %s autosaved at %s?", what,
            newest.savedAt.IsValid() ? newest.savedAt.FormatISOCombined(' ') : wxString("an unknown time"));
        if (wxMessageBox(message, "Recover Scene", wxYES_NO | wxICON_QUESTION, m_frame) == wxYES)
            m_frame->RecoverScene(newest.autosaveFile, newest.sceneFile);
    }
    for (const SceneAutosave::CrashedSession& session : sessions) SceneAutosave::forget(session);
}

void StudioApp::afterStart() {
    if (!m_options.scriptFile.empty()) {
        wxString error;
        if (!StudioScriptRunner::runFile(m_options.scriptFile, VelX::XApplication::Instance().ActiveScene(), &error)) {
            std::fprintf(stderr, "%s\n", static_cast<const char*>(error.utf8_str()));
            if (m_options.screenshotMode()) m_exitCode = 1;
        }
    }
    if (!m_options.screenshotMode()) return;
    ScreenshotWriter::paintNow(m_frame);
    // Let the X server and GTK finish mapping and drawing before the pixels are read.
    auto* timer = new wxTimer;
    timer->Bind(wxEVT_TIMER, [this, timer](wxTimerEvent&) {
        timer->Stop();
        takeScreenshotAndExit();
        delete timer;
    });
    timer->StartOnce(ScreenshotSettleMilliseconds);
}

void StudioApp::takeScreenshotAndExit() {
    wxUtils::AppMainLoop::Instance().runRedrawPass();
    ScreenshotWriter::paintNow(m_frame);
    wxString error;
    const wxString file = wxFileName(m_options.screenshotFile).GetAbsolutePath();
    if (ScreenshotWriter::save(m_frame, file, &error)) {
        const wxSize size = m_frame->GetSize();
        std::printf("Screenshot saved: %s (%d x %d)\n", static_cast<const char*>(file.utf8_str()), size.x, size.y);
    } else {
        std::fprintf(stderr, "The screenshot failed: %s\n", static_cast<const char*>(error.utf8_str()));
        m_exitCode = 1;
    }
    std::fflush(stdout);
    m_frame->Destroy();  // no save prompt: a screenshot run changes nothing the user owns
    m_frame = nullptr;
    ExitMainLoop();
}

int StudioApp::OnRun() {
    const int code = wxApp::OnRun();
    return m_exitCode != 0 ? m_exitCode : code;
}

int StudioApp::OnExit() {
    wxUtils::AppMainLoop::Instance().uninstall();
    VelX::XApplication::Instance().SetLogSink(nullptr);
    return wxApp::OnExit();
}

// Script errors reach the log once, as errors, and the whole message can be read there.
#include "StudioFixture.h"

#include <velxstudio/StudioScriptRunner.h>

#include <guitest/GuiTest.h>
#include <orkacore/LayoutManager.h>
#include <orkacore/LogPane.h>
#include <velxcore/XApplication.h>
#include <velxcore/XLog.h>

#include <wx/ffile.h>
#include <wx/filename.h>
#include <wx/listctrl.h>
#include <wx/timer.h>
#include <wx/uiaction.h>

namespace {

struct LoggedLine {
    std::wstring text;
    VelX::XLog::Level level;
};

// Collects what the core logs while it lives.
class LogCapture {
public:
    LogCapture() {
        VelX::XApplication::Instance().SetLogSink(
            [this](const std::wstring& text, VelX::XLog::Level level) { lines.push_back({text, level}); });
    }
    ~LogCapture() { VelX::XApplication::Instance().SetLogSink(nullptr); }
    size_t count(const std::wstring& needle, VelX::XLog::Level level) const {
        size_t n = 0;
        for (const LoggedLine& line : lines) n += line.level == level && line.text.find(needle) != std::wstring::npos;
        return n;
    }
    std::vector<LoggedLine> lines;
};

wxString scriptFile(const wxString& name, const wxString& text) {
    const wxString path = wxFileName(wxFileName::GetTempDir(), wxString::Format("velx-log-%lu-%s", wxGetProcessId(), name))
                              .GetFullPath();
    wxFFile file(path, "wb");
    file.Write(text, wxConvUTF8);
    return path;
}

}  // namespace

TEST_F(StudioFixture, AFailingScriptIsLoggedOnceAsAnError) {
    const struct {
        const char* name;
        const char* text;
        const wchar_t* needle;
    } scripts[] = {{"broken.lua", "velx.create('Transform', 'x')\nerror('the rig is broken')\n", L"the rig is broken"},
                   {"broken.py", "import velx\nraise RuntimeError('the rig is broken in Python')\n",
                    L"the rig is broken in Python"}};
    for (const auto& script : scripts) {
        LogCapture log;
        const wxString path = scriptFile(script.name, script.text);
        wxString error;
        EXPECT_FALSE(StudioScriptRunner::runFile(path, scene(), &error));
        EXPECT_EQ(log.count(script.needle, VelX::XLog::Level::Error), 1u) << script.name;
        EXPECT_EQ(log.count(script.needle, VelX::XLog::Level::Information), 0u) << script.name;
        wxRemoveFile(path);
    }
    LogCapture log;
    wxString error;
    EXPECT_FALSE(StudioScriptRunner::runFile("/no/such/script.lua", scene(), &error));
    EXPECT_EQ(log.count(L"Cannot read the script", VelX::XLog::Level::Error), 1u);
}

TEST_F(StudioFixture, TheLogShowsTheWholeOfALongMessageInItsTooltipAndDetails) {
    auto* pane = dynamic_cast<Orka::LogPane*>(m_frame->PaneLayout().getWindow(StudioFrame::LogPaneName));
    ASSERT_NE(pane, nullptr);
    const wxString message = "Python script \"rig.py\" failed:\nTraceback (most recent call last):\n  File \"rig.py\", "
                             "line 3, in <module>\nRuntimeError: the last line a user needs to read";
    m_logger.error(message);
    ASSERT_TRUE(GuiTest::waitUntil(
        [&] { return pane->rowCount() > 0 && pane->list()->GetItemCount() == static_cast<int>(pane->rowCount()); }));
    const long row = pane->list()->GetItemCount() - 1;
    EXPECT_TRUE(pane->detailsText(static_cast<size_t>(row)).EndsWith(message));

    // The pointer over the row shows the whole message as its tooltip.
    wxRect rect;
    ASSERT_TRUE(pane->list()->GetItemRect(row, rect));
    wxUIActionSimulator input;
    input.MouseMove(pane->list()->ClientToScreen(wxPoint(rect.x + 40, rect.y + rect.height / 2)));
    EXPECT_TRUE(GuiTest::waitUntil([&] { return pane->list()->GetToolTipText() == message; }))
        << pane->list()->GetToolTipText();

    // Double-clicking the row opens the details view with the whole message; Escape closes it.
    wxString shown;
    wxTimer reader;
    reader.Bind(wxEVT_TIMER, [&](wxTimerEvent&) {
        if (wxWindow* details = wxWindow::FindWindowByName(Orka::LogPane::DetailsWindowName)) {
            for (wxWindow* child : details->GetChildren())
                if (auto* text = dynamic_cast<wxTextCtrl*>(child)) shown = text->GetValue();
        }
        wxUIActionSimulator().Char(WXK_ESCAPE);
    });
    reader.StartOnce(600);
    input.MouseDblClick();
    GuiTest::waitUntil([&] { return !shown.empty(); }, 3000);
    GuiTest::pumpEvents(100);
    EXPECT_TRUE(shown.EndsWith(message)) << shown;
}

#include "StudioFixture.h"

#include <velxstudio/TrustScriptsDialog.h>

#include <guitest/GuiTest.h>
#include <velwidgets/AppMainLoop.h>
#include <velxcore/XApplication.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XDemoScene.h>
#include <velxui/XEditorLibrary.h>

#include <wx/uiaction.h>

VelX::XScene& StudioFixture::scene() { return VelX::XApplication::Instance().ActiveScene(); }

StudioFrame::Options StudioFixture::testOptions() {
    StudioFrame::Options options;
    options.rememberLayout = false;
    options.autosave = false;
    return options;
}

void StudioFixture::SetUp() {
    VelXUI::XEditorLibrary::Initialise();
    wxUtils::AppMainLoop::Instance().install(wxTheApp);
    scene().New();
    VelX::XDemoScene::build(scene());
    openFrame(testOptions());
}

void StudioFixture::openFrame(const StudioFrame::Options& options) {
    if (m_frame) {
        m_frame->Destroy();
        GuiTest::pumpEvents(20);
    }
    m_frame = new StudioFrame(scene(), m_logger, options);
    m_frame->SetPrompt([this](const wxString& message, const wxString&, long) {
        m_questions.push_back(message);
        if (m_answers.empty()) return static_cast<int>(wxNO);
        const int answer = m_answers.front();
        m_answers.pop_front();
        return answer;
    });
    m_frame->SetFileChooser([this](bool) { return m_chosenFile; });
    m_frame->SetTrustQuestion([](TrustScriptsDialog&) { return false; });
    m_frame->SetPosition(wxPoint(0, 0));
    m_frame->Show();
    GuiTest::waitUntil([this] { return m_frame->IsShownOnScreen(); });
    GuiTest::pumpEvents(100);
}

void StudioFixture::TearDown() {
    if (m_frame) {
        m_frame->Destroy();
        m_frame = nullptr;
    }
    GuiTest::pumpEvents(20);
    wxUtils::AppMainLoop::Instance().uninstall();
}

void StudioFixture::focusFrame() {
    m_frame->Raise();
    wxUIActionSimulator simulator;
    const wxRect area = m_frame->GetScreenRect();
    simulator.MouseMove(area.GetLeft() + area.GetWidth() / 2, area.GetTop() + area.GetHeight() / 3);
    GuiTest::pumpEvents(50);
    m_frame->SetFocus();
    GuiTest::pumpEvents(50);
}

void StudioFixture::click(wxWindow* window) {
    wxUIActionSimulator simulator;
    const wxRect area = window->GetScreenRect();
    simulator.MouseMove(area.GetLeft() + area.GetWidth() / 2, area.GetTop() + area.GetHeight() / 2);
    GuiTest::pumpEvents(30);
    simulator.MouseClick();
    GuiTest::pumpEvents(30);
}

void StudioFixture::renameAsOneStep(const wchar_t* path, const wchar_t* newName, const wchar_t* stepName) {
    VelX::XDatabase& database = scene().Database();
    VelX::XObject object = database.Object(std::wstring(path));
    ASSERT_TRUE(object.IsValid()) << "the demo scene has no " << wxString(path);
    database.BeginChangeBlock();
    object.SetName(newName);
    database.EndChangeBlock(stepName);
}

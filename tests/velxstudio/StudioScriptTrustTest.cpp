// Trusting a scene's scripts in the studio: the dialog says which language runs them and with what
// rights, shows the scripts, and its answer is what lets them run.
#include "StudioFixture.h"

#include <velxstudio/TrustScriptsDialog.h>

#include <guitest/GuiTest.h>
#include <velxcore/XApplication.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XSceneSettings.h>
#include <velxcore/XSettings.h>
#include <velxcore/XSimulation.h>

#include <wx/button.h>
#include <wx/filename.h>

namespace {

wxString savedSceneWithScripts(const wxString& name, int language, const wxString& start) {
    const wxString path =
        wxFileName(wxFileName::GetTempDir(), wxString::Format("velx-trust-%lu-%s", wxGetProcessId(), name)).GetFullPath();
    VelX::XScene author;
    VelX::XSceneSettings settings = author.SceneSettings();
    settings.ScriptingLanguage().SetEnumeration(language);
    settings.StartScript().SetString(start.ToStdWstring());
    settings.UpdateScript().SetString(L"");
    settings.EndScript().SetString(L"");
    EXPECT_TRUE(author.Save(path.ToStdWstring()));
    VelX::XApplication::Instance().Settings().Untrust(path.ToStdWstring());
    return path;
}

}  // namespace

TEST_F(StudioFixture, TheTrustDialogNamesTheLanguageAndItsRightsAndShowsTheScripts) {
    struct Case {
        int language;
        const char* start;
        const char* rights;
        bool trust;
    };
    const Case cases[] = {
        {0, "import velx\nvelx.create('Transform', 'fromPython')", "as Python with your full rights", true},
        {1, "velx.create('Transform', 'fromLua')", "as Lua in the sandbox", false},
    };
    for (const Case& c : cases) {
        const wxString path = savedSceneWithScripts(wxString::Format("language%d.velx", c.language), c.language, c.start);
        ASSERT_TRUE(m_frame->OpenScene(path));
        ASSERT_FALSE(scene().Simulation().IsTrusted());

        wxString summary, scripts;
        m_frame->SetTrustQuestion([&](TrustScriptsDialog& dialog) {
            summary = dialog.Summary();
            scripts = dialog.ScriptsText();
            wxButton* answer = c.trust ? dialog.TrustButton() : dialog.CancelButton();
            dialog.CallAfter([answer] {
                GuiTest::pumpEvents(100);
                click(answer);
            });
            return dialog.ShowModal() == wxID_YES;
        });
        m_frame->AskToTrustScripts();
        EXPECT_NE(summary.find(c.rights), wxString::npos) << summary;
        EXPECT_NE(summary.find(wxFileName(path).GetFullName()), wxString::npos) << summary;
        EXPECT_NE(scripts.find(wxString(c.start)), wxString::npos) << scripts;
        EXPECT_NE(scripts.find("-- update script --\n(empty)"), wxString::npos) << scripts;
        EXPECT_EQ(scene().Simulation().IsTrusted(), c.trust);
        m_frame->Play();
        const std::wstring created = c.language == 0 ? L"fromPython" : L"fromLua";
        EXPECT_EQ(scene().Database().Object(created).IsValid(), c.trust);
        m_frame->StopPlayback();
        wxRemoveFile(path);
    }
}

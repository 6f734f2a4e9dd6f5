// What the studio tells the user about their input and their file: names the core rewrote, the
// saved place in the undo history, and an overview that follows Save As and trust.
#include "StudioExplorerFixture.h"

#include <velxstudio/SceneOverviewPanel.h>
#include <velxstudio/TrustScriptsDialog.h>

#include <velxcore/XApplication.h>
#include <velxcore/XSceneSettings.h>
#include <velxcore/XSettings.h>
#include <velxcore/XSimulation.h>

#include <wx/filename.h>

#include <algorithm>

namespace {

wxString tempScene(const wxString& name) {
    return wxFileName(wxFileName::GetTempDir(), wxString::Format("velx-feedback-%lu-%s", wxGetProcessId(), name))
        .GetFullPath();
}

}  // namespace

TEST_F(StudioExplorer, ARenameTheCoreRewritesShowsTheFinalNameAndSaysWhy) {
    struct Case {
        const char* typed;
        const wchar_t* given;
        const char* why;
    };
    const Case cases[] = {{"left hand", L"left_hand", "only letters, digits and underscores"},
                          {"Ground", L"Ground1", "\"Ground\" is already taken here"}};
    for (const Case& c : cases) {
        VelX::XObject target = topLevel(L"HandTarget");
        if (!target.IsValid()) target = topLevel(L"left_hand");
        click(explorer->ItemOf(target));
        wxUIActionSimulator().Char(WXK_F2);
        ASSERT_TRUE(GuiTest::waitUntil([&] { return explorer->IsEditingLabel(); }));
        wxUIActionSimulator().Char('a', wxMOD_CONTROL);
        wxUIActionSimulator().Text(c.typed);
        wxUIActionSimulator().Char(WXK_RETURN);
        ASSERT_TRUE(GuiTest::waitUntil([&] { return !explorer->IsEditingLabel(); }));
        EXPECT_EQ(target.Name(), c.given);
        EXPECT_EQ(explorer->ItemOf(target)->GetLabel(), wxString(c.given));
        const wxString note = m_frame->GetStatusBar()->GetStatusText(0);
        EXPECT_TRUE(note.StartsWith(wxString::Format("Renamed to \"%s\"", c.given))) << note;
        EXPECT_TRUE(note.Contains(c.why)) << note;
    }
}

TEST_F(StudioFixture, UndoingBackToTheSavedStateIsSavedAgain) {
    const wxString path = tempScene("saved-mark.velx");
    ASSERT_TRUE(m_frame->SaveSceneAs(path));
    renameAsOneStep(L"Hero/Hips", L"Pelvis", L"Rename Hips");
    EXPECT_TRUE(m_frame->HasUnsavedChanges());
    focusFrame();
    wxUIActionSimulator().Char('z', wxMOD_CONTROL);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return scene().Database().Object(L"Hero/Hips").IsValid(); }));
    EXPECT_FALSE(m_frame->HasUnsavedChanges()) << "undo back to the saved state still counts as unsaved";
    EXPECT_FALSE(m_frame->GetTitle().Contains("*"));
    wxUIActionSimulator().Char('z', wxMOD_CONTROL | wxMOD_SHIFT);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return scene().Database().Object(L"Hero/Pelvis").IsValid(); }));
    EXPECT_TRUE(m_frame->HasUnsavedChanges());
    // Selecting is no edit, and moving the frame neither.
    ASSERT_TRUE(m_frame->SaveScene());
    scene().Selection().Select(std::vector<std::wstring>{L"Ground"});
    scene().SceneSettings().SetFrame(7);
    GuiTest::pumpEvents(50);
    EXPECT_FALSE(m_frame->HasUnsavedChanges());
    wxRemoveFile(path);
}

TEST_F(StudioFixture, TheOverviewFollowsSaveAsAndTrust) {
    GuiTest::pumpEvents(50);
    EXPECT_EQ(m_frame->Overview()->title(), "Untitled scene");
    const wxString path = tempScene("overview.velx");
    ASSERT_TRUE(m_frame->SaveSceneAs(path));
    EXPECT_TRUE(GuiTest::waitUntil([&] { return m_frame->Overview()->title() == wxFileName(path).GetFullName(); }))
        << m_frame->Overview()->title();

    VelX::XApplication::Instance().Settings().Untrust(path.ToStdWstring());
    ASSERT_TRUE(m_frame->OpenScene(path));
    const auto says = [&](const char* line) {
        const auto& lines = m_frame->Overview()->lines();
        return std::find(lines.begin(), lines.end(), wxString(line)) != lines.end();
    };
    ASSERT_TRUE(GuiTest::waitUntil([&] { return says("Simulation: stopped; the scene's scripts are not trusted yet"); }));
    m_frame->SetTrustQuestion([](TrustScriptsDialog&) { return true; });
    m_frame->AskToTrustScripts();
    EXPECT_TRUE(GuiTest::waitUntil([&] { return says("Simulation: stopped"); })) << "the trust status is stale";
    VelX::XApplication::Instance().Settings().Untrust(path.ToStdWstring());
    wxRemoveFile(path);
}

// The studio frame driven as a person would: menus and shortcuts through the X server, panes shown
// and hidden, unsaved work protected, bad files refused with the core's message.
#include "StudioFixture.h"

#include <velxstudio/SceneOverviewPanel.h>
#include <velxstudio/ScreenshotWriter.h>

#include <guitest/GuiTest.h>
#include <orkacore/ColourManager.h>
#include <orkacore/LayoutManager.h>
#include <velwidgets/AppMainLoop.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XSceneSettings.h>
#include <velxui/XEditor.h>

#include <wx/ffile.h>
#include <wx/filename.h>
#include <wx/image.h>
#include <wx/menu.h>
#include <wx/statusbr.h>
#include <wx/uiaction.h>

namespace {

wxString tempPath(const wxString& name) {
    return wxFileName(wxFileName::GetTempDir(), wxString::Format("velx-studio-test-%lu-%s", wxGetProcessId(), name))
        .GetFullPath();
}

wxString editLabel(StudioFrame* frame, int id) {
    return frame->GetMenuBar()->FindItem(id)->GetItemLabel();
}

// A panel of the editor library placed inside another window, to ask whether it is on screen.
class ProbeEditor : public wxPanel, public VelXUI::XEditor {
public:
    ProbeEditor(wxWindow* parent, VelX::XScene& scene) : wxPanel(parent), VelXUI::XEditor(scene) {}

protected:
    wxWindow* Window() const override { return const_cast<ProbeEditor*>(this); }
};

}  // namespace

TEST_F(StudioFixture, UndoAndRedoFollowTheStepNamesThroughShortcutsAndTheMenu) {
    renameAsOneStep(L"Hero/Hips", L"Pelvis", L"Rename Hips");
    GuiTest::pumpEvents(50);
    EXPECT_EQ(editLabel(m_frame, wxID_UNDO), "&Undo Rename Hips\tCtrl+Z");
    EXPECT_FALSE(m_frame->GetMenuBar()->IsEnabled(wxID_REDO));

    // Ctrl+Z typed on the keyboard.
    focusFrame();
    wxUIActionSimulator simulator;
    simulator.Char('z', wxMOD_CONTROL);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return scene().Database().Object(L"Hero/Hips").IsValid(); }))
        << "Ctrl+Z did not undo the rename";
    GuiTest::pumpEvents(50);
    EXPECT_EQ(editLabel(m_frame, wxID_REDO), "&Redo Rename Hips\tCtrl+Shift+Z");

    // Ctrl+Shift+Z redoes.
    simulator.Char('z', wxMOD_CONTROL | wxMOD_SHIFT);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return scene().Database().Object(L"Hero/Pelvis").IsValid(); }))
        << "Ctrl+Shift+Z did not redo the rename";

    // Edit > Undo through the menu bar, opened with its mnemonic and chosen with the keyboard.
    GuiTest::pumpEvents(50);
    simulator.Char('e', wxMOD_ALT);
    GuiTest::pumpEvents(200);
    simulator.Char(WXK_RETURN);
    EXPECT_TRUE(GuiTest::waitUntil([&] { return scene().Database().Object(L"Hero/Hips").IsValid(); }))
        << "Edit > Undo did not undo the rename";
}

TEST_F(StudioFixture, TheWindowMenuShowsAndHidesPanesAndPanelsSeeIt) {
    wxWindow* logPane = m_frame->PaneLayout().getWindow(StudioFrame::LogPaneName);
    ASSERT_NE(logPane, nullptr);
    auto* probe = new ProbeEditor(logPane, scene());
    probe->VelXUI::XEditor::Create(logPane, &m_frame->PaneLayout());
    EXPECT_TRUE(probe->IsVisible());

    const int item = m_frame->WindowMenuItemId(StudioFrame::LogPaneName);
    ASSERT_NE(item, wxID_NONE);
    EXPECT_TRUE(m_frame->GetMenuBar()->IsChecked(item));
    wxCommandEvent toggle(wxEVT_MENU, item);
    toggle.SetInt(0);
    m_frame->ProcessWindowEvent(toggle);
    GuiTest::pumpEvents(50);
    EXPECT_FALSE(m_frame->PaneLayout().isWindowShown(StudioFrame::LogPaneName));
    EXPECT_FALSE(probe->IsVisible());
    EXPECT_FALSE(logPane->IsShownOnScreen());

    // Showing it again from code keeps the menu's check mark in step.
    m_frame->PaneLayout().showWindow(StudioFrame::LogPaneName, true);
    GuiTest::pumpEvents(50);
    EXPECT_TRUE(probe->IsVisible());
    EXPECT_TRUE(m_frame->GetMenuBar()->IsChecked(item));
    // Only panes that exist are listed.
    EXPECT_EQ(m_frame->WindowMenuItemId("NoSuchPane"), wxID_NONE);
}

TEST_F(StudioFixture, ABurstOfChangesCostsOneMainLoopPass) {
    SceneOverviewPanel* overview = m_frame->Overview();
    GuiTest::pumpEvents(50);
    const unsigned gathersBefore = overview->gatherCount();
    const unsigned long passesBefore = wxUtils::AppMainLoop::Instance().passCount();
    VelX::XSceneSettings settings = scene().SceneSettings();
    for (int frame = 1; frame <= 200; ++frame) settings.SetFrame(static_cast<float>(frame));
    GuiTest::pumpEvents(100);
    EXPECT_EQ(overview->gatherCount(), gathersBefore + 1);
    EXPECT_EQ(wxUtils::AppMainLoop::Instance().passCount(), passesBefore + 1);
    EXPECT_EQ(m_frame->GetStatusBar()->GetStatusText(2), "Frame 200");
    // With nothing new, idle turns run no pass at all.
    GuiTest::pumpEvents(100);
    EXPECT_EQ(wxUtils::AppMainLoop::Instance().passCount(), passesBefore + 1);
}

TEST_F(StudioFixture, ClosingWithUnsavedChangesAsksAndCancelKeepsEverything) {
    renameAsOneStep(L"Hero/Hips", L"Pelvis", L"Rename Hips");
    ASSERT_TRUE(m_frame->HasUnsavedChanges());
    EXPECT_TRUE(m_frame->GetTitle().StartsWith("Untitled*"));

    m_answers = {wxCANCEL};
    EXPECT_FALSE(m_frame->Close(false));
    ASSERT_EQ(m_questions.size(), 1u);
    EXPECT_EQ(m_questions[0], "Save changes to the untitled scene before closing it?");
    EXPECT_TRUE(m_frame->IsShown());
    EXPECT_TRUE(scene().Database().Object(L"Hero/Pelvis").IsValid());

    // Yes saves under the name the user picks, then closes.
    m_chosenFile = tempPath("closing.velx");
    m_answers = {wxYES};
    StudioFrame* frame = m_frame;
    EXPECT_TRUE(frame->Close(false));
    m_frame = nullptr;
    GuiTest::pumpEvents(50);
    EXPECT_TRUE(wxFileExists(m_chosenFile));
    EXPECT_EQ(wxString(scene().FileName()), m_chosenFile);
    wxRemoveFile(m_chosenFile);
}

TEST_F(StudioFixture, NewAndTimeChangesFollowTheSavedState) {
    // Moving the time is not unsaved work; editing is, and saving clears it.
    scene().SceneSettings().SetFrame(12.0f);
    EXPECT_FALSE(m_frame->HasUnsavedChanges());
    renameAsOneStep(L"Hero/Hips", L"Pelvis", L"Rename Hips");
    EXPECT_TRUE(m_frame->HasUnsavedChanges());
    const wxString file = tempPath("saved.velx");
    ASSERT_TRUE(m_frame->SaveSceneAs(file));
    EXPECT_FALSE(m_frame->HasUnsavedChanges());
    EXPECT_TRUE(m_frame->GetTitle().StartsWith(wxFileName(file).GetFullName() + " - "));

    // New with unsaved changes asks first; No discards them.
    renameAsOneStep(L"Hero/Pelvis", L"Hips", L"Rename Pelvis");
    m_answers = {wxNO};
    EXPECT_TRUE(m_frame->NewScene());
    EXPECT_EQ(m_questions.size(), 1u);
    EXPECT_FALSE(scene().Database().Object(L"Hero").IsValid());
    EXPECT_FALSE(m_frame->HasUnsavedChanges());
    wxRemoveFile(file);
}

TEST_F(StudioFixture, ABadFileIsRefusedWithTheCoresMessageAndTheSceneStays) {
    const wxString file = tempPath("broken.velx");
    {
        wxFFile out(file, "wb");
        out.Write(wxString("{ \"format\": \"velx-scene\", \"version\": 1, \"objects\": [ { \"type\": "));
    }
    renameAsOneStep(L"Hero/Hips", L"Pelvis", L"Rename Hips");
    const size_t objects = scene().Database().ObjectCount();

    EXPECT_FALSE(m_frame->OpenScene(file));
    ASSERT_EQ(m_questions.size(), 1u);
    EXPECT_NE(m_questions[0].Find(wxFileName(file).GetFullName()), wxNOT_FOUND) << m_questions[0];
    ASSERT_FALSE(m_logger.entries().empty());
    EXPECT_EQ(m_logger.entries().back().text, m_questions[0]);
    EXPECT_EQ(scene().Database().ObjectCount(), objects);
    EXPECT_TRUE(scene().Database().Object(L"Hero/Pelvis").IsValid());
    EXPECT_TRUE(m_frame->HasUnsavedChanges()) << "the user's unsaved work must stay marked unsaved";

    EXPECT_FALSE(m_frame->OpenScene(tempPath("missing.velx")));
    EXPECT_EQ(m_questions.size(), 2u);
    wxRemoveFile(file);
}

TEST_F(StudioFixture, PlaybackStepsTheFrameShownInTheStatusBar) {
    VelX::XSceneSettings settings = scene().SceneSettings();
    const float before = settings.Frame();
    m_frame->StepFrame();
    GuiTest::pumpEvents(50);
    EXPECT_EQ(settings.Frame(), before + 1.0f);
    EXPECT_EQ(m_frame->GetStatusBar()->GetStatusText(2), wxString::Format("Frame %g", before + 1.0f));

    m_frame->Play();
    EXPECT_TRUE(scene().Simulation().IsPlaying());
    EXPECT_TRUE(GuiTest::waitUntil([&] { return settings.Frame() >= before + 4.0f; }))
        << "playback did not advance the frame";
    m_frame->StopPlayback();
    EXPECT_FALSE(scene().Simulation().IsPlaying());
}

TEST_F(StudioFixture, TheWindowLayoutIsRememberedBetweenRuns) {
    StudioFrame::Options remembering = testOptions();
    remembering.rememberLayout = true;
    openFrame(remembering);
    m_frame->PaneLayout().showWindow(StudioFrame::LogPaneName, false);
    m_frame->SaveLayout();

    openFrame(remembering);
    EXPECT_FALSE(m_frame->PaneLayout().isWindowShown(StudioFrame::LogPaneName));
    EXPECT_FALSE(m_frame->GetMenuBar()->IsChecked(m_frame->WindowMenuItemId(StudioFrame::LogPaneName)));

    // Leave the stored layout as the next run expects it.
    m_frame->PaneLayout().showWindow(StudioFrame::LogPaneName, true);
    m_frame->SaveLayout();
}

TEST_F(StudioFixture, TheDarkSchemeFromTheViewMenuRepaintsEveryPane) {
    const int dark = m_frame->GetMenuBar()->FindMenuItem("View", "Dark Colour Scheme");
    ASSERT_NE(dark, wxNOT_FOUND);
    wxCommandEvent choose(wxEVT_MENU, dark);
    m_frame->ProcessWindowEvent(choose);
    GuiTest::pumpEvents(200);
    EXPECT_EQ(Orka::ColourManager::Instance().scheme(), Orka::ColourManager::SchemeKind::Dark);
    EXPECT_TRUE(m_frame->GetMenuBar()->IsChecked(dark));
    const wxColour background = Orka::ColourManager::darkScheme().panelBackground;
    EXPECT_EQ(m_frame->Overview()->GetBackgroundColour(), background);

    // What a person sees: the overview pane is dark on screen.
    ScreenshotWriter::paintNow(m_frame);
    GuiTest::pumpEvents(200);
    const wxString png = wxFileName(wxFileName::GetTempDir(), "velx-studio-dark.png").GetFullPath();
    ASSERT_TRUE(ScreenshotWriter::save(m_frame, png));
    wxImage image(png, wxBITMAP_TYPE_PNG);
    ASSERT_TRUE(image.IsOk());
    const wxRect overview(m_frame->Overview()->GetScreenPosition() - m_frame->GetScreenPosition(),
                          m_frame->Overview()->GetSize());
    const wxPoint inside = overview.GetBottomRight() - wxPoint(20, 20);
    EXPECT_LT(image.GetRed(inside.x, inside.y) + image.GetGreen(inside.x, inside.y) + image.GetBlue(inside.x, inside.y),
              3 * 100);
    if (!wxGetEnv("VELX_KEEP_SCREENSHOTS", nullptr)) wxRemoveFile(png);

    const int light = m_frame->GetMenuBar()->FindMenuItem("View", "Light Colour Scheme");
    wxCommandEvent back(wxEVT_MENU, light);
    m_frame->ProcessWindowEvent(back);
    GuiTest::pumpEvents(50);
    EXPECT_EQ(Orka::ColourManager::Instance().scheme(), Orka::ColourManager::SchemeKind::Light);
}

TEST_F(StudioFixture, ALargeSceneOpensWithAProgressDialog) {
    StudioFrame::Options options = testOptions();
    options.bigSceneBytes = 1;  // every scene counts as large here
    openFrame(options);
    const wxString file = tempPath("large.velx");
    ASSERT_TRUE(m_frame->SaveSceneAs(file));
    const size_t objects = scene().Database().ObjectCount();
    scene().New();
    ASSERT_TRUE(m_frame->OpenScene(file));
    EXPECT_EQ(scene().Database().ObjectCount(), objects);
    EXPECT_TRUE(m_questions.empty());
    EXPECT_TRUE(m_frame->IsEnabled()) << "the progress dialog left the frame disabled";
    wxRemoveFile(file);
}

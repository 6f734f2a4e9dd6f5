// Playing is not editing: playback through the keyboard adds no undo steps and no unsaved mark,
// Stop puts the scene back, and a scene whose scripts are not trusted still plays its keyframes.
#include "StudioFixture.h"

#include <velxstudio/SceneOverviewPanel.h>

#include <guitest/GuiTest.h>
#include <velxcore/XApplication.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XKeyframe.h>
#include <velxcore/XSceneSettings.h>
#include <velxcore/XSettings.h>
#include <velxcore/XSimulation.h>

#include <wx/filename.h>
#include <wx/statusbr.h>
#include <wx/uiaction.h>

#include <algorithm>

namespace {

bool overviewSays(StudioFrame* frame, const wxString& text) {
    const auto& lines = frame->Overview()->lines();
    return std::find(lines.begin(), lines.end(), text) != lines.end();
}

}  // namespace

TEST_F(StudioFixture, PlayingAndStoppingFromTheKeyboardLeaveNoEditBehind) {
    VelX::XAttribute rotateY = scene().Database().Object(L"Hero/Hips").Attribute(L"rotateY");
    const float rotationBefore = rotateY.Float();
    const float frameBefore = scene().SceneSettings().Frame();
    ASSERT_FALSE(scene().Database().CanUndo());
    ASSERT_FALSE(m_frame->HasUnsavedChanges());

    focusFrame();
    wxUIActionSimulator keys;
    keys.Char(WXK_F5);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return scene().SceneSettings().Frame() >= frameBefore + 3.0f; }))
        << "F5 did not play";
    EXPECT_TRUE(GuiTest::waitUntil([&] { return overviewSays(m_frame, "Simulation: playing"); }));
    EXPECT_NE(rotateY.Float(), rotationBefore) << "the update script did not run";
    EXPECT_FALSE(scene().Database().CanUndo()) << "playing made undo steps: " << scene().Database().UndoName();
    EXPECT_FALSE(m_frame->HasUnsavedChanges());
    EXPECT_FALSE(m_frame->GetTitle().Contains("*"));

    keys.Char(WXK_F5, wxMOD_SHIFT);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return !scene().Simulation().IsPlaying(); })) << "Shift+F5 did not stop";
    EXPECT_FLOAT_EQ(rotateY.Float(), rotationBefore);
    EXPECT_FLOAT_EQ(scene().SceneSettings().Frame(), frameBefore);
    EXPECT_FALSE(scene().Database().CanUndo());
    EXPECT_FALSE(m_frame->HasUnsavedChanges());
    EXPECT_TRUE(GuiTest::waitUntil([&] { return overviewSays(m_frame, "Simulation: stopped"); }))
        << "the overview still says playing after Stop";
}

TEST_F(StudioFixture, GoingToTheStartPutsTheSceneBackAndPlaysOnFromThere) {
    VelX::XAttribute rotateY = scene().Database().Object(L"Hero/Hips").Attribute(L"rotateY");
    const float rotationBefore = rotateY.Float();
    VelX::XSceneSettings settings = scene().SceneSettings();
    const float start = settings.PlaybackStartFrame();
    settings.SetFrame(start + 20.0f);

    focusFrame();
    wxUIActionSimulator keys;
    keys.Char(WXK_F5);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return settings.Frame() >= start + 24.0f; })) << "F5 did not play";
    keys.Char(WXK_F6, wxMOD_SHIFT);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return settings.Frame() < start + 20.0f; })) << "Shift+F6 did not go to the start";
    EXPECT_TRUE(scene().Simulation().IsPlaying()) << "playing goes on from the start";
    m_frame->StopPlayback();
    EXPECT_FLOAT_EQ(rotateY.Float(), rotationBefore) << "the simulation's changes stayed";
    EXPECT_FALSE(scene().Database().CanUndo()) << scene().Database().UndoName();
    EXPECT_FALSE(m_frame->HasUnsavedChanges());

    // Stopped, it only moves the time.
    settings.SetFrame(start + 7.0f);
    keys.Char(WXK_F6, wxMOD_SHIFT);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return settings.Frame() == start; }));
    EXPECT_FALSE(scene().Simulation().IsPlaying());
    EXPECT_FALSE(scene().Database().CanUndo());
}

TEST_F(StudioFixture, AnUntrustedScenePlaysItsKeyframesAndSaysItSkipsTheScripts) {
    const wxString path = wxFileName(wxFileName::GetTempDir(),
                                     wxString::Format("velx-playback-%lu.velx", wxGetProcessId()))
                              .GetFullPath();
    {
        VelX::XScene author;
        VelX::XSceneSettings settings = author.SceneSettings();
        settings.StartScript().SetString(L"velx.create('Transform', 'fromScript')");
        settings.SetPlaybackStartFrame(1).SetPlaybackEndFrame(100);
        VelX::XAttribute height = author.Database().CreateObject(L"Transform", L"ball").Attribute(L"translateY");
        settings.SetFrame(1);
        height.SetFloat(0.0f);
        height.SetKeyframe();
        settings.SetFrame(101);
        height.SetKeyframe().SetOutputValue(100.0f);
        ASSERT_TRUE(author.Save(path.ToStdWstring()));
    }
    VelX::XApplication::Instance().Settings().Untrust(path.ToStdWstring());
    ASSERT_TRUE(m_frame->OpenScene(path));
    scene().SceneSettings().SetFrame(1);

    focusFrame();
    wxUIActionSimulator().Char(WXK_F5);
    VelX::XAttribute height = scene().Database().Object(L"ball").Attribute(L"translateY");
    ASSERT_TRUE(GuiTest::waitUntil([&] { return scene().SceneSettings().Frame() >= 4.0f; })) << "F5 did not play";
    EXPECT_GT(height.Float(), 0.0f) << "the keyframes did not play";
    EXPECT_FALSE(scene().Database().Object(L"fromScript").IsValid());
    EXPECT_TRUE(m_frame->GetStatusBar()->GetStatusText(0).Contains("not trusted"))
        << m_frame->GetStatusBar()->GetStatusText(0);
    m_frame->StopPlayback();
    EXPECT_FALSE(scene().Database().CanUndo());
    wxRemoveFile(path);
}

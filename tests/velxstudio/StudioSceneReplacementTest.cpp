// Every panel shows the scene that replaced the old one: after File > New, Open, Revert and the
// recovery of an autosave, the explorer lists exactly the new scene's objects and clicking them
// selects them.
#include "StudioExplorerFixture.h"

#include <velxcore/XSelection.h>

#include <wx/filename.h>

namespace {

wxString tempScene(const wxString& name) {
    return wxFileName(wxFileName::GetTempDir(), wxString::Format("velx-replace-%lu-%s", wxGetProcessId(), name))
        .GetFullPath();
}

// The labels of the root's children, in order.
std::vector<wxString> topLevelLabels(VelXUI::XSceneExplorer* explorer) {
    std::vector<wxString> labels;
    for (size_t i = 0; i < explorer->GetRoot()->GetChildCount(); ++i)
        labels.push_back(explorer->GetRoot()->GetChild(i)->GetLabel());
    return labels;
}

// Saves a scene of one top-level transform with the given name.
wxString savedSceneWith(const wchar_t* objectName, const wxString& fileName) {
    VelX::XScene scene;
    scene.Database().CreateObject(L"Transform", objectName);
    const wxString path = tempScene(fileName);
    EXPECT_TRUE(scene.Save(path.ToStdWstring()));
    return path;
}

}  // namespace

TEST_F(StudioExplorer, EveryWayOfReplacingTheSceneShowsTheNewOne) {
    click(explorer->ItemOf(topLevel(L"Ground")));
    ASSERT_EQ(scene().Selection().Count(), 1);

    // File > New from the keyboard.
    focusFrame();
    wxUIActionSimulator().Char('n', wxMOD_CONTROL);
    ASSERT_TRUE(GuiTest::waitUntil([&] { return !topLevel(L"Ground").IsValid(); })) << "Ctrl+N made no new scene";
    GuiTest::pumpEvents(100);
    EXPECT_TRUE(topLevelLabels(explorer).empty()) << "the old hierarchy is still listed after New";

    // Open.
    const wxString first = savedSceneWith(L"Opened", "first.velx");
    ASSERT_TRUE(m_frame->OpenScene(first));
    GuiTest::pumpEvents(100);
    EXPECT_EQ(topLevelLabels(explorer), std::vector<wxString>{"Opened"});
    click(explorer->ItemOf(topLevel(L"Opened")));
    EXPECT_TRUE(scene().Selection().IsSelected(topLevel(L"Opened")));

    // Revert after an edit: the file's hierarchy again, the edit gone.
    scene().Database().BeginChangeBlock();
    scene().Database().CreateObject(L"Transform", L"Unsaved");
    scene().Database().EndChangeBlock(L"Create Unsaved");
    GuiTest::pumpEvents(100);
    ASSERT_EQ(topLevelLabels(explorer).size(), 2u);
    m_answers.push_back(wxYES);
    ASSERT_TRUE(m_frame->RevertScene());
    GuiTest::pumpEvents(100);
    EXPECT_EQ(topLevelLabels(explorer), std::vector<wxString>{"Opened"});
    EXPECT_FALSE(m_frame->HasUnsavedChanges());

    // Recovery of an autosave.
    const wxString autosave = savedSceneWith(L"Recovered", "autosave.velx");
    ASSERT_TRUE(m_frame->RecoverScene(autosave, first));
    GuiTest::pumpEvents(100);
    EXPECT_EQ(topLevelLabels(explorer), std::vector<wxString>{"Recovered"});
    click(explorer->ItemOf(topLevel(L"Recovered")));
    EXPECT_TRUE(scene().Selection().IsSelected(topLevel(L"Recovered")));
    wxRemoveFile(first);
    wxRemoveFile(autosave);
}

TEST_F(StudioFixture, RevertWithoutAFileSaysThereIsNothingToRevertTo) {
    scene().New();
    EXPECT_FALSE(m_frame->RevertScene());
    EXPECT_NE(m_frame->GetStatusBar()->GetStatusText(0).find("never been saved"), wxString::npos);
}

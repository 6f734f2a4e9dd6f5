// Autosave and crash recovery: a copy only while there is unsaved work, written whole, found again
// after a crash, and given back as the user's unsaved work on the original file.
#include "StudioFixture.h"

#include <velxstudio/SceneAutosave.h>

#include <guitest/GuiTest.h>
#include <velxcore/XApplication.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XSceneFile.h>

#include <wx/dir.h>
#include <wx/ffile.h>
#include <wx/filename.h>

#include <sys/wait.h>
#include <unistd.h>

namespace {

wxString freshFolder(const char* name) {
    const wxString folder = wxFileName(wxFileName::GetTempDir(), wxString::Format("velx-autosave-%lu-%s",
                                                                                wxGetProcessId(), name))
                                .GetFullPath();
    if (wxDirExists(folder)) wxFileName::Rmdir(folder, wxPATH_RMDIR_RECURSIVE);
    wxFileName::Mkdir(folder, wxS_DIR_DEFAULT, wxPATH_MKDIR_FULL);
    return folder;
}

// The id of a process that has ended: a child that exits at once.
long deadProcessId() {
    const pid_t child = fork();
    if (child == 0) _exit(0);
    int status = 0;
    waitpid(child, &status, 0);
    return static_cast<long>(child);
}

void writeText(const wxString& file, const wxString& text) {
    wxFFile out(file, "wb");
    out.Write(text);
}

}  // namespace

TEST_F(StudioFixture, AutosaveWritesOnlyUnsavedWorkAndACleanExitLeavesNothing) {
    const wxString folder = freshFolder("writes");
    bool unsaved = false;
    wxString autosaveFile, lockFile;
    {
        SceneAutosave autosave(scene(), folder, 0);
        autosave.setUnsavedChangesQuery([&] { return unsaved; });
        autosaveFile = autosave.autosaveFile();
        lockFile = autosave.lockFile();
        EXPECT_TRUE(wxFileExists(lockFile)) << "a running session owns a lock";
        EXPECT_FALSE(autosave.writeNow());
        EXPECT_FALSE(wxFileExists(autosaveFile));

        renameAsOneStep(L"Hero/Hips", L"Pelvis", L"Rename Hips");
        unsaved = true;
        ASSERT_TRUE(autosave.writeNow());
        // The copy is the scene exactly.
        VelX::XScene copy;
        ASSERT_TRUE(copy.Load(autosaveFile.ToStdWstring()));
        EXPECT_EQ(VelX::XSceneFile::toJson(copy.Database().db()), VelX::XSceneFile::toJson(scene().Database().db()));

        // A running session is not a crashed one.
        EXPECT_TRUE(SceneAutosave::findCrashedSessions(folder).empty());
        autosave.discard();
        EXPECT_FALSE(wxFileExists(autosaveFile));
        EXPECT_TRUE(autosave.writeNow());
    }
    EXPECT_FALSE(wxFileExists(autosaveFile));
    EXPECT_FALSE(wxFileExists(lockFile));
    wxFileName::Rmdir(folder, wxPATH_RMDIR_RECURSIVE);
}

TEST_F(StudioFixture, AStartClearsTheAutosaveFolderOfSavesCutShortByACrash) {
    const wxString folder = freshFolder("cut");
    const long crashed = deadProcessId();
    const wxString cut = wxFileName(folder, wxString::Format("autosave-%ld.velx.tmp-%ld-1", crashed, crashed)).GetFullPath();
    const wxString notOurs = wxFileName(folder, "notes.txt").GetFullPath();
    writeText(cut, "{\"format\": \"velx-sc");
    writeText(notOurs, "kept");
    {
        SceneAutosave autosave(scene(), folder, 0);
        EXPECT_FALSE(wxFileExists(cut));
        EXPECT_TRUE(wxFileExists(notOurs));
    }
    wxFileName::Rmdir(folder, wxPATH_RMDIR_RECURSIVE);
}

TEST_F(StudioFixture, AutosaveRunsOnItsTimerWhileThereAreUnsavedChanges) {
    const wxString folder = freshFolder("timer");
    SceneAutosave autosave(scene(), folder, 1);
    autosave.setUnsavedChangesQuery([] { return true; });
    EXPECT_TRUE(GuiTest::waitUntil([&] { return autosave.writeCount() >= 1; }, 4000));
    EXPECT_TRUE(wxFileExists(autosave.autosaveFile()));
}

TEST_F(StudioFixture, ACrashedSessionIsFoundAndItsWorkRecoveredUnderTheOriginalName) {
    const wxString folder = freshFolder("crash");
    const long pid = deadProcessId();
    const wxString original = wxFileName(folder, "character.velx").GetFullPath();
    const wxString lock = wxFileName(folder, wxString::Format("session-%ld.lock", pid)).GetFullPath();
    const wxString copy = wxFileName(folder, wxString::Format("autosave-%ld.velx", pid)).GetFullPath();
    writeText(lock, original);
    renameAsOneStep(L"Hero/Hips", L"Pelvis", L"Rename Hips");
    std::string error;
    ASSERT_TRUE(VelX::XSceneFile::save(scene().Database().db(), std::string(copy.utf8_str()), error)) << error;
    // A second crashed session that never autosaved, and a lock of this live process.
    const long otherPid = deadProcessId();
    writeText(wxFileName(folder, wxString::Format("session-%ld.lock", otherPid)).GetFullPath(), "");
    writeText(wxFileName(folder, wxString::Format("session-%lu.lock", wxGetProcessId())).GetFullPath(), "");

    std::vector<SceneAutosave::CrashedSession> sessions = SceneAutosave::findCrashedSessions(folder);
    ASSERT_EQ(sessions.size(), 2u);
    EXPECT_EQ(sessions[0].processId, pid) << "the session with an autosave comes first";
    EXPECT_EQ(sessions[0].sceneFile, original);
    EXPECT_EQ(sessions[0].autosaveFile, copy);
    EXPECT_TRUE(sessions[1].autosaveFile.empty());

    scene().New();
    ASSERT_TRUE(m_frame->RecoverScene(copy, original));
    EXPECT_TRUE(scene().Database().Object(L"Hero/Pelvis").IsValid());
    EXPECT_TRUE(m_frame->HasUnsavedChanges());
    EXPECT_EQ(wxString(scene().FileName()), original);
    EXPECT_TRUE(m_frame->GetTitle().StartsWith("character.velx*"));

    for (const auto& session : sessions) SceneAutosave::forget(session);
    EXPECT_TRUE(SceneAutosave::findCrashedSessions(folder).empty());
    EXPECT_FALSE(wxFileExists(copy));

    // A damaged autosave is refused with a message and the open scene stays.
    writeText(copy, "not a scene");
    m_questions.clear();
    EXPECT_FALSE(m_frame->RecoverScene(copy, original));
    EXPECT_EQ(m_questions.size(), 1u);
    EXPECT_TRUE(scene().Database().Object(L"Hero/Pelvis").IsValid());
    wxFileName::Rmdir(folder, wxPATH_RMDIR_RECURSIVE);
}

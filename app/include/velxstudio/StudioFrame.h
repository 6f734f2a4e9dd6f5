#pragma once

#include <velwidgets/AppMainLoopRedrawClient.h>
#include <velxcore/XSceneObserver.h>

#include <wx/filefn.h>
#include <wx/filehistory.h>
#include <wx/frame.h>
#include <wx/timer.h>

#include <functional>
#include <map>
#include <memory>

namespace Orka {
class LayoutManager;
class Logger;
}
namespace VelX {
class XScene;
}
class SceneAutosave;
class SceneChangeTracker;
class SceneOverviewPanel;
class TrustScriptsDialog;

// The studio's main window: the docked panes, the menus (File, Edit, Playback, View, Window), the
// status bar, playback, unsaved-change protection and the remembered window layout.
class StudioFrame : public wxFrame, public VelX::XSceneObserver, public wxUtils::AppMainLoopRedrawClient {
public:
    struct Options {
        bool rememberLayout = true;    // restore and save the window layout in the user's config
        bool autosave = true;          // keep an autosave copy while there are unsaved changes
        int autosaveSeconds = 60;
        wxString autosaveFolder;       // default: <user config>/autosave
        wxFileOffset bigSceneBytes = 4 * 1024 * 1024;  // larger files load with a progress dialog
    };
    // Questions the frame asks the user; tests answer them without a modal dialog.
    using Prompt = std::function<int(const wxString& message, const wxString& caption, long style)>;
    using FileChooser = std::function<wxString(bool forSaving)>;
    // Shows the trust question; true when the user trusts. Tests drive the dialog themselves.
    using TrustQuestion = std::function<bool(TrustScriptsDialog& dialog)>;

    StudioFrame(VelX::XScene& scene, Orka::Logger& logger, const Options& options);
    ~StudioFrame() override;

    // File operations as the menu runs them. Each returns whether it did what was asked.
    bool NewScene();
    bool OpenScene(const wxString& fileName);
    bool SaveScene();
    bool SaveSceneAs(const wxString& fileName);
    // Throws away unsaved changes (after asking) and loads the scene's file again.
    bool RevertScene();
    // Asks to save unsaved changes; false when the user cancelled or the save failed.
    bool ConfirmDiscardChanges();
    // Takes a recovered autosave as the open scene: unsaved, and saved under its original name.
    bool RecoverScene(const wxString& autosaveFile, const wxString& originalFile);

    bool HasUnsavedChanges() const;
    void SetPrompt(Prompt prompt) { m_prompt = std::move(prompt); }
    void SetFileChooser(FileChooser chooser) { m_chooseFile = std::move(chooser); }
    void SetTrustQuestion(TrustQuestion question) { m_askTrust = std::move(question); }
    // Asks the user to trust the scene's scripts (Playback > Trust Scene Scripts).
    void AskToTrustScripts();

    // Starts or stops playback; steps one frame.
    void Play();
    void StopPlayback();
    void StepFrame();
    // Back to the first frame of the playback range with the scene as it was before the simulation
    // started; a playing simulation starts again from there.
    void GoToStart();

    Orka::LayoutManager& PaneLayout() { return *m_layout; }
    SceneAutosave* Autosave() { return m_autosave.get(); }
    SceneOverviewPanel* Overview() { return m_overview; }
    // Menu item ids that have no stock id, for the tests and the help text.
    int WindowMenuItemId(const wxString& paneName) const;
    int CreateMenuItemId(const std::wstring& typeId) const;
    int DuplicateItemId() const { return m_duplicateId; }
    wxString SceneFileName() const;

    // Saves the layout now (also done when the frame closes).
    void SaveLayout();

    void OnSceneCreated(VelX::XScene&) override { sceneReplaced(); }
    void OnSceneLoaded(VelX::XScene&) override { sceneReplaced(); }
    void OnSceneChanged(const VelX::XSceneChange&, bool) override;
    void OnSceneSelectionChanged(VelX::XScene&, bool) override { requestStatusUpdate(); }
    void OnSceneTimeChanged(VelX::XScene&, bool) override { requestStatusUpdate(); }
    void onAppMainLoopRedraw() override;

    static const wxString OverviewPaneName;
    static const wxString LogPaneName;

private:
    // The status bar's fields: messages, the selection, the current frame.
    enum StatusField { StatusMessage, StatusSelection, StatusFrame, StatusFieldCount };

    void buildMenus();
    void buildPanes();
    void restoreLayout();
    void addPaneToWindowMenu(const wxString& name);
    void updateEditMenu();
    void updateStatusBar();
    void updateTitle();
    void requestStatusUpdate();
    void sceneReplaced();
    void applyColourScheme(bool dark);
    int ask(const wxString& message, const wxString& caption, long style);
    void reportError(const wxString& message, const wxString& caption);
    void rememberRecentFile(const wxString& fileName);
    bool loadWithProgress(const wxString& fileName, wxFileOffset size, std::wstring& error);

    void onNew(wxCommandEvent&);
    void onOpen(wxCommandEvent&);
    void onOpenRecent(wxCommandEvent& event);
    void onSave(wxCommandEvent&);
    void onSaveAs(wxCommandEvent&);
    void onRevert(wxCommandEvent&);
    void onExit(wxCommandEvent&);
    void onUndo(wxCommandEvent&);
    void onCreate(wxCommandEvent& event);
    void onDuplicate(wxCommandEvent&);
    void onCopy(wxCommandEvent&);
    void onPaste(wxCommandEvent&);
    void onParent(wxCommandEvent&);
    void onUnparent(wxCommandEvent&);
    void onRedo(wxCommandEvent&);
    void onPlay(wxCommandEvent&);
    void onStop(wxCommandEvent&);
    void onStep(wxCommandEvent&);
    void onGoToStart(wxCommandEvent&);
    void onTrustScripts(wxCommandEvent&);
    void onScheme(wxCommandEvent& event);
    void onWindowItem(wxCommandEvent& event);
    void onPlaybackTimer(wxTimerEvent&);
    void onClose(wxCloseEvent& event);
    void onMenuOpen(wxMenuEvent& event);

    VelX::XScene& m_scene;
    Orka::Logger& m_logger;
    Options m_options;
    std::unique_ptr<Orka::LayoutManager> m_layout;
    std::unique_ptr<SceneChangeTracker> m_changes;
    std::unique_ptr<SceneAutosave> m_autosave;
    SceneOverviewPanel* m_overview = nullptr;
    wxFileHistory m_recentFiles;
    wxMenu* m_editMenu = nullptr;
    wxMenu* m_windowMenu = nullptr;
    std::map<int, wxString> m_windowItems;  // menu id -> pane name
    std::map<int, std::wstring> m_createItems;  // menu id -> object type
    wxTimer m_playbackTimer;
    bool m_statusStale = true;
    Prompt m_prompt;
    FileChooser m_chooseFile;
    TrustQuestion m_askTrust;

    const int m_playId;
    const int m_stopId;
    const int m_stepId;
    const int m_startId;
    const int m_trustId;
    const int m_duplicateId;
    const int m_parentId;
    const int m_unparentId;
    const int m_lightSchemeId;
    const int m_darkSchemeId;
};

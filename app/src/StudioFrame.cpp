#include <velxstudio/StudioFrame.h>

#include <velxstudio/SceneAutosave.h>
#include <velxstudio/SceneChangeTracker.h>
#include <velxstudio/SceneOverviewPanel.h>
#include <velxstudio/TrustScriptsDialog.h>
#include <velxui/XAttributeEditor.h>
#include <velxui/XSceneExplorer.h>

#include <orkacore/ColourManager.h>
#include <orkacore/EnvData.h>
#include <orkacore/LayoutManager.h>
#include <orkacore/Logger.h>
#include <velwidgets/AppMainLoop.h>
#include <velxcore/XApplication.h>
#include <velxcore/XAttribute.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneEditing.h>
#include <velxcore/XSceneSettings.h>
#include <velxcore/XSelection.h>
#include <velxcore/XSimulation.h>

#include <wx/progdlg.h>
#include <wx/stopwatch.h>
#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/fileconf.h>
#include <wx/menu.h>
#include <wx/msgdlg.h>
#include <wx/statusbr.h>

#include <gtk/gtk.h>

const wxString StudioFrame::OverviewPaneName = "SceneOverview";
const wxString StudioFrame::LogPaneName = "Log";

namespace {

const wxString SceneWildcard = "VelX scenes (*.velx;*.json)|*.velx;*.json|All files (*)|*";
const wxString AppTitle = "VelX Studio";

}  // namespace

StudioFrame::StudioFrame(VelX::XScene& scene, Orka::Logger& logger, const Options& options)
    : wxFrame(nullptr, wxID_ANY, AppTitle, wxDefaultPosition, wxSize(1400, 900)),
      m_scene(scene),
      m_logger(logger),
      m_options(options),
      m_playbackTimer(this),
      m_playId(wxNewId()),
      m_stopId(wxNewId()),
      m_stepId(wxNewId()),
      m_startId(wxNewId()),
      m_trustId(wxNewId()),
      m_duplicateId(wxNewId()),
      m_parentId(wxNewId()),
      m_unparentId(wxNewId()),
      m_lightSchemeId(wxNewId()),
      m_darkSchemeId(wxNewId()) {
    m_layout = std::make_unique<Orka::LayoutManager>(this);
    m_changes = std::make_unique<SceneChangeTracker>(m_scene);
    m_changes->setChangedHandler([this](bool) { updateTitle(); });
    m_prompt = [this](const wxString& message, const wxString& caption, long style) {
        return wxMessageBox(message, caption, style, this);
    };
    m_chooseFile = [this](bool forSaving) {
        wxFileDialog dialog(this, forSaving ? "Save Scene As" : "Open Scene", wxEmptyString, wxEmptyString,
                            SceneWildcard, forSaving ? wxFD_SAVE | wxFD_OVERWRITE_PROMPT : wxFD_OPEN | wxFD_FILE_MUST_EXIST);
        return dialog.ShowModal() == wxID_OK ? dialog.GetPath() : wxString();
    };
    m_askTrust = [](TrustScriptsDialog& dialog) { return dialog.ShowModal() == wxID_YES; };

    CreateStatusBar(StatusFieldCount);
    const int widths[StatusFieldCount] = {-1, 260, 160};
    SetStatusWidths(StatusFieldCount, widths);
    buildMenus();
    buildPanes();
    if (m_options.rememberLayout) restoreLayout();
    m_layout->update();

    if (m_options.autosave) {
        wxString folder = m_options.autosaveFolder;
        if (folder.empty()) folder = wxFileName(Orka::EnvData::getUserConfigDir(), "autosave").GetFullPath();
        m_autosave = std::make_unique<SceneAutosave>(m_scene, folder, m_options.autosaveSeconds);
        m_autosave->setUnsavedChangesQuery([this] { return HasUnsavedChanges(); });
        m_autosave->setSceneFile(SceneFileName());
    }

    Bind(wxEVT_CLOSE_WINDOW, &StudioFrame::onClose, this);
    Bind(wxEVT_TIMER, &StudioFrame::onPlaybackTimer, this);
    Bind(wxEVT_MENU_OPEN, &StudioFrame::onMenuOpen, this);
    VelX::XApplication::Instance().AddSceneObserver(this);
    wxUtils::AppMainLoop::Instance().addRedrawClient(this);
    updateTitle();
    updateEditMenu();
    updateStatusBar();
}

StudioFrame::~StudioFrame() {
    m_playbackTimer.Stop();
    wxUtils::AppMainLoop::Instance().removeRedrawClient(this);
    VelX::XApplication::Instance().RemoveSceneObserver(this);
    m_layout->setPaneShownHandler(nullptr);
    // The panels go while the layout manager they ask about visibility still exists.
    DestroyChildren();
}

void StudioFrame::buildMenus() {
    auto* file = new wxMenu;
    file->Append(wxID_NEW, "&New\tCtrl+N", "Start an empty scene");
    file->Append(wxID_OPEN, "&Open...\tCtrl+O", "Open a scene file");
    auto* recent = new wxMenu;
    file->AppendSubMenu(recent, "Open &Recent");
    m_recentFiles.UseMenu(recent);
    m_recentFiles.Load(Orka::EnvData::getAppConfig());
    file->AppendSeparator();
    file->Append(wxID_SAVE, "&Save\tCtrl+S", "Save the scene");
    file->Append(wxID_SAVEAS, "Save &As...\tCtrl+Shift+S", "Save the scene under a new name");
    file->Append(wxID_REVERT_TO_SAVED, "Re&vert", "Throw away unsaved changes and load the scene's file again");
    file->AppendSeparator();
    file->Append(wxID_EXIT, "E&xit\tCtrl+Q");

    m_editMenu = new wxMenu;
    m_editMenu->Append(wxID_UNDO, "&Undo\tCtrl+Z");
    m_editMenu->Append(wxID_REDO, "&Redo\tCtrl+Shift+Z");
    m_editMenu->AppendSeparator();
    m_editMenu->Append(wxID_COPY, "&Copy\tCtrl+C", "Keep the selected objects for Paste");
    m_editMenu->Append(wxID_PASTE, "&Paste\tCtrl+V", "Put a copy of what was copied under the selection");
    m_editMenu->Append(m_duplicateId, "&Duplicate\tCtrl+D", "Copy the selected objects with their connections and animation");
    // P and Shift+P work in the scene explorer; as menu shortcuts they would take the letter from
    // every text field.
    m_editMenu->Append(m_parentId, "&Parent (P)", "Put the selected objects under the last selected one");
    m_editMenu->Append(m_unparentId, "U&nparent (Shift+P)", "Move the selected objects to the top of the scene");

    auto* create = new wxMenu;
    for (const VelX::XSceneEditing::CreatableType& type : VelX::XSceneEditing::CreatableTypes(m_scene)) {
        const int id = wxNewId();
        create->Append(id, wxString(type.displayName), "Create one under the selection");
        m_createItems[id] = type.typeId;
        Bind(wxEVT_MENU, &StudioFrame::onCreate, this, id);
    }

    auto* playback = new wxMenu;
    playback->Append(m_playId, "&Play\tF5", "Run the simulation from the current frame");
    playback->Append(m_stopId, "&Stop\tShift+F5", "Stop the simulation");
    playback->Append(m_stepId, "Step &Forward\tF6", "Advance one frame");
    playback->Append(m_startId, "Go to &Start\tShift+F6",
                     "Back to the first frame with the scene as it was before the simulation started");
    playback->AppendSeparator();
    playback->Append(m_trustId, "&Trust Scene Scripts...", "Let the scripts inside this scene file run");

    auto* view = new wxMenu;
    view->AppendRadioItem(m_lightSchemeId, "&Light Colour Scheme");
    view->AppendRadioItem(m_darkSchemeId, "&Dark Colour Scheme");
    const bool dark = Orka::EnvData::getAppConfig().ReadBool("View/DarkScheme", false);
    view->Check(dark ? m_darkSchemeId : m_lightSchemeId, true);

    m_windowMenu = new wxMenu;

    auto* bar = new wxMenuBar;
    bar->Append(file, "&File");
    bar->Append(m_editMenu, "&Edit");
    bar->Append(create, "&Create");
    bar->Append(playback, "&Playback");
    bar->Append(view, "&View");
    bar->Append(m_windowMenu, "&Window");
    SetMenuBar(bar);

    Bind(wxEVT_MENU, &StudioFrame::onNew, this, wxID_NEW);
    Bind(wxEVT_MENU, &StudioFrame::onOpen, this, wxID_OPEN);
    Bind(wxEVT_MENU, &StudioFrame::onOpenRecent, this, wxID_FILE1, wxID_FILE9);
    Bind(wxEVT_MENU, &StudioFrame::onSave, this, wxID_SAVE);
    Bind(wxEVT_MENU, &StudioFrame::onSaveAs, this, wxID_SAVEAS);
    Bind(wxEVT_MENU, &StudioFrame::onRevert, this, wxID_REVERT_TO_SAVED);
    Bind(wxEVT_MENU, &StudioFrame::onExit, this, wxID_EXIT);
    Bind(wxEVT_MENU, &StudioFrame::onUndo, this, wxID_UNDO);
    Bind(wxEVT_MENU, &StudioFrame::onRedo, this, wxID_REDO);
    Bind(wxEVT_MENU, &StudioFrame::onDuplicate, this, m_duplicateId);
    Bind(wxEVT_MENU, &StudioFrame::onCopy, this, wxID_COPY);
    Bind(wxEVT_MENU, &StudioFrame::onPaste, this, wxID_PASTE);
    Bind(wxEVT_MENU, &StudioFrame::onParent, this, m_parentId);
    Bind(wxEVT_MENU, &StudioFrame::onUnparent, this, m_unparentId);
    Bind(wxEVT_MENU, &StudioFrame::onPlay, this, m_playId);
    Bind(wxEVT_MENU, &StudioFrame::onStop, this, m_stopId);
    Bind(wxEVT_MENU, &StudioFrame::onStep, this, m_stepId);
    Bind(wxEVT_MENU, &StudioFrame::onGoToStart, this, m_startId);
    Bind(wxEVT_MENU, &StudioFrame::onTrustScripts, this, m_trustId);
    Bind(wxEVT_MENU, &StudioFrame::onScheme, this, m_lightSchemeId);
    Bind(wxEVT_MENU, &StudioFrame::onScheme, this, m_darkSchemeId);
}

void StudioFrame::buildPanes() {
    m_overview = new SceneOverviewPanel(this, m_scene);
    m_layout->addPane(m_overview, OverviewPaneName, "Scene", Orka::PaneDock::Centre);
    auto* explorer = new VelXUI::XSceneExplorer(m_scene);
    explorer->Create(this, m_layout.get());
    m_layout->addPane(explorer, "SceneExplorer", "Scene Explorer", Orka::PaneDock::Left, FromDIP(wxSize(260, 600)));
    wxWindow* log = m_logger.createPane(this);
    m_layout->addPane(log, LogPaneName, "Log", Orka::PaneDock::Bottom, FromDIP(wxSize(800, 180)));
    auto* attributeEditor = new VelXUI::XAttributeEditor(m_scene);
    attributeEditor->Create(m_scene, this, m_layout.get());
    m_layout->addPane(attributeEditor, "AttributeEditor", "Attribute Editor", Orka::PaneDock::Right,
                      FromDIP(wxSize(320, 600)));
    // The Window menu lists exactly the panes that exist; the panel libraries add theirs here.
    for (const wxString& name : m_layout->paneNames()) addPaneToWindowMenu(name);
    m_layout->setPaneShownHandler([this](const wxString& name, bool shown) {
        const int id = WindowMenuItemId(name);
        if (id != wxID_NONE) m_windowMenu->Check(id, shown);
    });
}

void StudioFrame::addPaneToWindowMenu(const wxString& name) {
    const int id = wxNewId();
    m_windowMenu->AppendCheckItem(id, m_layout->paneCaption(name), "Show or hide this pane");
    m_windowMenu->Check(id, m_layout->isWindowShown(name));
    m_windowItems[id] = name;
    Bind(wxEVT_MENU, &StudioFrame::onWindowItem, this, id);
}

int StudioFrame::WindowMenuItemId(const wxString& paneName) const {
    for (const auto& [id, name] : m_windowItems)
        if (name == paneName) return id;
    return wxID_NONE;
}

void StudioFrame::restoreLayout() {
    wxFileConfig& config = Orka::EnvData::getAppConfig();
    const int width = config.ReadLong("Layout/Width", 0), height = config.ReadLong("Layout/Height", 0);
    if (width >= 400 && height >= 300) {
        SetSize(config.ReadLong("Layout/X", wxDefaultCoord), config.ReadLong("Layout/Y", wxDefaultCoord), width, height);
        if (config.ReadBool("Layout/Maximized", false)) Maximize();
    }
    const wxString perspective = config.Read("Layout/Perspective", wxString());
    if (!perspective.empty() && !m_layout->loadPerspective(perspective))
        m_logger.warning("The saved window layout could not be read; the default layout is used.");
    applyColourScheme(config.ReadBool("View/DarkScheme", false));
}

void StudioFrame::SaveLayout() {
    if (!m_options.rememberLayout) return;
    wxFileConfig& config = Orka::EnvData::getAppConfig();
    config.Write("Layout/Perspective", m_layout->savePerspective());
    config.Write("Layout/Maximized", IsMaximized());
    if (!IsMaximized() && !IsIconized()) {
        const wxRect rect = GetRect();
        config.Write("Layout/X", rect.x);
        config.Write("Layout/Y", rect.y);
        config.Write("Layout/Width", rect.width);
        config.Write("Layout/Height", rect.height);
    }
    m_recentFiles.Save(config);
    Orka::EnvData::flushAppConfig();
}

// ---- Scene files ----------------------------------------------------------------------------

wxString StudioFrame::SceneFileName() const { return wxString(m_scene.FileName()); }

bool StudioFrame::HasUnsavedChanges() const { return m_changes->hasUnsavedChanges(); }

int StudioFrame::ask(const wxString& message, const wxString& caption, long style) {
    return m_prompt ? m_prompt(message, caption, style) : wxCANCEL;
}

void StudioFrame::reportError(const wxString& message, const wxString& caption) {
    m_logger.error(message);
    ask(message, caption, wxOK | wxICON_ERROR);
}

bool StudioFrame::NewScene() {
    if (!ConfirmDiscardChanges()) return false;
    StopPlayback();
    m_scene.New();
    return true;
}

bool StudioFrame::OpenScene(const wxString& fileName) {
    if (fileName.empty()) return false;
    StopPlayback();
    std::wstring error;
    bool loaded = false;
    {
        wxBusyCursor wait;
        const wxFileOffset size = wxFileName::GetSize(fileName).GetValue();
        if (size > m_options.bigSceneBytes && IsShownOnScreen())
            loaded = loadWithProgress(fileName, size, error);
        else
            loaded = m_scene.Load(fileName.ToStdWstring(), &error);
    }
    if (!loaded) {
        // The core left the open scene untouched; say why, in the log and to the user.
        reportError(error.empty() ? wxString::Format("Could not open \"%s\".", fileName) : wxString(error),
                    "Open Scene");
        return false;
    }
    rememberRecentFile(fileName);
    m_logger.information(wxString::Format("Opened %s", fileName));
    return true;
}

bool StudioFrame::loadWithProgress(const wxString& fileName, wxFileOffset size, std::wstring& error) {
    const wxString name = wxFileName(fileName).GetFullName();
    wxProgressDialog progress("Open Scene",
                              wxString::Format("Reading %s (%s)", name,
                                               wxFileName::GetHumanReadableSize(wxULongLong(size))),
                              1000, this, wxPD_APP_MODAL | wxPD_AUTO_HIDE | wxPD_SMOOTH | wxPD_ELAPSED_TIME);
    wxStopWatch sinceUpdate;
    auto report = [&](const char* phase, std::size_t done, std::size_t total) {
        // The dialog repaints at most every 50 ms: the load itself is the work.
        if (sinceUpdate.Time() < 50) return;
        sinceUpdate.Start();
        const std::string what(phase);
        if (what == "Reading" && total > 0) {
            progress.Update(static_cast<int>(200.0 * done / total),
                            wxString::Format("Reading %s (%s)", name, wxFileName::GetHumanReadableSize(wxULongLong(size))));
        } else if (what == "Parsing") {
            progress.Pulse(wxString::Format("Reading objects: %zu", done));
        } else if (total > 0) {
            progress.Update(500 + static_cast<int>(500.0 * done / total),
                            wxString::Format("Building the scene: %zu of %zu objects", done, total));
        }
    };
    return m_scene.Load(fileName.ToStdWstring(), &error, report);
}

bool StudioFrame::SaveScene() {
    const wxString current = SceneFileName();
    if (current.empty()) {
        const wxString chosen = m_chooseFile ? m_chooseFile(true) : wxString();
        return !chosen.empty() && SaveSceneAs(chosen);
    }
    return SaveSceneAs(current);
}

bool StudioFrame::SaveSceneAs(const wxString& fileName) {
    if (fileName.empty()) return false;
    std::wstring error;
    if (!m_scene.Save(fileName.ToStdWstring(), &error)) {
        reportError(error.empty() ? wxString::Format("Could not save \"%s\".", fileName) : wxString(error),
                    "Save Scene");
        return false;
    }
    m_changes->markSaved();
    if (m_autosave) {
        m_autosave->discard();
        m_autosave->setSceneFile(fileName);
    }
    rememberRecentFile(fileName);
    m_logger.information(wxString::Format("Saved %s", fileName));
    updateTitle();
    return true;
}

bool StudioFrame::RevertScene() {
    const wxString file = SceneFileName();
    if (file.empty() || !wxFileName::FileExists(file)) {
        SetStatusText(file.empty() ? "The scene has never been saved: there is no file to revert to."
                                   : wxString::Format("\"%s\" no longer exists: there is nothing to revert to.", file),
                      StatusMessage);
        return false;
    }
    if (HasUnsavedChanges() &&
        ask(wxString::Format("Throw away your changes to %s and load it again from disk?", wxFileName(file).GetFullName()),
            "Revert", wxYES_NO | wxNO_DEFAULT | wxICON_QUESTION) != wxYES)
        return false;
    return OpenScene(file);
}

bool StudioFrame::RecoverScene(const wxString& autosaveFile, const wxString& originalFile) {
    std::wstring error;
    if (!m_scene.Load(autosaveFile.ToStdWstring(), &error)) {
        reportError(wxString::Format("The autosaved scene could not be recovered: %s", wxString(error)),
                    "Recover Scene");
        return false;
    }
    // The recovered scene is the user's unsaved work on the original file.
    m_scene.SetFileName(originalFile.ToStdWstring());
    m_changes->markUnsaved();
    if (m_autosave) m_autosave->setSceneFile(originalFile);
    m_logger.information(wxString::Format("Recovered the autosaved scene%s",
                                          originalFile.empty() ? wxString() : " of " + originalFile));
    updateTitle();
    return true;
}

bool StudioFrame::ConfirmDiscardChanges() {
    if (!HasUnsavedChanges()) return true;
    const wxString name = SceneFileName().empty() ? wxString("the untitled scene")
                                                  : wxFileName(SceneFileName()).GetFullName();
    const int answer = ask(wxString::Format("Save changes to %s before closing it?", name), AppTitle,
                           wxYES_NO | wxCANCEL | wxICON_QUESTION);
    if (answer == wxCANCEL) return false;
    if (answer == wxNO) return true;
    return SaveScene();
}

void StudioFrame::rememberRecentFile(const wxString& fileName) {
    m_recentFiles.AddFileToHistory(wxFileName(fileName).GetAbsolutePath());
    if (m_options.rememberLayout) {
        m_recentFiles.Save(Orka::EnvData::getAppConfig());
        Orka::EnvData::flushAppConfig();
    }
}

void StudioFrame::sceneReplaced() {
    m_playbackTimer.Stop();
    if (m_autosave) {
        m_autosave->discard();
        m_autosave->setSceneFile(SceneFileName());
    }
    updateTitle();
    requestStatusUpdate();
}

// ---- Notifications and the main-loop pass -----------------------------------------------------

void StudioFrame::OnSceneChanged(const VelX::XSceneChange&, bool) { requestStatusUpdate(); }

void StudioFrame::requestStatusUpdate() {
    if (m_overview) m_overview->requestRefresh();
    if (m_statusStale) return;
    m_statusStale = true;
    wxUtils::AppMainLoop::Instance().requestPass();
}

void StudioFrame::onAppMainLoopRedraw() {
    if (!m_statusStale) return;
    m_statusStale = false;
    updateEditMenu();
    updateStatusBar();
}

void StudioFrame::updateEditMenu() {
    VelX::XDatabase& database = m_scene.Database();
    const bool canUndo = database.CanUndo(), canRedo = database.CanRedo();
    const wxString undoName = canUndo ? wxString(database.UndoName()) : wxString();
    const wxString redoName = canRedo ? wxString(database.RedoName()) : wxString();
    m_editMenu->SetLabel(wxID_UNDO, (undoName.empty() ? wxString("&Undo") : "&Undo " + undoName) + "\tCtrl+Z");
    m_editMenu->SetLabel(wxID_REDO, (redoName.empty() ? wxString("&Redo") : "&Redo " + redoName) + "\tCtrl+Shift+Z");
    m_editMenu->Enable(wxID_UNDO, canUndo);
    m_editMenu->Enable(wxID_REDO, canRedo);
}

void StudioFrame::updateStatusBar() {
    const int selected = m_scene.Selection().Count();
    SetStatusText(selected == 1 ? wxString("1 object selected") : wxString::Format("%d objects selected", selected),
                  StatusSelection);
    VelX::XSceneSettings settings = m_scene.SceneSettings();
    SetStatusText(settings.IsValid() ? wxString::Format("Frame %g", settings.Frame()) : wxString(), StatusFrame);
}

void StudioFrame::updateTitle() {
    const wxString file = SceneFileName();
    const wxString name = file.empty() ? wxString("Untitled") : wxFileName(file).GetFullName();
    SetTitle(wxString::Format("%s%s - %s", name, HasUnsavedChanges() ? "*" : "", AppTitle));
    requestStatusUpdate();
}

void StudioFrame::onMenuOpen(wxMenuEvent& event) {
    // Labels may be stale when a menu opens before the next pass; bring them up to date first.
    updateEditMenu();
    event.Skip();
}

// ---- Menu handlers -----------------------------------------------------------------------------

void StudioFrame::onNew(wxCommandEvent&) { NewScene(); }

void StudioFrame::onOpen(wxCommandEvent&) {
    if (!ConfirmDiscardChanges()) return;
    const wxString file = m_chooseFile ? m_chooseFile(false) : wxString();
    if (!file.empty()) OpenScene(file);
}

void StudioFrame::onOpenRecent(wxCommandEvent& event) {
    const wxString file = m_recentFiles.GetHistoryFile(event.GetId() - wxID_FILE1);
    if (file.empty() || !ConfirmDiscardChanges()) return;
    if (!wxFileName::FileExists(file)) {
        reportError(wxString::Format("\"%s\" no longer exists; it is removed from the recent files.", file),
                    "Open Recent");
        m_recentFiles.RemoveFileFromHistory(event.GetId() - wxID_FILE1);
        return;
    }
    OpenScene(file);
}

void StudioFrame::onSave(wxCommandEvent&) { SaveScene(); }

void StudioFrame::onSaveAs(wxCommandEvent&) {
    const wxString file = m_chooseFile ? m_chooseFile(true) : wxString();
    if (!file.empty()) SaveSceneAs(file);
}

void StudioFrame::onRevert(wxCommandEvent&) { RevertScene(); }

void StudioFrame::onExit(wxCommandEvent&) { Close(false); }

void StudioFrame::onUndo(wxCommandEvent&) {
    if (m_scene.Database().CanUndo()) m_scene.Database().Undo();
}

void StudioFrame::onRedo(wxCommandEvent&) {
    if (m_scene.Database().CanRedo()) m_scene.Database().Redo();
}

void StudioFrame::onPlay(wxCommandEvent&) { Play(); }
void StudioFrame::onStop(wxCommandEvent&) { StopPlayback(); }
void StudioFrame::onStep(wxCommandEvent&) { StepFrame(); }
void StudioFrame::onGoToStart(wxCommandEvent&) { GoToStart(); }

void StudioFrame::onScheme(wxCommandEvent& event) {
    const bool dark = event.GetId() == m_darkSchemeId;
    applyColourScheme(dark);
    if (m_options.rememberLayout) {
        Orka::EnvData::getAppConfig().Write("View/DarkScheme", dark);
        Orka::EnvData::flushAppConfig();
    }
}

void StudioFrame::applyColourScheme(bool dark) {
    Orka::ColourManager::Instance().setScheme(dark ? Orka::ColourManager::SchemeKind::Dark
                                                   : Orka::ColourManager::SchemeKind::Light);
    // The toolkit's own parts (menu bar, status bar, list headers) follow with its dark variant.
    if (GtkSettings* settings = gtk_settings_get_default())
        g_object_set(settings, "gtk-application-prefer-dark-theme", dark ? TRUE : FALSE, nullptr);
    if (wxMenuBar* bar = GetMenuBar()) bar->Check(dark ? m_darkSchemeId : m_lightSchemeId, true);
    Refresh();
}

void StudioFrame::onWindowItem(wxCommandEvent& event) {
    auto it = m_windowItems.find(event.GetId());
    if (it != m_windowItems.end()) m_layout->showWindow(it->second, event.IsChecked());
}

void StudioFrame::onClose(wxCloseEvent& event) {
    if (event.CanVeto() && !ConfirmDiscardChanges()) {
        event.Veto();
        return;
    }
    StopPlayback();
    SaveLayout();
    Destroy();
}

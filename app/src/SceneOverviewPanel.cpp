#include <velxstudio/SceneOverviewPanel.h>

#include <velwidgets/AppMainLoop.h>
#include <velwidgets/ColourSchemeClient.h>
#include <velxcore/XApplication.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneSettings.h>
#include <velxcore/XSelection.h>
#include <velxcore/XSimulation.h>

#include <wx/dcbuffer.h>
#include <wx/filename.h>
#include <wx/graphics.h>

SceneOverviewPanel::SceneOverviewPanel(wxWindow* parent, VelX::XScene& scene)
    : wxUtils::VelPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxFULL_REPAINT_ON_RESIZE),
      m_scene(scene) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    Bind(wxEVT_PAINT, &SceneOverviewPanel::onPaint, this);
    VelX::XApplication::Instance().AddSceneObserver(this);
    wxUtils::AppMainLoop::Instance().addRedrawClient(this);
    gather();
}

SceneOverviewPanel::~SceneOverviewPanel() {
    wxUtils::AppMainLoop::Instance().removeRedrawClient(this);
    VelX::XApplication::Instance().RemoveSceneObserver(this);
}

void SceneOverviewPanel::requestRefresh() {
    if (m_stale) return;
    m_stale = true;
    wxUtils::AppMainLoop::Instance().requestPass();
}

void SceneOverviewPanel::onAppMainLoopRedraw() {
    if (!m_stale) return;
    gather();
    Refresh(false);
}

void SceneOverviewPanel::gather() {
    m_stale = false;
    ++m_gathers;
    const std::wstring& file = m_scene.FileName();
    m_title = file.empty() ? wxString("Untitled scene") : wxFileName(file).GetFullName();
    m_lines.clear();
    if (!file.empty()) m_lines.push_back(wxString::Format("File: %s", wxString(file)));
    m_lines.push_back(wxString::Format("Objects: %zu", m_scene.Database().ObjectCount()));

    Velutils::Vector<VelX::XObject> selected;
    m_scene.Selection().Objects(selected);
    wxString selection = wxString::Format("Selected: %zu", static_cast<size_t>(selected.size()));
    const size_t shown = std::min<size_t>(selected.size(), 6);
    for (size_t i = 0; i < shown; ++i) selection += (i == 0 ? "  (" : ", ") + wxString(selected[i].Name());
    if (shown > 0) selection += selected.size() > shown ? ", ...)" : ")";
    m_lines.push_back(selection);

    VelX::XSceneSettings settings = m_scene.SceneSettings();
    if (settings.IsValid())
        m_lines.push_back(wxString::Format("Frame %g of %g to %g", settings.Frame(), settings.StartFrame(),
                                           settings.EndFrame()));
    VelX::XSimulation& simulation = m_scene.Simulation();
    const bool scriptsSkipped = simulation.HasScripts() && !simulation.IsTrusted();
    if (simulation.IsPlaying())
        m_lines.push_back(scriptsSkipped ? "Simulation: playing without the scene's scripts (not trusted)"
                                         : "Simulation: playing");
    else
        m_lines.push_back(scriptsSkipped ? "Simulation: stopped; the scene's scripts are not trusted yet"
                                         : "Simulation: stopped");
    m_lines.push_back(wxString::Format("Undo: %s",
                                       m_scene.Database().CanUndo() ? wxString(m_scene.Database().UndoName())
                                                                    : wxString("nothing to undo")));
}

void SceneOverviewPanel::onPaint(wxPaintEvent&) {
    wxAutoBufferedPaintDC dc(this);
    const wxUtils::ColourScheme& scheme = wxUtils::ColourSchemeClient::activeColourScheme();
    dc.SetBackground(wxBrush(scheme.windowBackground));
    dc.Clear();
    std::unique_ptr<wxGraphicsContext> gc(wxGraphicsContext::Create(dc));
    if (!gc) return;
    const int margin = FromDIP(16);
    wxFont titleFont = GetFont().Bold().Scaled(1.6f);
    gc->SetFont(titleFont, scheme.text);
    double width = 0, height = 0;
    gc->GetTextExtent(m_title, &width, &height);
    gc->DrawText(m_title, margin, margin);
    double y = margin + height + FromDIP(10);
    gc->SetFont(GetFont(), scheme.dimmedText);
    for (const wxString& line : m_lines) {
        gc->GetTextExtent(line, &width, &height);
        gc->DrawText(line, margin, y);
        y += height + FromDIP(4);
    }
}

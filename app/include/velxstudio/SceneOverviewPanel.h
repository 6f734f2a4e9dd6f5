#pragma once

#include <velwidgets/AppMainLoopRedrawClient.h>
#include <velwidgets/VelPanel.h>
#include <velxcore/XSceneObserver.h>

#include <wx/string.h>

#include <vector>

namespace VelX {
class XScene;
}

// The studio's centre pane until a 3-D view takes its place: what scene is open, how big it is,
// what is selected and where the time is. It gathers on the main-loop pass after a change, so a
// burst of changes costs one refresh.
class SceneOverviewPanel : public wxUtils::VelPanel,
                           public VelX::XSceneObserver,
                           public wxUtils::AppMainLoopRedrawClient {
public:
    SceneOverviewPanel(wxWindow* parent, VelX::XScene& scene);
    ~SceneOverviewPanel() override;

    void OnSceneCreated(VelX::XScene&) override { requestRefresh(); }
    void OnSceneLoaded(VelX::XScene&) override { requestRefresh(); }
    void OnSceneSelectionChanged(VelX::XScene&, bool) override { requestRefresh(); }
    void OnSceneTimeChanged(VelX::XScene&, bool) override { requestRefresh(); }
    void OnSceneChanged(const VelX::XSceneChange&, bool) override { requestRefresh(); }
    void onAppMainLoopRedraw() override;

    // Gathers again on the next pass: for what changes without a scene change (the file name after
    // Save As, playing, trust).
    void requestRefresh();
    // The title and lines the panel shows now (for tests and the status bar).
    const wxString& title() const { return m_title; }
    const std::vector<wxString>& lines() const { return m_lines; }
    unsigned gatherCount() const { return m_gathers; }

private:
    void gather();
    void onPaint(wxPaintEvent& event);

    VelX::XScene& m_scene;
    bool m_stale = true;
    unsigned m_gathers = 0;
    wxString m_title;
    std::vector<wxString> m_lines;
};

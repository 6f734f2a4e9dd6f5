#include <orkacore/LayoutManager.h>

#include <wx/frame.h>

namespace Orka {

LayoutManager::LayoutManager(wxFrame* frame) {
    m_aui.SetManagedWindow(frame);
    m_aui.Bind(wxEVT_AUI_PANE_CLOSE, &LayoutManager::onPaneClose, this);
}

LayoutManager::~LayoutManager() {
    m_aui.Unbind(wxEVT_AUI_PANE_CLOSE, &LayoutManager::onPaneClose, this);
    m_aui.UnInit();
}

bool LayoutManager::addPane(wxWindow* window, const wxString& name, const wxString& caption, PaneDock dock,
                            const wxSize& bestSize, bool shown) {
    if (!window || name.empty() || m_aui.GetPane(name).IsOk()) return false;
    wxAuiPaneInfo info;
    info.Name(name).Caption(caption).CloseButton(true).MaximizeButton(true).Show(shown);
    switch (dock) {
    case PaneDock::Left: info.Left(); break;
    case PaneDock::Right: info.Right(); break;
    case PaneDock::Top: info.Top(); break;
    case PaneDock::Bottom: info.Bottom(); break;
    case PaneDock::Centre: info.Centre().CaptionVisible(false).CloseButton(false); break;
    }
    if (bestSize != wxDefaultSize) info.BestSize(bestSize);
    return m_aui.AddPane(window, info);
}

bool LayoutManager::removePane(const wxString& name) {
    wxAuiPaneInfo& info = m_aui.GetPane(name);
    return info.IsOk() && m_aui.DetachPane(info.window);
}

wxString LayoutManager::getWindowName(wxWindow* window) const {
    if (!window) return wxString();
    // GetPane is not const in wxAUI; asking changes nothing.
    wxAuiPaneInfo& info = const_cast<wxAuiManager&>(m_aui).GetPane(window);
    return info.IsOk() ? info.name : wxString();
}

bool LayoutManager::isWindowShown(const wxString& name) const {
    wxAuiPaneInfo& info = const_cast<wxAuiManager&>(m_aui).GetPane(name);
    return info.IsOk() && info.IsShown();
}

bool LayoutManager::showWindow(const wxString& name, bool show) {
    wxAuiPaneInfo& info = m_aui.GetPane(name);
    if (!info.IsOk()) return false;
    if (info.IsShown() != show) {
        info.Show(show);
        m_aui.Update();
        if (m_paneShown) m_paneShown(name, show);
    }
    return true;
}

wxWindow* LayoutManager::getWindow(const wxString& name) const {
    wxAuiPaneInfo& info = const_cast<wxAuiManager&>(m_aui).GetPane(name);
    return info.IsOk() ? info.window : nullptr;
}

std::vector<wxString> LayoutManager::paneNames() const {
    std::vector<wxString> names;
    const wxAuiPaneInfoArray& panes = const_cast<wxAuiManager&>(m_aui).GetAllPanes();
    for (size_t i = 0; i < panes.GetCount(); ++i) names.push_back(panes[i].name);
    return names;
}

wxString LayoutManager::paneCaption(const wxString& name) const {
    wxAuiPaneInfo& info = const_cast<wxAuiManager&>(m_aui).GetPane(name);
    return info.IsOk() ? info.caption : wxString();
}

wxString LayoutManager::savePerspective() { return m_aui.SavePerspective(); }

bool LayoutManager::loadPerspective(const wxString& perspective) {
    // wxAUI refuses texts without its layout header; a pane entry it cannot parse is skipped.
    if (!perspective.StartsWith("layout2|")) return false;
    const wxString before = m_aui.SavePerspective();
    if (!m_aui.LoadPerspective(perspective, true)) {
        m_aui.LoadPerspective(before, true);
        return false;
    }
    if (m_paneShown) {
        for (const wxString& name : paneNames()) m_paneShown(name, isWindowShown(name));
    }
    return true;
}

void LayoutManager::setPaneShownHandler(std::function<void(const wxString&, bool)> handler) {
    m_paneShown = std::move(handler);
}

void LayoutManager::update() { m_aui.Update(); }

void LayoutManager::onPaneClose(wxAuiManagerEvent& event) {
    event.Skip();  // let wxAUI hide the pane
    if (event.GetPane() && m_paneShown) m_paneShown(event.GetPane()->name, false);
}

}  // namespace Orka

#include <orkacore/LayoutManager.h>

#include <wx/aui/dockart.h>
#include <wx/frame.h>

#include <climits>
#include <map>
#include <set>

namespace Orka {

namespace {

struct NumberRange {
    long minimum;
    long maximum;
};

// The pane keys a perspective may hold, with the values wxAUI can use. wxAUI asserts on a key it
// does not know and takes any number blindly, so texts are checked before it sees them.
const std::map<wxString, NumberRange>& paneNumberKeys() {
    static const std::map<wxString, NumberRange> keys = {
        {"state", {0, 0xFFFFFFFFL}},      {"dir", {0, 5}},           {"layer", {0, 1000}},
        {"row", {0, 1000}},             {"pos", {0, 100000}},      {"prop", {0, INT_MAX}},
        {"bestw", {-1, 100000}},        {"besth", {-1, 100000}},   {"minw", {-1, 100000}},
        {"minh", {-1, 100000}},         {"maxw", {-1, 100000}},    {"maxh", {-1, 100000}},
        {"floatx", {-100000, 100000}},  {"floaty", {-100000, 100000}},
        {"floatw", {-1, 100000}},       {"floath", {-1, 100000}},
    };
    return keys;
}

bool readNumber(wxString text, NumberRange range) {
    text.Trim(true).Trim(false);
    long value = 0;
    return text.ToLong(&value) && value >= range.minimum && value <= range.maximum;
}

// "dock_size(dir,layer,row)=size"
bool readDockSize(const wxString& part) {
    const wxString head = part.BeforeFirst('=');
    if (!part.Contains("=") || !head.StartsWith("dock_size(") || !head.EndsWith(")")) return false;
    const wxArrayString fields = wxSplit(head.Mid(10, head.length() - 11), ',', '\0');
    return fields.size() == 3 && readNumber(fields[0], {0, 5}) && readNumber(fields[1], {0, 1000}) &&
           readNumber(fields[2], {0, 1000}) && readNumber(part.AfterFirst('='), {-1, 100000});
}

// Checks a perspective as wxAUI reads it and writes it back without captions (the program's
// captions stay). Collects the names of the panes it mentions. False when anything is damaged.
bool cleanPerspective(const wxString& perspective, wxString& clean, std::set<wxString>& mentioned) {
    wxString input = perspective;
    wxString header = input.BeforeFirst('|');
    input = input.AfterFirst('|');
    header.Trim(true).Trim(false);
    if (header != "layout2") return false;
    clean = "layout2|";
    // Escaped delimiters inside names and captions.
    input.Replace("\\|", "\a");
    input.Replace("\\;", "\b");
    while (true) {
        wxString part = input.BeforeFirst('|');
        input = input.AfterFirst('|');
        part.Trim(true);
        if (part.empty()) break;  // where wxAUI stops reading
        if (part.StartsWith("dock_size")) {
            if (!readDockSize(part)) return false;
            clean += part + "|";
            continue;
        }
        wxString name;
        wxString values;
        bool named = false;
        for (const wxString& field : wxSplit(part, ';', '\0')) {
            wxString key = field.BeforeFirst('=').Lower();
            wxString value = field.AfterFirst('=');
            key.Trim(true).Trim(false);
            value.Trim(true).Trim(false);
            if (key.empty()) break;  // wxAUI ignores the rest of the pane's fields
            if (key == "name") {
                name = value;
                named = true;
            } else if (key == "caption") {
                continue;
            } else {
                auto range = paneNumberKeys().find(key);
                if (range == paneNumberKeys().end() || !readNumber(value, range->second)) return false;
                values += ";" + key + "=" + value;
            }
        }
        if (!named) return false;
        // A name with an escaped delimiter cannot belong to a pane of ours: skip the entry.
        if (name.find_first_of(wxString("\a\b")) != wxString::npos) continue;
        mentioned.insert(name);
        clean += "name=" + name + values + "|";
    }
    return true;
}

}  // namespace

LayoutManager::LayoutManager(wxFrame* frame) {
    m_aui.SetManagedWindow(frame);
    m_aui.Bind(wxEVT_AUI_PANE_CLOSE, &LayoutManager::onPaneClose, this);
    onColourSchemeChanged(activeColourScheme());
}

LayoutManager::~LayoutManager() {
    m_aui.Unbind(wxEVT_AUI_PANE_CLOSE, &LayoutManager::onPaneClose, this);
    m_aui.UnInit();
}

bool LayoutManager::addPane(wxWindow* window, const wxString& name, const wxString& caption, PaneDock dock,
                            const wxSize& bestSize, bool shown) {
    if (!window || name.empty() || name.find_first_of("|;") != wxString::npos || m_aui.GetPane(name).IsOk() ||
        m_aui.GetPane(window).IsOk() || window->GetParent() != m_aui.GetManagedWindow()) {
        return false;
    }
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
    // GetPane is not const in wxAUI; asking changes nothing. Only the pane's own window matches.
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
    wxString clean;
    std::set<wxString> mentioned;
    if (!cleanPerspective(perspective, clean, mentioned)) return false;

    // wxAUI hides every pane the text does not mention and takes captions from the text: remember
    // what the panes were, to put back what the text has no say over.
    std::vector<wxAuiPaneInfo> before;
    wxAuiPaneInfoArray& panes = m_aui.GetAllPanes();
    for (size_t i = 0; i < panes.GetCount(); ++i) before.push_back(panes[i]);

    if (!m_aui.LoadPerspective(clean, false)) return false;
    for (const wxAuiPaneInfo& info : before) {
        wxAuiPaneInfo& pane = m_aui.GetPane(info.name);
        if (!pane.IsOk()) continue;
        if (mentioned.count(info.name)) pane.Caption(info.caption);
        else pane = info;
    }
    m_aui.Update();

    if (m_paneShown) {
        for (const wxAuiPaneInfo& info : before) {
            const bool shown = isWindowShown(info.name);
            if (shown != info.IsShown()) m_paneShown(info.name, shown);
        }
    }
    return true;
}

void LayoutManager::setPaneShownHandler(std::function<void(const wxString&, bool)> handler) {
    m_paneShown = std::move(handler);
}

void LayoutManager::update() { m_aui.Update(); }

void LayoutManager::onColourSchemeChanged(const wxUtils::ColourScheme& scheme) {
    wxAuiDockArt* art = m_aui.GetArtProvider();
    if (!art) return;
    art->SetColour(wxAUI_DOCKART_BACKGROUND_COLOUR, scheme.panelBackground);
    art->SetColour(wxAUI_DOCKART_SASH_COLOUR, scheme.panelBackground);
    art->SetColour(wxAUI_DOCKART_BORDER_COLOUR, scheme.gridLine);
    art->SetColour(wxAUI_DOCKART_GRIPPER_COLOUR, scheme.gridLine);
    // Flat captions: the active one in the selection colour, the others like titles.
    art->SetColour(wxAUI_DOCKART_ACTIVE_CAPTION_COLOUR, scheme.selectionBackground);
    art->SetColour(wxAUI_DOCKART_ACTIVE_CAPTION_GRADIENT_COLOUR, scheme.selectionBackground);
    art->SetColour(wxAUI_DOCKART_ACTIVE_CAPTION_TEXT_COLOUR, scheme.selectionText);
    art->SetColour(wxAUI_DOCKART_INACTIVE_CAPTION_COLOUR, scheme.titleBackground);
    art->SetColour(wxAUI_DOCKART_INACTIVE_CAPTION_GRADIENT_COLOUR, scheme.titleBackground);
    art->SetColour(wxAUI_DOCKART_INACTIVE_CAPTION_TEXT_COLOUR, scheme.text);
    if (wxWindow* frame = m_aui.GetManagedWindow()) {
        m_aui.Update();
        frame->Refresh();
    }
}

void LayoutManager::onPaneClose(wxAuiManagerEvent& event) {
    event.Skip();
    const wxAuiPaneInfo* pane = event.GetPane();
    if (!pane || !pane->IsOk() || !m_paneShown) return;
    // wxAUI hides the pane after this event, unless someone vetoes it: report what happened once
    // it is done. The manager sees the event twice (as the frame's pushed handler, then as itself):
    // one report. A pending call dies with the manager.
    const wxString name = pane->name;
    if (!m_closing.insert(name).second) return;
    m_aui.CallAfter([this, name] {
        m_closing.erase(name);
        if (m_paneShown && !isWindowShown(name)) m_paneShown(name, false);
    });
}

}  // namespace Orka

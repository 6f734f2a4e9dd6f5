#pragma once

#include <velwidgets/ColourSchemeClient.h>

#include <wx/aui/framemanager.h>
#include <wx/string.h>

#include <functional>
#include <set>
#include <vector>

class wxFrame;
class wxWindow;

namespace Orka {

// Where a pane docks when it is first added (a saved perspective overrides it).
enum class PaneDock { Left, Right, Top, Bottom, Centre };

// The docking manager of the main frame: named panes over wxAUI. Panels ask it for the name of
// the pane that holds them and whether that pane is shown; the host saves and restores the whole
// arrangement as a perspective string. Captions, sashes and borders follow the colour scheme.
class LayoutManager : public wxUtils::ColourSchemeClient {
public:
    explicit LayoutManager(wxFrame* frame);
    ~LayoutManager();  // uninitialises the AUI manager
    LayoutManager(const LayoutManager&) = delete;
    LayoutManager& operator=(const LayoutManager&) = delete;

    // Adds a pane. The name is the pane's identity (perspectives and the Window menu use it); the
    // caption is what its title bar shows. Returns false when the name is taken, empty or holds '|'
    // or ';' (perspective delimiters), or the window is null or not a child of the frame.
    bool addPane(wxWindow* window, const wxString& name, const wxString& caption, PaneDock dock,
                 const wxSize& bestSize = wxDefaultSize, bool shown = true);
    bool removePane(const wxString& name);

    // The name of the pane whose window this is ("" when the window is not a pane of this manager).
    wxString getWindowName(wxWindow* window) const;
    // Whether the named pane is shown (false for unknown names).
    bool isWindowShown(const wxString& name) const;
    bool showWindow(const wxString& name, bool show = true);
    wxWindow* getWindow(const wxString& name) const;
    std::vector<wxString> paneNames() const;
    wxString paneCaption(const wxString& name) const;

    // The whole arrangement as text, and back. Restoring ignores panes the text does not know, keeps
    // panes it does not mention as they are and keeps the captions the program gave; a damaged text
    // leaves the layout as it was and returns false.
    wxString savePerspective();
    bool loadPerspective(const wxString& perspective);

    // Called whenever a pane is shown or hidden, by the program, by a perspective or by the user (a
    // pane's close button; reported on the next turn of the event loop, once the pane is hidden), so
    // that menus can follow.
    void setPaneShownHandler(std::function<void(const wxString& name, bool shown)> handler);

    // Applies pending changes to the frame.
    void update();
    wxAuiManager& aui() { return m_aui; }

    void onColourSchemeChanged(const wxUtils::ColourScheme& scheme) override;

private:
    void onPaneClose(wxAuiManagerEvent& event);

    wxAuiManager m_aui;
    std::function<void(const wxString&, bool)> m_paneShown;
    std::set<wxString> m_closing;  // panes whose close-button report is pending
};

}  // namespace Orka

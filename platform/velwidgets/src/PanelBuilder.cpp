#include <velwidgets/PanelBuilder.h>

#include <wx/scrolwin.h>
#include <wx/sizer.h>
#include <wx/splitter.h>
#include <wx/stattext.h>

#include <memory>

namespace wxUtils {

namespace {

// Sashes may not close a side completely: wx would unsplit on a double-click otherwise.
const int MinimumSplitterPane = 20;

double gravityOf(SplitterDominant dominant) {
    switch (dominant) {
    case SplitterDominant::First: return 0.0;   // the first side keeps its size
    case SplitterDominant::Second: return 1.0;  // the second side keeps its size
    case SplitterDominant::Neither: break;
    }
    return 0.5;
}

}  // namespace

PanelBuilder::PanelBuilder(wxWindow* panel, int border) : m_panel(panel), m_border(border < 0 ? 0 : border) {
    if (!m_panel) return;
    Level root;
    root.sizer = new wxBoxSizer(wxVERTICAL);
    m_panel->SetSizer(root.sizer);  // replaces (and deletes) a previous sizer
    m_levels.push_back(root);
}

wxWindow* PanelBuilder::parent() const { return inSplitter() ? m_levels.back().splitter : m_panel; }

wxSizer* PanelBuilder::currentSizer() const { return m_levels.empty() ? nullptr : m_levels.back().sizer; }

wxBoxSizer* PanelBuilder::beginVertical(int proportion, int flags) { return beginBox(wxVERTICAL, proportion, flags); }

wxBoxSizer* PanelBuilder::beginHorizontal(int proportion, int flags) {
    return beginBox(wxHORIZONTAL, proportion, flags);
}

wxBoxSizer* PanelBuilder::beginBox(wxOrientation orientation, int proportion, int flags) {
    wxSizer* open = currentSizer();
    if (!open) return nullptr;  // no panel, or a splitter is open: a splitter side must be a window
    Level level;
    level.sizer = new wxBoxSizer(orientation);
    open->Add(level.sizer, proportion, flags);
    m_levels.push_back(level);
    return level.sizer;
}

void PanelBuilder::end() {
    if (m_levels.size() <= 1) return;  // the root stays open
    Level level = m_levels.back();
    m_levels.pop_back();
    if (!level.splitter) return;
    if (level.sides.size() >= 2) {
        splitSplitter(level.splitter, level.sides[0], level.sides[1], level.splitDirection, level.sashPosition,
                      level.dominant);
    } else if (level.sides.size() == 1) {
        if (level.sides[0]->GetParent() != level.splitter) level.sides[0]->Reparent(level.splitter);
        level.splitter->Initialize(level.sides[0]);
    }
}

void PanelBuilder::addWindow(wxWindow* window, int proportion, int flags) {
    if (!window || m_levels.empty()) return;
    Level& level = m_levels.back();
    if (level.splitter) {
        // The splitter sizes its sides itself; proportion and flags do not apply. A third window has
        // no side to go to and is left alone.
        if (level.sides.size() < 2) level.sides.push_back(window);
        return;
    }
    level.sizer->Add(window, proportion, flags | wxALL, m_border);
}

void PanelBuilder::addSizer(wxSizer* sizer, int proportion, int flags) {
    if (wxSizer* open = currentSizer(); open && sizer) open->Add(sizer, proportion, flags);
}

void PanelBuilder::addSpacer(int pixels) {
    if (wxSizer* open = currentSizer(); open && pixels > 0) open->AddSpacer(pixels);
}

void PanelBuilder::addStretchSpacer(int proportion) {
    if (wxSizer* open = currentSizer(); open && proportion > 0) open->AddStretchSpacer(proportion);
}

wxStaticText* PanelBuilder::addText(const wxString& text, FontStyle style, int proportion, int flags) {
    if (m_levels.empty()) return nullptr;
    auto* label = new wxStaticText(parent(), wxID_ANY, text);
    wxFont font = label->GetFont();
    switch (style) {
    case FontStyle::Normal: break;
    case FontStyle::Bold: font.MakeBold(); break;
    case FontStyle::Italic: font.MakeItalic(); break;
    case FontStyle::Heading: font.MakeBold().Scale(1.25f); break;
    case FontStyle::Small: font.MakeSmaller(); break;
    }
    label->SetFont(font);
    auto* box = dynamic_cast<wxBoxSizer*>(currentSizer());
    if (box && box->GetOrientation() == wxHORIZONTAL && !(flags & (wxALIGN_BOTTOM | wxALIGN_CENTER_VERTICAL)) &&
        !(flags & wxEXPAND)) {
        flags |= wxALIGN_CENTER_VERTICAL;
    }
    addWindow(label, proportion, flags);
    return label;
}

wxSplitterWindow* PanelBuilder::createSplitter(int proportion) {
    wxSizer* open = currentSizer();
    if (!open) return nullptr;
    auto* splitter = new wxSplitterWindow(m_panel, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                          wxSP_LIVE_UPDATE | wxSP_3DSASH | wxSP_NOBORDER);
    splitter->SetMinimumPaneSize(MinimumSplitterPane);
    open->Add(splitter, proportion, wxEXPAND | wxALL, m_border);
    return splitter;
}

bool PanelBuilder::splitSplitter(wxSplitterWindow* splitter, wxWindow* first, wxWindow* second,
                                 wxOrientation splitDirection, int sashPosition, SplitterDominant dominant) {
    if (!splitter || !first || !second || first == second || splitter->IsSplit()) return false;
    // The sides must be the splitter's children; move windows that were made elsewhere.
    for (wxWindow* side : {first, second}) {
        if (side->GetParent() != splitter) side->Reparent(splitter);
    }
    // The sash position is meant for the size the splitter first appears with, but a splitter usually
    // grows through a few layouts before it is painted, and gravity would move the sash on each. So
    // the position is reapplied on every resize until the first paint, and the gravity set then.
    struct SashRequest {
        int position;
        double gravity;
        bool settled = false;
    };
    // wx counts a negative position to the sash, not to the second side: take the sash off too.
    if (sashPosition < 0) sashPosition -= splitter->GetSashSize();
    auto request = std::make_shared<SashRequest>(SashRequest{sashPosition, gravityOf(dominant)});
    splitter->SetSashGravity(0.0);
    splitter->Bind(wxEVT_SIZE, [splitter, request](wxSizeEvent& event) {
        if (!request->settled && splitter->IsSplit()) splitter->SetSashPosition(request->position, false);
        event.Skip();
    });
    splitter->Bind(wxEVT_PAINT, [splitter, request](wxPaintEvent& event) {
        event.Skip();
        if (request->settled) return;
        request->settled = true;
        splitter->SetSashGravity(request->gravity);
    });
    return splitDirection == wxHORIZONTAL ? splitter->SplitHorizontally(first, second, sashPosition)
                                          : splitter->SplitVertically(first, second, sashPosition);
}

wxSplitterWindow* PanelBuilder::addSplitter(wxWindow* first, wxWindow* second, wxOrientation splitDirection,
                                            int sashPosition, SplitterDominant dominant, int proportion) {
    if (!first || !second || first == second) return nullptr;
    wxSplitterWindow* splitter = createSplitter(proportion);
    if (splitter) splitSplitter(splitter, first, second, splitDirection, sashPosition, dominant);
    return splitter;
}

wxSplitterWindow* PanelBuilder::beginSplitter(wxOrientation splitDirection, int sashPosition,
                                              SplitterDominant dominant, int proportion) {
    wxSplitterWindow* splitter = createSplitter(proportion);
    if (!splitter) return nullptr;
    Level level;
    level.splitter = splitter;
    level.splitDirection = splitDirection;
    level.sashPosition = sashPosition;
    level.dominant = dominant;
    m_levels.push_back(level);
    return splitter;
}

wxScrolledWindow* PanelBuilder::addScrollWindow(int proportion, int flags) {
    if (m_levels.empty()) return nullptr;
    auto* scroll = new wxScrolledWindow(parent(), wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                        wxVSCROLL | wxHSCROLL | wxTAB_TRAVERSAL);
    scroll->SetScrollRate(10, 10);
    addWindow(scroll, proportion, flags);
    return scroll;
}

void PanelBuilder::finish() {
    if (!m_panel) return;
    while (m_levels.size() > 1) end();  // a forgotten end() still gives a whole layout
    if (auto* scroll = dynamic_cast<wxScrolledWindow*>(m_panel)) scroll->FitInside();
    m_panel->Layout();
}

}  // namespace wxUtils

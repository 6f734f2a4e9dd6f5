#pragma once

#include <wx/defs.h>
#include <wx/string.h>

#include <vector>

class wxBoxSizer;
class wxScrolledWindow;
class wxSizer;
class wxSplitterWindow;
class wxStaticText;
class wxWindow;

namespace wxUtils {

enum class FontStyle { Normal, Bold, Italic, Heading, Small };

// Which side of a splitter keeps its size when the splitter is resized: First and Second hold that
// side's size (the other side takes the change), Neither shares the change half and half.
enum class SplitterDominant { First, Second, Neither };

// Lays out a window's contents with box sizers. The builder starts a vertical box sizer that becomes
// the window's sizer; begin...() opens a nested level that end() closes. Every window and text added
// gets the builder's border on all sides (0 is valid); nested sizers and spacers get none, so borders
// never add up. Children are created on parent(): the window itself, or the open splitter.
class PanelBuilder {
public:
    explicit PanelBuilder(wxWindow* panel, int border = 0);
    PanelBuilder(const PanelBuilder&) = delete;
    PanelBuilder& operator=(const PanelBuilder&) = delete;

    wxBoxSizer* beginVertical(int proportion = 1, int flags = wxEXPAND);
    wxBoxSizer* beginHorizontal(int proportion = 0, int flags = wxEXPAND);
    // Closes the innermost open level (a sizer or a splitter); the root sizer never closes.
    void end();

    // Adds a window to the open sizer (or as the next side of the open splitter) and returns it.
    template <typename Window>
    Window* add(Window* window, int proportion = 0, int flags = wxEXPAND) {
        addWindow(window, proportion, flags);
        return window;
    }
    void addSizer(wxSizer* sizer, int proportion = 0, int flags = wxEXPAND);
    void addSpacer(int pixels);
    void addStretchSpacer(int proportion = 1);
    // A label; in a horizontal sizer it is centred vertically.
    wxStaticText* addText(const wxString& text, FontStyle style = FontStyle::Normal, int proportion = 0,
                          int flags = 0);

    // Splitters. wxVERTICAL puts the two sides left and right of a vertical sash, wxHORIZONTAL one
    // above the other (as wxSplitterWindow names them). The sash position is the first side's size
    // (negative: minus the second side's size) when the splitter first appears; from then on the
    // dominant side keeps its size as the splitter is resized.
    //
    // addSplitter: both sides exist already; they are moved into the new splitter.
    wxSplitterWindow* addSplitter(wxWindow* first, wxWindow* second, wxOrientation splitDirection, int sashPosition,
                                  SplitterDominant dominant, int proportion = 1);
    // beginSplitter: opens the splitter as the current level; create the two sides on parent() (the
    // splitter), add() them in order, then end(). A splitter closed with one side shows it alone.
    wxSplitterWindow* beginSplitter(wxOrientation splitDirection, int sashPosition, SplitterDominant dominant,
                                    int proportion = 1);
    // The same in two explicit steps: an unsplit splitter in the open sizer, then the split.
    wxSplitterWindow* createSplitter(int proportion = 1);
    static bool splitSplitter(wxSplitterWindow* splitter, wxWindow* first, wxWindow* second,
                              wxOrientation splitDirection, int sashPosition, SplitterDominant dominant);

    // A scrolling area in the open sizer; build its contents with a PanelBuilder of its own.
    wxScrolledWindow* addScrollWindow(int proportion = 1, int flags = wxEXPAND);

    // Lays the window out (a scrolling window also learns its virtual size).
    void finish();

    wxWindow* panel() const { return m_panel; }
    wxWindow* parent() const;  // where the next child window should be created
    wxSizer* currentSizer() const;
    int border() const { return m_border; }
    int openLevels() const { return static_cast<int>(m_levels.size()) - 1; }  // 0 at the root

private:
    struct Level {
        wxBoxSizer* sizer = nullptr;
        wxSplitterWindow* splitter = nullptr;
        std::vector<wxWindow*> sides;  // splitter sides added so far
        wxOrientation splitDirection = wxVERTICAL;
        int sashPosition = 0;
        SplitterDominant dominant = SplitterDominant::Neither;
    };

    void addWindow(wxWindow* window, int proportion, int flags);
    wxBoxSizer* beginBox(wxOrientation orientation, int proportion, int flags);
    bool inSplitter() const { return !m_levels.empty() && m_levels.back().splitter; }

    wxWindow* m_panel;
    int m_border;
    std::vector<Level> m_levels;
};

}  // namespace wxUtils

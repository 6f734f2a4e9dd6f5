#pragma once

#include <veleditors/VelAttributeGroup.h>
#include <velwidgets/VelListControl.h>

#include <map>
#include <memory>
#include <vector>

class wxTextCompleter;
class wxTextCtrl;

namespace wxUtils {

// A list of attribute rows: a name column and a value column split at the name column share.
// Integers and floats are typed into an in-place field (Enter commits, Escape cancels, Tab commits
// and moves to the next row's value) or scrubbed by dragging horizontally on the value; booleans are
// check boxes, enumerations a choice menu, strings and object references typed text. Mixed values
// show as a dash; animated and connected values are tinted; read-only rows are greyed and refuse
// edits.
//
// Every committed value goes through onSetAttributes(), so an owner can write it to more rows
// than the edited one (all selected rows of all its lists) in one step. A scrub is bracketed by
// onBeginInteractiveEdit() and onEndInteractiveEdit(), with onSetAttributes() for each move.
class VelAttributeControl : public VelListControl {
public:
    VelAttributeControl();
    ~VelAttributeControl() override;
    bool Create(wxWindow* parent, wxWindowID id = wxID_ANY, const wxPoint& pos = wxDefaultPosition,
                const wxSize& size = wxDefaultSize, long style = 0, const wxString& name = "VelAttributeControl");

    // Rows. The data objects are not owned; the rows are.
    void clear();
    VelAttributeGroup* addAttribute(VelAttribute* attribute, const wxString& customLabel = wxEmptyString);
    bool removeAttribute(int row);
    int getItemCount() const override { return static_cast<int>(m_groups.size()); }
    VelAttributeGroup* GetAttributeGroup(int row) const;
    bool isItemReadOnly(int row) const;
    // Reads every row from its data again and repaints.
    void rebuildAll();

    // In-place editing of a row's value (integer, float and string rows).
    bool beginEdit(int row);
    void commitEdit();
    void cancelEdit();
    bool isEditing() const { return m_editRow >= 0; }
    int getEditRow() const { return m_editRow; }
    wxTextCtrl* getEditor() const { return m_editor; }
    bool isScrubbing() const { return m_scrubRow >= 0; }
    // How far a float moves per pixel of scrubbing from this value: a hundredth of its order of
    // magnitude (at least 0.01), and at least a tenth of a unit for angles. Shift divides by ten
    // (fine), Ctrl multiplies by ten (coarse).
    static float ScrubStep(float value, const wxString& units);
    // The first row from `from` on, stepping by `step`, whose value can be typed; -1 when none.
    int findTypableRow(int from, int step) const;

    // Text dropped from elsewhere (an object dragged out of a tree) onto the row at a point on the
    // screen: whether that row takes it, and the drop, which selects the row alone and commits the
    // text as if it were typed there.
    bool canDropText(const wxPoint& screen) const;
    bool dropText(const wxPoint& screen, const wxString& text);

protected:
    // Notifications around changes of the rows.
    virtual void onPreClear();
    virtual void onPostClear();
    virtual void onAddAttributeGroup(VelAttributeGroup* group);
    virtual void onAddAttribute(VelAttribute* attribute);
    virtual void onRemoveAttribute(VelAttribute* attribute);
    // A value the user committed. The defaults write it to every selected row of this list whose
    // kind takes it; true when handled.
    virtual bool onSetAttributes(int value);
    virtual bool onSetAttributes(bool value);
    virtual bool onSetAttributes(float value);
    virtual bool onSetAttributes(const wxString& value);
    // Typed text the row's kind cannot take (not a number in a number row): the value stays as it
    // was and the owner says so. The default puts the reason in the frame's status bar.
    virtual void onTextRefused(int row, const wxString& text, const wxString& reason);
    // Completion for the row's text field while it is typed into (null: none). The field owns it.
    virtual wxTextCompleter* onRequestCompleter(int row);
    // A scrub moved the pointer: each selected row's objects move by `delta` from where they were
    // when the drag began. The default sets the scrubbed row's starting value plus the delta.
    virtual bool onOffsetAttributes(float delta);
    // Around a scrub: the owner may open one change block for the whole drag.
    virtual void onBeginInteractiveEdit();
    virtual void onEndInteractiveEdit();
    // Whether a row takes dropped text; by default every text row that is not read-only.
    virtual bool acceptsDroppedText(int row) const;
    // Tab past the last typable row (Shift+Tab before the first): an owner of several lists may
    // move the edit to the next (previous) list; true when it did.
    virtual bool onRequestEditNextList(bool backwards);

    void drawItem(wxDC& dc, int row, const wxRect& rect, bool selected) override;
    bool onItemClicked(int row, int column, const wxMouseEvent& event) override;
    bool onItemDragStart(int row, int column, const wxPoint& client) override;
    void onItemDrag(const wxPoint& client) override;
    void onItemDragEnd() override;
    bool onItemKey(int row, const wxKeyEvent& event) override;

    // The value cell of a row in client coordinates.
    wxRect valueRect(int row) const;

private:
    void toggleBoolean(int row);
    void chooseEnumeration(int row);
    bool commitText(int row, const wxString& text);
    void onEditorEnter(wxCommandEvent& event);
    void onEditorKey(wxKeyEvent& event);
    void onEditorFocusLost(wxFocusEvent& event);
    void drawCheckBox(wxDC& dc, const wxRect& cell, const VelAttributeGroup& group);

    std::vector<std::unique_ptr<VelAttributeGroup>> m_groups;
    wxTextCtrl* m_editor = nullptr;
    int m_editRow = -1;
    int m_scrubRow = -1;
    int m_scrubStartX = 0;
    float m_scrubStartValue = 0.0f;
    float m_scrubStep = 0.01f;
    int m_textHeight = 0;
    std::map<wxString, int> m_unitsWidths;  // in the window's font
};

}  // namespace wxUtils

#pragma once

#include <veleditors/VelAttributeControl.h>
#include <velwidgets/VelListEvent.h>

#include <string>

namespace VelXUI {

class XAttributeControl;

// One titled list of attribute rows of one object type. It hands every committed value and every
// selection request to the attribute control, so that all lists of the editor act as one list and
// one edit writes every selected row of every list as one undo step.
class XAttributeListControl : public wxUtils::VelAttributeControl {
public:
    XAttributeListControl(XAttributeControl& control, const std::wstring& objectType);

    bool Create(wxWindow* parent, long style);
    const std::wstring& ObjectType() const { return m_objectType; }

    void OnContextMenu(wxUtils::VelListEvent& event);

    // The selection helpers that the attribute control coordinates across lists.
    using VelListControl::selectNextRow;
    using VelListControl::selectPreviousRow;

protected:
    void onPreClear() override {}
    void onPostClear() override {}
    void onAddAttributeGroup(wxUtils::VelAttributeGroup*) override {}
    void onAddAttribute(wxUtils::VelAttribute*) override {}
    void onRemoveAttribute(wxUtils::VelAttribute*) override {}
    bool onSetAttributes(int value) override;
    bool onSetAttributes(bool value) override;
    bool onSetAttributes(float value) override;
    bool onSetAttributes(const wxString& value) override;
    void onTextRefused(int row, const wxString& text, const wxString& reason) override;
    wxTextCompleter* onRequestCompleter(int row) override;
    // Only object-reference rows take an object dropped from a tree.
    bool acceptsDroppedText(int row) const override;
    bool onOffsetAttributes(float delta) override;
    void onBeginInteractiveEdit() override;
    void onEndInteractiveEdit() override;
    bool onRequestEditNextList(bool backwards) override;

    void onRequestSelectNextRow(int row, bool extend, bool toggle) override;
    void onRequestSelectPreviousRow(int row, bool extend, bool toggle) override;
    void onRequestSelectEnd(int row, bool extend, bool toggle) override;
    void onRequestSelectHome(int row, bool extend, bool toggle) override;
    void onRequestSelectPageDown(int row, bool extend, bool toggle) override;
    void onRequestSelectPageUp(int row, bool extend, bool toggle) override;
    void onRequestSelectAll() override;
    void onRequestSelectExclusively(int row) override;
    void onRequestClearHighlightedItems(int column) override;
    void onRequestHighlightItemsInScreenRect(int column, const wxRect& screenRect, bool add) override;
    wxUtils::VelListItem onRequestItemHitTest(const wxPoint& screen, int* column) override;

private:
    template <typename Value>
    bool setInOneStep(const Value& value);

    XAttributeControl& m_control;
    std::wstring m_objectType;
    bool m_interactive = false;
};

}  // namespace VelXUI

#pragma once

#include <velxui/XAttributeCache.h>
#include <velxui/XAttributeEditorSettings.h>
#include <velxui/XAttributeDisplayFilter.h>
#include <velxui/XAttributeListSelection.h>
#include <velxui/XAttributeObjectCache.h>
#include <velxui/XEditor.h>
#include <velxui/XObjectCacheRecord.h>

#include <orkacore/ColourObserver.h>
#include <velwidgets/AppMainLoopRedrawClient.h>
#include <velwidgets/PanelBuilder.h>
#include <velwidgets/VelListItem.h>
#include <velwidgets/VelPanel.h>
#include <velxcore/XDatabaseChange.h>
#include <velxcore/XSettingsObserver.h>

#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

class wxScrolledWindow;
class wxStaticText;

namespace wxUtils {
class VelListEvent;
}

namespace VelXUI {

class XAttributeListControl;
class XAttributeListTitle;
class XAttributeSource;

// The attribute editor's working panel. It decides which objects to show (the selection, the active
// tool or the active command), groups them by type, gathers each attribute name of a type over all
// its objects into one XAttributeSource, and lays the sources out as titled lists according to the
// attribute sets of the application script. Loading and selection changes rebuild at once; value
// changes only refresh the changed rows, in the next main-loop pass; renames and settings changes
// rebuild in that pass.
class XAttributeControl : public wxUtils::VelPanel,
                          public Orka::ColourObserver,
                          public wxUtils::AppMainLoopRedrawClient,
                          public XEditor,
                          public VelX::XSettingsObserver {
public:
    enum DisplayModeValue { ShowSelection = 0, ShowTool = 1, ShowCommand = 2 };

    explicit XAttributeControl(VelX::XScene& scene);
    ~XAttributeControl() override;

    bool Create(wxWindow* parent, Orka::LayoutManager* layoutManager) override;

    XAttributeEditorSettings EditorSettings() const;
    void Rebuild();

    // Scene, settings, colour and main-loop notifications.
    void OnSceneLoaded(VelX::XScene& scene) override;
    // File > New replaces the scene as a load does.
    void OnSceneCreated(VelX::XScene& scene) override { OnSceneLoaded(scene); }
    void OnSceneSelectionChanged(VelX::XScene& scene, bool transient) override;
    void OnSceneChanged(const VelX::XSceneChange& change, bool transient) override;
    void OnSettingsLoaded(VelX::XSettings& settings) override;
    void OnSettingsChanged(const VelX::XSettingsChange& change, bool transient) override;
    void onColourSchemeChanged() override;
    void onColourSchemeChanged(const wxUtils::ColourScheme& scheme) override;
    void onAppMainLoopRedraw() override;
    // Only marks the panel for repainting in the next main-loop pass.
    void Refresh(bool eraseBackground = true, const wxRect* rect = nullptr) override;
    void Update() override;

    // One value to every selected row of every list (rows of kinds that take it).
    void SetAttributes(int value);
    void SetAttributes(bool value);
    void SetAttributes(float value);
    void RememberScrubStart();
    void OffsetAttributes(float delta);
    void SetAttributes(const std::wstring& value);

    // Ends what SetAttributes told the rows about their own writes, once their change block is over.
    void ForgetRowWrites();

    // Selection across all lists, as if they were one list.
    void ClearSelection();
    void SelectAll();
    void SelectHome(XAttributeListControl* list, int item, bool extend, bool toggle);
    void SelectEnd(XAttributeListControl* list, int item, bool extend, bool toggle);
    void SelectNextRow(XAttributeListControl* list, int item, bool extend, bool toggle);
    void SelectPreviousRow(XAttributeListControl* list, int item, bool extend, bool toggle);
    void SelectPageDown(XAttributeListControl* list, int item, bool extend, bool toggle);
    void SelectPageUp(XAttributeListControl* list, int item, bool extend, bool toggle);
    void SelectExclusively(XAttributeListControl* list, int item);
    void ClearHighlightedItems(int column);
    void HighlightItemsInScreenRect(int column, const wxRect& screenRect, bool add);
    wxUtils::VelListItem ItemHitTest(const wxPoint& screenPoint, int* column);
    // Tab out of a list: edits the first typable row of the next list that has one (the last of
    // the previous, backwards); false when there is none.
    bool EditInNextList(XAttributeListControl* list, bool backwards);

    // Whether the display filter lets the attribute through (the script's related attributes).
    bool satisfiesDisplayFilter(const VelX::XAttribute& attribute) const;
    XAttributeSource* findAttributeGroupInCache(const std::wstring& objectType, const std::wstring& name) const;

    // What is shown, for the panel's users and tests.
    const std::vector<XObjectCacheRecord>& ObjectCache() const { return m_objects.records(); }
    const std::vector<XAttributeListControl*>& ListControls() const { return m_lists; }
    const std::vector<XAttributeListTitle*>& Titles() const { return m_titles; }
    wxString MessageText() const;  // the message shown instead of lists ("" when there are lists)
    wxScrolledWindow* ScrollWindow() const { return m_scroll; }
    int CommandId(int index) const;  // of XAttributeEditor::CommandNames[index]
    bool IsRebuildNeeded() const { return m_rebuildNeeded; }
    bool IsUpdateNeeded() const { return m_updateNeeded; }
    bool IsRedrawNeeded() const { return m_redrawNeeded; }
    unsigned long RebuildCount() const { return m_rebuildCount; }

protected:
    // Visibility is judged on the editor panel that hosts this control.
    wxWindow* Window() const override { return GetParent(); }

    void onKeySelected(wxCommandEvent& event);
    void onKeyAll(wxCommandEvent& event);
    void onDeleteSelectedKeys(wxCommandEvent& event);
    void onDeleteAllKeys(wxCommandEvent& event);
    void onDisconnectSelectedInputs(wxCommandEvent& event);
    void onDisconnectAllInputs(wxCommandEvent& event);
    void onCopySelectedValues(wxCommandEvent& event);
    void onCopyAllValues(wxCommandEvent& event);
    void onListItemSelected(wxUtils::VelListEvent& event);
    void onRollupSectionExpandCollapse(wxUtils::VelListEvent& event);
    void onSize(wxSizeEvent& event);
    void onPanelContextMenu(wxContextMenuEvent& event);

private:
    enum class SourceAction { Key, ClearKeys, Disconnect, Unify };

    void initializeCommands();
    void rebuildAttributeControls();
    void loadObjectCache();
    void loadAttributeCache();
    void buildControls();
    void createAttributeListControls(const XObjectCacheRecord& record);
    void initializeDisplayFilter(const std::wstring& objectType);
    bool displayScriptedSets(const XObjectCacheRecord& record, const LuaPlus::LuaObject& sets);
    void displayCustomSet(const XObjectCacheRecord& record);
    void displayDefaultSet(const XObjectCacheRecord& record);
    void createObjectTitle(const XObjectCacheRecord& record);
    XAttributeListControl* createListControl(const XObjectCacheRecord& record, const std::wstring& title);
    void addDefaultTitle(const std::wstring& first, const std::wstring& second);
    void updateAttributeControls();
    void markDirtySources(const VelX::XDatabaseChange& change);
    int displayMode() const;
    void runSourceAction(SourceAction action, bool selectedOnly);
    std::wstring expansionKey(const XAttributeListControl* list) const;
    void relayout();

    XAttributeObjectCache m_objects;
    XAttributeCache m_attributeCache;
    XAttributeDisplayFilter m_displayFilter;

    // What the last build made.
    std::vector<XAttributeListControl*> m_lists;
    std::vector<XAttributeListTitle*> m_titles;
    std::map<std::wstring, bool> m_expansion;  // by object type and list title
    wxScrolledWindow* m_scroll = nullptr;
    wxUtils::PanelBuilder* m_builder = nullptr;  // the scroll window's builder during a build
    wxStaticText* m_message = nullptr;
    bool m_titleCreated = false;
    bool m_anythingShown = false;
    XAttributeListSelection m_selection{m_lists, m_scroll};

    std::vector<int> m_commandIds;
    bool m_rebuildNeeded = false;
    bool m_updateNeeded = false;
    bool m_redrawNeeded = false;
    unsigned long m_rebuildCount = 0;
};

}  // namespace VelXUI

#include <velxui/XAttributeControl.h>
#include <velxui/XAttributeEditor.h>
#include <velxui/XAttributeListControl.h>
#include <velxui/XAttributeListTitle.h>
#include <velxui/XAttributeSource.h>

#include <orkacore/ColourManager.h>
#include <velwidgets/AppMainLoop.h>
#include <velwidgets/VelListEvent.h>
#include <velwidgets/VelPopupMenu.h>
#include <velxcore/XApplication.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneChange.h>

#include <wx/scrolwin.h>
#include <wx/stattext.h>

namespace VelXUI {

namespace {
// Rebuild when attributes of this value type change type (enumerations: their choices decide rows).
constexpr unsigned RebuildAttributeType = 3;
}  // namespace

XAttributeControl::XAttributeControl(VelX::XScene& scene) : XEditor(scene) {
    VelX::XApplication::Instance().AddSceneObserver(this);
    VelX::XApplication::Instance().AddSettingsObserver(this);
    Orka::ColourManager::Instance().addObserver(this);
    wxUtils::AppMainLoop::Instance().addRedrawClient(this);
    for (int i = 0; i < XAttributeEditor::CommandCount; ++i) m_commandIds.push_back(wxNewId());
}

XAttributeControl::~XAttributeControl() {
    wxUtils::AppMainLoop::Instance().removeRedrawClient(this);
    Orka::ColourManager::Instance().removeObserver(this);
    VelX::XApplication::Instance().RemoveSettingsObserver(this);
    VelX::XApplication::Instance().RemoveSceneObserver(this);
    // The lists point at the sources: they go first.
    DestroyChildren();
    m_lists.clear();
    m_attributeCache.clear();
}

bool XAttributeControl::Create(wxWindow* parent, Orka::LayoutManager* layoutManager) {
    if (!VelPanel::Create(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, 0, "VelPanel")) return false;
    XEditor::Create(parent, layoutManager);
    initializeCommands();
    rebuildAttributeControls();
    return true;
}

void XAttributeControl::initializeCommands() {
    using Handler = void (XAttributeControl::*)(wxCommandEvent&);
    const Handler handlers[XAttributeEditor::CommandCount] = {
        &XAttributeControl::onKeySelected,           &XAttributeControl::onKeyAll,
        &XAttributeControl::onDeleteSelectedKeys,    &XAttributeControl::onDeleteAllKeys,
        &XAttributeControl::onDisconnectSelectedInputs, &XAttributeControl::onDisconnectAllInputs,
        &XAttributeControl::onCopySelectedValues,    &XAttributeControl::onCopyAllValues};
    for (int i = 0; i < XAttributeEditor::CommandCount; ++i) Bind(wxEVT_MENU, handlers[i], this, m_commandIds[i]);
    Bind(wxUtils::wxEVT_VELLIST_SELECTION_CHANGED, &XAttributeControl::onListItemSelected, this);
    Bind(wxUtils::wxEVT_VELLIST_ROLLUP, &XAttributeControl::onRollupSectionExpandCollapse, this);
    Bind(wxEVT_SIZE, &XAttributeControl::onSize, this);
    Bind(wxEVT_CONTEXT_MENU, &XAttributeControl::onPanelContextMenu, this);
}

int XAttributeControl::CommandId(int index) const {
    return index >= 0 && index < static_cast<int>(m_commandIds.size()) ? m_commandIds[index] : wxID_NONE;
}

XAttributeEditorSettings XAttributeControl::EditorSettings() const {
    return XAttributeEditorSettings(
        VelX::XApplication::Instance().ActiveScene().Database().Object(XAttributeEditorSettings::TypeID));
}

int XAttributeControl::displayMode() const {
    const VelX::XAttribute mode = EditorSettings().DisplayMode();
    return mode.IsValid() ? mode.Enumeration() : -1;
}

void XAttributeControl::Rebuild() { rebuildAttributeControls(); }

void XAttributeControl::rebuildAttributeControls() {
    m_rebuildNeeded = false;
    m_updateNeeded = false;
    ++m_rebuildCount;
    loadObjectCache();
    loadAttributeCache();
    buildControls();
}

// --- the object cache -------------------------------------------------------------------------

void XAttributeControl::loadObjectCache() {
    const VelX::XAttribute mode = EditorSettings().DisplayMode();
    m_objects.load(Scene(), mode.IsValid() ? mode.Enumeration() : XAttributeObjectCache::NoMode);
}

// --- the attribute cache ----------------------------------------------------------------------

void XAttributeControl::loadAttributeCache() {
    // The lists show the old sources until the build replaces them.
    DestroyChildren();
    m_lists.clear();
    m_titles.clear();
    m_scroll = nullptr;
    m_message = nullptr;
    m_attributeCache.load(m_objects.records(), this);
}

XAttributeSource* XAttributeControl::findAttributeGroupInCache(const std::wstring& objectType,
                                                               const std::wstring& name) const {
    return m_attributeCache.find(objectType, name);
}

// --- building the lists ---------------------------------------------------------------------

void XAttributeControl::buildControls() {
    Freeze();
    DestroyChildren();
    m_lists.clear();
    m_titles.clear();
    m_displayFilter.clear();
    m_message = nullptr;
    m_anythingShown = false;

    wxUtils::PanelBuilder builder(this, PanelBuilderBorder);
    builder.beginVertical(1, wxEXPAND);
    m_scroll = builder.addScrollWindow(1, wxEXPAND);
    m_scroll->SetScrollRate(0, 10);
    wxUtils::PanelBuilder inner(m_scroll, PanelBuilderBorder);
    m_builder = &inner;
    inner.beginHorizontal(1, wxEXPAND);
    inner.beginVertical(1, wxEXPAND);

    for (const XObjectCacheRecord& record : m_objects.records()) createAttributeListControls(record);

    if (!m_anythingShown) {
        const int mode = displayMode();
        if (mode == ShowSelection || mode < 0) {
            m_message = inner.addText(XAttributeEditor::NullObjectSelection);
        } else if (mode == ShowTool) {
            m_message = inner.addText(XAttributeEditor::NullToolSelection);
        } else {
            const std::wstring name = VelX::XApplication::Instance().ActiveCommandName();
            if (VelX::XApplication::Instance().ActiveCommand().IsValid() && !name.empty()) {
                addDefaultTitle(XAttributeEditor::CommandTitle, name);
                m_message = inner.addText(XAttributeEditor::NoCommandParameters);
            } else {
                m_message = inner.addText(XAttributeEditor::NullCommandSelection);
            }
        }
    }
    inner.end();
    inner.addSpacer(5);
    inner.end();
    inner.finish();
    m_builder = nullptr;
    builder.finish();
    Thaw();
    Refresh(true, nullptr);
}

void XAttributeControl::addDefaultTitle(const std::wstring& first, const std::wstring& second) {
    m_builder->addSpacer(XAttributeEditor::TitleSpacing);
    m_builder->addText(std::wstring(XAttributeEditor::TitleIndent) + first, wxUtils::FontStyle::Heading);
    m_builder->addSpacer(XAttributeEditor::TitleSpacing);
    m_builder->addText(std::wstring(XAttributeEditor::TitleIndent) + second, wxUtils::FontStyle::Normal);
    m_builder->addSpacer(XAttributeEditor::GroupSpacing);
}

void XAttributeControl::createAttributeListControls(const XObjectCacheRecord& record) {
    if (record.objectType.empty() || record.objects.empty()) return;
    m_titleCreated = false;
    initializeDisplayFilter(record.objectType);
    const LuaPlus::LuaObject sets = runLuaFunctionReturnObject(
        XAttributeEditor::AttributeEditorTable, XAttributeEditor::AttributeSetsTable, record.objectType);
    const size_t listsBefore = m_lists.size();
    if (sets.IsTable()) {
        displayScriptedSets(record, sets);
        displayCustomSet(record);
    } else {
        displayDefaultSet(record);
    }
    if (m_lists.size() > listsBefore) m_builder->addSpacer(XAttributeEditor::GroupSpacing);
}

void XAttributeControl::initializeDisplayFilter(const std::wstring& objectType) {
    // Rules of types built earlier stay: each names its type, and the rebuild test of
    // OnSceneChanged needs all of them.
    m_displayFilter.add(objectType, runLuaFunctionReturnObject(XAttributeEditor::AttributeEditorTable,
                                                               XAttributeEditor::RelatedAttributesTable, objectType));
}

bool XAttributeControl::satisfiesDisplayFilter(const VelX::XAttribute& attribute) const {
    return m_displayFilter.satisfies(attribute);
}

bool XAttributeControl::displayScriptedSets(const XObjectCacheRecord& record, const LuaPlus::LuaObject& sets) {
    bool shown = false;
    const int count = sets.GetTableCount();
    for (int s = 1; s <= count; ++s) {
        const LuaPlus::LuaObject set = sets[s];
        if (!set.IsTable() || !set[2].IsTable()) continue;
        const std::wstring title = set[1].IsString() ? set[1].GetWString() : std::wstring();
        const LuaPlus::LuaObject names = set[2];
        // Each entry is a name, or a table of a name and a label to show instead.
        std::vector<std::pair<XAttributeSource*, std::wstring>> rows;
        bool anyDisplayable = false;
        const int entries = names.GetTableCount();
        for (int n = 1; n <= entries; ++n) {
            const LuaPlus::LuaObject entry = names[n];
            std::wstring name, label;
            if (entry.IsString()) {
                name = entry.GetWString();
            } else if (entry.IsTable()) {
                name = entry[1].GetWString();
                label = entry[2].IsString() ? entry[2].GetWString() : std::wstring();
            }
            XAttributeSource* source = findAttributeGroupInCache(record.objectType, name);
            if (!source) continue;
            const bool displayable = source->isDisplayable();
            anyDisplayable = anyDisplayable || displayable;
            if (displayable) rows.emplace_back(source, label);
        }
        if (!anyDisplayable) continue;  // a set none of whose attributes is here is left out, title too
        if (!m_titleCreated) createObjectTitle(record);
        XAttributeListControl* list = createListControl(record, title);
        for (const auto& [source, label] : rows) list->addAttribute(source, wxString(label));
        shown = true;
    }
    return shown;
}

void XAttributeControl::displayCustomSet(const XObjectCacheRecord& record) {
    Velutils::Vector<VelX::XAttribute> custom;
    record.objects.front().CustomAttributes(custom);
    std::vector<std::wstring> names;
    for (const VelX::XAttribute& attribute : custom) names.push_back(attribute.Name());
    // With several objects only the names that every one of them has.
    for (size_t i = 1; i < record.objects.size() && !names.empty(); ++i) {
        const VelX::XObject& object = record.objects[i];
        names.erase(std::remove_if(names.begin(), names.end(),
                                   [&](const std::wstring& name) {
                                       const VelX::XAttribute a = object.Attribute(name);
                                       return !a.IsValid() || !a.IsCustom();
                                   }),
                    names.end());
    }
    std::vector<XAttributeSource*> rows;
    for (const std::wstring& name : names) {
        XAttributeSource* source = findAttributeGroupInCache(record.objectType, name);
        if (source && source->isDisplayable()) rows.push_back(source);
    }
    if (rows.empty()) return;
    if (!m_titleCreated) createObjectTitle(record);
    XAttributeListControl* list = createListControl(record, XAttributeEditor::CustomAttributes);
    for (XAttributeSource* source : rows) list->addAttribute(source);
}

void XAttributeControl::displayDefaultSet(const XObjectCacheRecord& record) {
    const VelX::XObject& first = record.objects.front();
    std::vector<XAttributeSource*> rows;
    const int count = first.AttributeCount();
    for (int i = 0; i < count; ++i) {
        XAttributeSource* source = findAttributeGroupInCache(record.objectType, first.Attribute(i).Name());
        if (source && source->isDisplayable()) rows.push_back(source);
    }
    if (rows.empty()) return;
    if (!m_titleCreated) createObjectTitle(record);
    XAttributeListControl* list = createListControl(record, XAttributeEditor::DefaultAttributeGroupName);
    for (XAttributeSource* source : rows) list->addAttribute(source);
}

void XAttributeControl::createObjectTitle(const XObjectCacheRecord& record) {
    m_titleCreated = true;
    const VelX::XObject first = record.objects.empty() ? VelX::XObject::Undefined : record.objects.front();
    std::wstring typeLabel, nameLabel;
    if (first.SupportsType(VelX::XCommand::TypeID) || first.SupportsType(VelX::XTool::TypeID) ||
        first.SupportsType(VelX::XObjectController::TypeID) || first.SupportsType(VelX::XSceneSettings::TypeID)) {
        nameLabel = first.DisplayName();
    } else {
        typeLabel = first.ObjectDisplayType();
        nameLabel = first.Name();
    }
    if (record.objects.size() > 1) nameLabel = L"Multiple (" + std::to_wstring(record.objects.size()) + L")";
    auto* title = new XAttributeListTitle(m_builder->parent());
    m_builder->add(title, 0, wxEXPAND);
    title->SetTypeLabel(typeLabel);
    title->SetNameLabel(nameLabel);
    title->SetColour(ObjectColour(first));
    m_builder->addSpacer(XAttributeEditor::TitleSpacing);
    m_titles.push_back(title);
}

XAttributeListControl* XAttributeControl::createListControl(const XObjectCacheRecord& record,
                                                           const std::wstring& title) {
    auto* list = new XAttributeListControl(*this, record.objectType);
    list->Create(m_builder->parent(), 0);
    list->setNameColumnShare(XAttributeEditor::NameColumnWidth);
    list->setTitle(title);
    m_lists.push_back(list);
    const auto expansion = m_expansion.find(expansionKey(list));
    if (expansion != m_expansion.end()) list->setExpanded(expansion->second);
    m_builder->add(list, 0, wxEXPAND);
    m_builder->addSpacer(XAttributeEditor::ListSpacing);
    m_anythingShown = true;
    return list;
}

std::wstring XAttributeControl::expansionKey(const XAttributeListControl* list) const {
    return list->ObjectType() + L"\n" + list->getTitle().ToStdWstring();
}

wxString XAttributeControl::MessageText() const { return m_message ? m_message->GetLabel() : wxString(); }

// --- change handling --------------------------------------------------------------------------

void XAttributeControl::OnSceneLoaded(VelX::XScene&) {
    if (IsVisible()) rebuildAttributeControls();
}

void XAttributeControl::OnSettingsLoaded(VelX::XSettings&) {
    if (IsVisible()) rebuildAttributeControls();
}

void XAttributeControl::OnSceneSelectionChanged(VelX::XScene& scene, bool) {
    if (!IsVisible()) return;
    if (scene.Selection().Count() > 0 && displayMode() == ShowCommand) {
        // A new selection takes the editor back to showing the selection.
        EditorSettings().DisplayMode().SetEnumeration(ShowSelection);
    }
    rebuildAttributeControls();
}

void XAttributeControl::OnSceneChanged(const VelX::XSceneChange& sceneChange, bool) {
    if (!IsVisible()) return;
    const VelX::XDatabaseChange& change = sceneChange.DatabaseChange();
    if (change.IsObjectChanged(m_objects.objects())) {
        m_updateNeeded = true;
        markDirtySources(change);
        if (m_displayFilter.isTouchedBy(change, m_objects.records())) m_rebuildNeeded = true;
    }
    const XAttributeEditorSettings settings = EditorSettings();
    // Enumerations and deletions rebuild only when they touch the objects shown: elsewhere in the
    // scene they change nothing here, and a rebuild would lose scroll, selection and focus.
    const bool ours = change.IsObjectChanged(m_objects.objects());
    if ((settings.IsValid() && change.IsObjectChanged(settings)) ||
        (change.IsObjectRenamed() && change.IsNameChanged(m_objects.objects())) ||
        (ours && (change.IsAttributeTypeChanged(RebuildAttributeType) || change.IsObjectDeleted())))
        m_rebuildNeeded = true;
    if (m_rebuildNeeded || m_updateNeeded) {
        m_redrawNeeded = true;
        wxUtils::AppMainLoop::Instance().requestPass();
    }
}

void XAttributeControl::OnSettingsChanged(const VelX::XSettingsChange&, bool) {
    // Application settings carry the display units: every shown value may read differently.
    if (!IsVisible()) return;
    for (XAttributeListControl* list : m_lists)
        for (int row = 0; row < list->getItemCount(); ++row)
            if (auto* source = dynamic_cast<XAttributeSource*>(list->GetAttributeGroup(row)->getAttribute()))
                source->setDirty(true);
    m_updateNeeded = true;
    m_redrawNeeded = true;
    wxUtils::AppMainLoop::Instance().requestPass();
}

void XAttributeControl::markDirtySources(const VelX::XDatabaseChange& change) {
    // A row is dirty exactly when one of its attributes changed. A row of a type's own attribute
    // holds that attribute of each object: when it changed on no object of the type, one look-up
    // clears the whole row; otherwise its objects are asked until one changed. Custom attributes
    // of one name may sit in different places on different objects and are always asked one by one.
    for (XAttributeListControl* list : m_lists) {
        for (int row = 0; row < list->getItemCount(); ++row) {
            auto* source = static_cast<XAttributeSource*>(list->GetAttributeGroup(row)->getAttribute());
            const std::vector<VelX::XAttribute>& attributes = source->attributes();
            bool dirty = false;
            const bool ruledOut = !attributes.empty() && !attributes.front().IsCustom() &&
                                  !change.IsAttributeChangedOnItsType(attributes.front());
            for (size_t i = 0; i < attributes.size() && !ruledOut && !dirty; ++i)
                dirty = change.IsAttributeChanged(attributes[i]);
            // The row's own edit already shows what this round carries for it. A row stays dirty
            // until the pass updates it: a later round that leaves it alone must not clear it.
            if (dirty && !source->wroteEveryAttribute()) source->setDirty(true);
        }
    }
}

void XAttributeControl::onAppMainLoopRedraw() {
    if (m_rebuildNeeded) rebuildAttributeControls();
    else if (m_updateNeeded) updateAttributeControls();
    m_rebuildNeeded = m_updateNeeded = false;
    if (m_redrawNeeded) {
        m_redrawNeeded = false;
        wxWindow::Refresh(false);
        for (XAttributeListControl* list : m_lists) list->Refresh(false);
        Update();
    }
}

void XAttributeControl::updateAttributeControls() {
    for (XAttributeListControl* list : m_lists) {
        bool changed = false;
        for (int row = 0; row < list->getItemCount(); ++row) {
            wxUtils::VelAttributeGroup* group = list->GetAttributeGroup(row);
            auto* source = static_cast<XAttributeSource*>(group->getAttribute());
            if (!source->isDirty()) continue;
            group->rebuild();
            source->setDirty(false);
            changed = true;
        }
        if (changed) list->Refresh(false);
    }
}

void XAttributeControl::Refresh(bool, const wxRect*) {
    m_redrawNeeded = true;
    wxUtils::AppMainLoop::Instance().requestPass();
}

void XAttributeControl::Update() { wxWindow::Update(); }

void XAttributeControl::onColourSchemeChanged() { Refresh(false, nullptr); }

void XAttributeControl::onColourSchemeChanged(const wxUtils::ColourScheme& scheme) {
    VelPanel::onColourSchemeChanged(scheme);
}

// --- values and selection across lists: see XAttributeListSelection --------------------------

void XAttributeControl::ForgetRowWrites() {
    for (XAttributeListControl* list : m_lists)
        for (int row = 0; row < list->getItemCount(); ++row)
            static_cast<XAttributeSource*>(list->GetAttributeGroup(row)->getAttribute())->forgetWrite();
}

void XAttributeControl::SetAttributes(int value) { m_selection.setValue(value); }
void XAttributeControl::SetAttributes(float value) { m_selection.setValue(value); }
void XAttributeControl::RememberScrubStart() { m_selection.rememberScrubStart(); }
void XAttributeControl::OffsetAttributes(float delta) { m_selection.offsetValue(delta); }
void XAttributeControl::SetAttributes(bool value) { m_selection.setValue(value); }
void XAttributeControl::SetAttributes(const std::wstring& value) { m_selection.setValue(value); }
void XAttributeControl::ClearSelection() { m_selection.clear(); }
void XAttributeControl::SelectAll() { m_selection.selectAll(); }
void XAttributeControl::ClearHighlightedItems(int column) { m_selection.clearHighlighted(column); }
void XAttributeControl::SelectExclusively(XAttributeListControl* list, int item) { m_selection.selectExclusively(list, item); }
void XAttributeControl::SelectHome(XAttributeListControl* list, int item, bool extend, bool toggle) {
    m_selection.selectHome(list, item, extend, toggle);
}
void XAttributeControl::SelectEnd(XAttributeListControl* list, int item, bool extend, bool toggle) {
    m_selection.selectEnd(list, item, extend, toggle);
}
void XAttributeControl::SelectNextRow(XAttributeListControl* list, int item, bool extend, bool toggle) {
    m_selection.selectNextRow(list, item, extend, toggle);
}
void XAttributeControl::SelectPreviousRow(XAttributeListControl* list, int item, bool extend, bool toggle) {
    m_selection.selectPreviousRow(list, item, extend, toggle);
}
void XAttributeControl::SelectPageDown(XAttributeListControl* list, int item, bool extend, bool toggle) {
    m_selection.selectPageDown(list, item, extend, toggle);
}
void XAttributeControl::SelectPageUp(XAttributeListControl* list, int item, bool extend, bool toggle) {
    m_selection.selectPageUp(list, item, extend, toggle);
}
void XAttributeControl::HighlightItemsInScreenRect(int column, const wxRect& screenRect, bool add) {
    m_selection.highlightInScreenRect(column, screenRect, add);
}
wxUtils::VelListItem XAttributeControl::ItemHitTest(const wxPoint& screenPoint, int* column) {
    return m_selection.hitTest(screenPoint, column);
}
bool XAttributeControl::EditInNextList(XAttributeListControl* list, bool backwards) {
    return m_selection.editInNextList(list, backwards);
}

// --- the commands -------------------------------------------------------------------------

void XAttributeControl::runSourceAction(SourceAction action, bool selectedOnly) {
    VelX::XDatabase& database = Scene().Database();
    database.BeginChangeBlock();
    for (XAttributeListControl* list : m_lists) {
        for (int row = 0; row < list->getItemCount(); ++row) {
            if (selectedOnly && !list->isItemSelected(row)) continue;
            // Rows are found by attribute name, so rows with a custom label still find their source.
            const wxUtils::VelAttributeGroup* group = list->GetAttributeGroup(row);
            const auto* shown = static_cast<const XAttributeSource*>(group->getAttribute());
            XAttributeSource* source = findAttributeGroupInCache(list->ObjectType(), shown->attributeName());
            if (!source) continue;
            switch (action) {
            case SourceAction::Key: source->key(); break;
            case SourceAction::ClearKeys: source->clearKeys(); break;
            case SourceAction::Disconnect: source->disconnect(); break;
            case SourceAction::Unify: source->unify(); break;
            }
        }
    }
    for (XAttributeListControl* list : m_lists) list->rebuildAll();
    static const wchar_t* const names[] = {L"Add Keyframe", L"Clear Keyframes", L"Clear Inputs", L"Unify Values"};
    database.EndChangeBlock(names[static_cast<int>(action)]);
}

void XAttributeControl::onKeySelected(wxCommandEvent&) { runSourceAction(SourceAction::Key, true); }
void XAttributeControl::onKeyAll(wxCommandEvent&) { runSourceAction(SourceAction::Key, false); }
void XAttributeControl::onDeleteSelectedKeys(wxCommandEvent&) { runSourceAction(SourceAction::ClearKeys, true); }
void XAttributeControl::onDeleteAllKeys(wxCommandEvent&) { runSourceAction(SourceAction::ClearKeys, false); }
void XAttributeControl::onDisconnectSelectedInputs(wxCommandEvent&) {
    runSourceAction(SourceAction::Disconnect, true);
}
void XAttributeControl::onDisconnectAllInputs(wxCommandEvent&) { runSourceAction(SourceAction::Disconnect, false); }
void XAttributeControl::onCopySelectedValues(wxCommandEvent&) { runSourceAction(SourceAction::Unify, true); }
void XAttributeControl::onCopyAllValues(wxCommandEvent&) { runSourceAction(SourceAction::Unify, false); }

void XAttributeControl::onListItemSelected(wxUtils::VelListEvent& event) { event.Skip(); }

void XAttributeControl::onRollupSectionExpandCollapse(wxUtils::VelListEvent& event) {
    if (auto* list = dynamic_cast<XAttributeListControl*>(event.GetEventObject()))
        m_expansion[expansionKey(list)] = list->isExpanded();
    relayout();
}

void XAttributeControl::relayout() {
    if (!m_scroll) return;
    m_scroll->Layout();
    m_scroll->FitInside();
    Layout();
}

void XAttributeControl::onSize(wxSizeEvent& event) {
    event.Skip();
    CallAfter([this] { relayout(); });
}

void XAttributeControl::onPanelContextMenu(wxContextMenuEvent& event) {
    // The "All" forms act on every row, so they are offered wherever there are rows at all.
    if (m_lists.empty()) return;
    wxUtils::VelPopupMenu menu(XAttributeEditor::Title);
    menu.appendItem(m_commandIds[1], XAttributeEditor::CommandNames[1]);
    menu.appendSeparator();
    menu.appendItem(m_commandIds[3], XAttributeEditor::CommandNames[3]);
    menu.appendItem(m_commandIds[5], XAttributeEditor::CommandNames[5]);
    menu.appendSeparator();
    menu.appendItem(m_commandIds[7], XAttributeEditor::CommandNames[7]);
    menu.popup(this);
    event.Skip(false);
}

}  // namespace VelXUI

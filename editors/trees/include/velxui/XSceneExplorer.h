#pragma once

#include <velxui/XEditor.h>

#include <velwidgets/NavigatorTree.h>
#include <velxcore/XAttribute.h>

#include <velutils/Vector.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace VelX {
class XObject;
class XScene;
}  // namespace VelX

namespace VelXUI {

class TreeItemMap;

// The scene's object hierarchy as a tree: the root item stands for the scene, and below it every
// transform and shape, nested and ordered as the core keeps them. The tree follows scene changes
// item by item, mirrors the scene selection both ways without feedback (through the tree's selection
// event disabler), and offers selection, naming, deletion and branch commands in its context menu.
class XSceneExplorer : public wxUtils::NavigatorTree, public XEditor {
public:
    static const std::wstring SceneNodeName;
    static const std::wstring SceneTypeID;
    static const std::wstring ImageFolder;
    static const std::wstring ImagePrefix;
    static const std::wstring ImageSuffix;
    static const int ImageSize = 16;
    static const int Indent = 6;
    static const std::wstring SeparatorCharacter;
    static const std::wstring BranchSubMenu;
    static const std::wstring SelectionTitle;
    static const std::wstring CameraTypeID;
    static const std::wstring CharacterTypeID;
    static const std::wstring IKHandleTypeID;
    static const std::wstring JointTypeID;
    static const std::wstring JointLimitTypeID;
    static const std::wstring KinematicsCharacterTypeID;
    static const std::wstring MeshInstanceTypeID;
    static const std::wstring PhysicsCharacterTypeID;
    static const std::wstring PhysicsConstraintTypeID;
    static const std::wstring PhysicsJointTypeID;
    static const std::wstring PhysicsJointLimitTypeID;
    static const std::wstring PrimitiveTypeID;
    static const std::wstring ShapeTypeID;
    static const std::wstring TransformTypeID;
    // Tree style: the horizontal scroll bar and full-row highlight.
    static const long TreeStyle = 0x40002000;

    // The commands, in the order of their identifiers and labels.
    enum Command {
        CopyPathCommand, SelectCommand, DeselectCommand, SelectTypeCommand, RenameCommand, DeleteCommand,
        RemoveCommand, BranchSelectCommand, BranchDeselectCommand, BranchExpandCommand, BranchCollapseCommand,
        SelectionExpandCommand, SelectionReparentCommand, SelectionDeleteCommand, CommandCount
    };
    static const wchar_t* const CommandLabels[CommandCount];
    // Instances are numbered from 0 in construction order; the counter starts at -1.
    static int EditorIndex;

    explicit XSceneExplorer(VelX::XScene& scene);
    ~XSceneExplorer() override;
    bool Create(wxWindow* parent, Orka::LayoutManager* layout) override;

    int Index() const { return m_editorIndex; }
    int CommandID(Command command) const { return command >= 0 && command < CommandCount ? m_commandIds[command] : -1; }

    wxWindow* Window() const override;
    void OnSceneLoaded(VelX::XScene& scene) override;
    // File > New replaces the scene as a load does.
    void OnSceneCreated(VelX::XScene& scene) override { OnSceneLoaded(scene); }
    void OnSceneChanged(const VelX::XSceneChange& change, bool transient) override;
    void OnSceneSelectionChanged(VelX::XScene& scene, bool transient) override;

    // The object of an item and the item of an object (null / invalid when not shown).
    wxUtils::TreeItem* ItemOf(const VelX::XObject& object) const;
    VelX::XObject ObjectOf(wxUtils::TreeItem* item) const;
    // Item-type name for an object, "" when the explorer does not show it.
    static const std::wstring& NavigatorItemTypeOf(const VelX::XObject& object);

protected:
    void onSelectionChanged() override;

    void registerTreeItemTypes();
    void initializeCommands();
    void initialiseTreeItems();
    void createTreeItems();
    void recursiveCreateTreeItems(const VelX::XObject& object, wxUtils::NavigatorTreeItem* parent);
    void recursiveCreateChildItems(const VelX::XObject& object, wxUtils::NavigatorTreeItem* item);
    wxUtils::NavigatorTreeItem* createTreeRootItem(const VelX::XObject& object);
    wxUtils::NavigatorTreeItem* createTreeItem(const VelX::XObject& object, wxUtils::TreeItem* parent);
    const std::wstring& getNavigatorItemType(const VelX::XObject& object) const;
    void addTreeItem(const VelX::XObject& object);
    void removeTreeItem(const VelX::XObject& object);
    void removeTreeBranch(const VelX::XObject& object);
    void renameTreeItem(const VelX::XObject& object);
    void reparentTreeItem(const VelX::XObject& object);
    void clearTreeItemSelection();
    void updateTreeItemSelection();
    void setTreeItemSelection(Velutils::Vector<wxUtils::TreeItem*>& items);
    std::wstring getObjectPath(wxUtils::TreeItem* item) const;

    void clearTreeItemMap();
    void addTreeItemToMap(int objectId, wxUtils::TreeItem* item);
    void removeTreeItemFromMap(wxUtils::TreeItem* item);
    void removeTreeItemBranchFromMap(wxUtils::TreeItem* item);
    void recursiveRemoveTreeItemBranchFromMap(wxUtils::TreeItem* item);
    wxUtils::TreeItem* findTreeItemInMap(int objectId) const;
    wxUtils::TreeItem* findTreeItemInMap(const std::wstring& path) const;
    VelX::XObject findObjectInMap(wxUtils::TreeItem* item) const;

    void expandBranch(const std::wstring& path);
    void collapseBranch(const std::wstring& path);
    void expandSelection(const std::wstring& path);
    void selectBranch(const std::wstring& path);
    void deselectBranch(const std::wstring& path);
    void deleteItem(const std::wstring& path);
    void recursiveExpandSelection(wxUtils::TreeItem* item);
    void recursiveListChildren(wxUtils::TreeItem* item, std::vector<std::wstring>& paths) const;

    void onCopyPath(wxCommandEvent& event);
    void onSelect(wxCommandEvent& event);
    void onDeselect(wxCommandEvent& event);
    void onSelectType(wxCommandEvent& event);
    void onRename(wxCommandEvent& event);
    void onDelete(wxCommandEvent& event);
    void onRemove(wxCommandEvent& event);
    void onSelectionDelete(wxCommandEvent& event);
    void onSelectionExpand(wxCommandEvent& event);
    void onSelectionReparent(wxCommandEvent& event);
    void onBranchSelect(wxCommandEvent& event);
    void onBranchDeselect(wxCommandEvent& event);
    void onBranchExpand(wxCommandEvent& event);
    void onBranchCollapse(wxCommandEvent& event);
    void onBeginRename(wxUtils::TreeEvent& event);
    void onEndRename(wxUtils::TreeEvent& event);
    void onTreeKey(wxUtils::TreeEvent& event);
    void onPaintWhenShown(wxPaintEvent& event);

protected:
    // Dragging objects in the tree reparents them: onto an object puts them under it, above or
    // below puts them beside it; one undo step.
    bool canDropItems(const std::vector<wxUtils::TreeItem*>& items, wxUtils::TreeItem* target,
                      wxUtils::TreeDropPlace place) override;
    void onDropItems(const std::vector<wxUtils::TreeItem*>& items, wxUtils::TreeItem* target,
                     wxUtils::TreeDropPlace place) override;
    // One object dragged out onto an attribute row that takes text (an object reference) sets it,
    // as typing the object's path there would.
    bool canDropItemsOutside(const std::vector<wxUtils::TreeItem*>& items, const wxPoint& screen) override;
    void onDropItemsOutside(const std::vector<wxUtils::TreeItem*>& items, const wxPoint& screen) override;

private:
    wxUtils::NavigatorTreeItem* createTreeItem(const VelX::XObject& object, wxUtils::TreeItem* parent,
                                              const std::wstring& typeName);
    wxUtils::NavigatorItemType* itemType(const std::wstring& typeName);
    std::wstring contextPath() const { return getObjectPath(GetFocusItem()); }
    // Objects whose "hiddenInExplorer" attribute is on get no item (nor do their children).
    static bool isHiddenInExplorer(const VelX::XObject& object);
    // Moves a new or reparented item to its object's place among its siblings in the scene.
    void placeInSceneOrder(const VelX::XObject& object, wxUtils::TreeItem* item);
    void sortChildrenInSceneOrder(const VelX::XObject& parent);
    // Notes which branches are open (by object path), so that a rebuild opens them again.
    void rememberExpanded(wxUtils::TreeItem* item, const std::wstring& itemPath);
    // Runs a command's scene edit inside one change block.
    template <class Edit>
    void inChangeBlock(Edit&& edit, const std::wstring& undoLabel = std::wstring());

    int m_editorIndex;
    bool m_missedChanges = false;  // a notification was dropped while hidden
    std::unordered_set<std::wstring> m_expandedPaths;
    int m_commandIds[CommandCount];
    std::unique_ptr<TreeItemMap> m_itemMap;
    // Registered types by name, found once: building a large tree asks for one per item.
    std::vector<std::pair<const std::wstring*, wxUtils::NavigatorItemType*>> m_typeCache;
    // Per object type while building: the item type name, and its hidden flag to copy per object.
    struct BuildType {
        const std::wstring* itemType;
        VelX::XAttribute hidden;
    };
    std::unordered_map<std::wstring, BuildType> m_buildTypes;
    static const std::wstring HiddenInExplorerName;
};

}  // namespace VelXUI

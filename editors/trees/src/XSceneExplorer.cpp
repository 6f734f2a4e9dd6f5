#include <velxui/XSceneExplorer.h>

#include <velxui/SceneExplorerItemTypes.h>
#include <velxui/TreeItemMap.h>

#include <velwidgets/VelTreeControlSelectionEventDisabler.h>
#include <velxcore/XApplication.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneChange.h>
#include <velxcore/XSelection.h>

#include <wx/utils.h>

#include <algorithm>

namespace VelXUI {

using VelX::XObject;
using wxUtils::NavigatorTreeItem;
using wxUtils::TreeItem;

const std::wstring XSceneExplorer::SceneNodeName = L"Scene";
const std::wstring XSceneExplorer::SceneTypeID = L"Scene";
const std::wstring XSceneExplorer::ImageFolder = L"Images\\";
const std::wstring XSceneExplorer::ImagePrefix = L"Explorer";
const std::wstring XSceneExplorer::ImageSuffix = L"16.png";
const std::wstring XSceneExplorer::SeparatorCharacter = L":";
const std::wstring XSceneExplorer::BranchSubMenu = L"Children";
const std::wstring XSceneExplorer::SelectionTitle = L"Selection";
const std::wstring XSceneExplorer::CameraTypeID = L"Camera";
const std::wstring XSceneExplorer::CharacterTypeID = L"Character";
const std::wstring XSceneExplorer::IKHandleTypeID = L"IKHandle";
const std::wstring XSceneExplorer::JointTypeID = L"Joint";
const std::wstring XSceneExplorer::JointLimitTypeID = L"JointLimit";
const std::wstring XSceneExplorer::KinematicsCharacterTypeID = L"KinematicsCharacter";
const std::wstring XSceneExplorer::MeshInstanceTypeID = L"MeshInstance";
const std::wstring XSceneExplorer::PhysicsCharacterTypeID = L"PhysicsCharacter";
const std::wstring XSceneExplorer::PhysicsConstraintTypeID = L"PhysicsConstraint";
const std::wstring XSceneExplorer::PhysicsJointTypeID = L"PhysicsJoint";
const std::wstring XSceneExplorer::PhysicsJointLimitTypeID = L"PhysicsJointLimit";
const std::wstring XSceneExplorer::PrimitiveTypeID = L"Primitive";
const std::wstring XSceneExplorer::ShapeTypeID = L"Shape";
const std::wstring XSceneExplorer::TransformTypeID = L"Transform";

const wchar_t* const XSceneExplorer::CommandLabels[CommandCount] = {
    L"Copy Path", L"Select", L"Deselect", L"Select All", L"Rename", L"Delete", L"Remove",
    L"Select All", L"Deselect All", L"Expand All", L"Collapse All", L"Expand All", L"Reparent All", L"Delete All"};

int XSceneExplorer::EditorIndex = -1;

XSceneExplorer::XSceneExplorer(VelX::XScene& scene) : NavigatorTree(), XEditor(scene), m_editorIndex(++EditorIndex) {
    VelX::XApplication::Instance().AddSceneObserver(this);
    initializeCommands();
    m_itemMap = std::make_unique<TreeItemMap>();
}

XSceneExplorer::~XSceneExplorer() {
    VelX::XApplication::Instance().RemoveSceneObserver(this);
    DeleteAllItems();  // items first, while the map still exists for anything that asks
}

bool XSceneExplorer::Create(wxWindow* parent, Orka::LayoutManager* layout) {
    XEditor::Create(parent, layout);
    if (!NavigatorTree::Create(parent, -1, wxDefaultPosition, wxDefaultSize, TreeStyle, "NavigatorTree")) return false;
    setItemIndent(Indent);
    registerTreeItemTypes();
    EnsureVisible(nullptr);
    DeleteAllItems();
    createTreeItems();
    initialiseTreeItems();
    Bind(wxUtils::wxEVT_VEL_TREE_BEGIN_LABEL_EDIT, &XSceneExplorer::onBeginRename, this);
    Bind(wxUtils::wxEVT_VEL_TREE_END_LABEL_EDIT, &XSceneExplorer::onEndRename, this);
    Bind(wxUtils::wxEVT_VEL_TREE_KEY_DOWN, &XSceneExplorer::onTreeKey, this);
    Bind(wxEVT_PAINT, &XSceneExplorer::onPaintWhenShown, this);
    return true;
}

wxWindow* XSceneExplorer::Window() const { return const_cast<XSceneExplorer*>(this); }

void XSceneExplorer::registerTreeItemTypes() {
    registerNavigatorItemType(new CameraItemType(this));
    registerNavigatorItemType(new CharacterItemType(this));
    registerNavigatorItemType(new IKHandleItemType(this));
    registerNavigatorItemType(new JointItemType(this));
    registerNavigatorItemType(new JointLimitItemType(this));
    registerNavigatorItemType(new KinematicsCharacterItemType(this));
    registerNavigatorItemType(new MeshInstanceItemType(this));
    registerNavigatorItemType(new PhysicsCharacterItemType(this));
    registerNavigatorItemType(new PhysicsConstraintItemType(this));
    registerNavigatorItemType(new PhysicsJointItemType(this));
    registerNavigatorItemType(new PhysicsJointLimitItemType(this));
    registerNavigatorItemType(new PrimitiveItemType(this));
    registerNavigatorItemType(new SceneItemType(this));
    registerNavigatorItemType(new ShapeItemType(this));
    registerNavigatorItemType(new TransformItemType(this));
}

void XSceneExplorer::initializeCommands() {
    using Handler = void (XSceneExplorer::*)(wxCommandEvent&);
    static const Handler handlers[CommandCount] = {
        &XSceneExplorer::onCopyPath,        &XSceneExplorer::onSelect,           &XSceneExplorer::onDeselect,
        &XSceneExplorer::onSelectType,      &XSceneExplorer::onRename,           &XSceneExplorer::onDelete,
        &XSceneExplorer::onRemove,          &XSceneExplorer::onBranchSelect,     &XSceneExplorer::onBranchDeselect,
        &XSceneExplorer::onBranchExpand,    &XSceneExplorer::onBranchCollapse,   &XSceneExplorer::onSelectionExpand,
        &XSceneExplorer::onSelectionReparent, &XSceneExplorer::onSelectionDelete};
    for (int i = 0; i < CommandCount; ++i) {
        m_commandIds[i] = wxNewId();
        Bind(wxEVT_MENU, handlers[i], this, m_commandIds[i]);
    }
}

// ---------------------------------------------------------------------------------------------
// Building

void XSceneExplorer::createTreeItems() {
    clearTreeItemMap();
    m_buildTypes.clear();  // object types may have been registered since the last build
    recursiveCreateTreeItems(Scene().RootObject(), nullptr);
}

void XSceneExplorer::recursiveCreateTreeItems(const XObject& object, NavigatorTreeItem* parent) {
    NavigatorTreeItem* item = parent ? createTreeItem(object, parent) : createTreeRootItem(object);
    if (item) recursiveCreateChildItems(object, item);
}

void XSceneExplorer::recursiveCreateChildItems(const XObject& object, NavigatorTreeItem* item) {
    // Children that are neither transforms nor shapes have no item type: they are skipped with
    // everything below them. The item type follows from the object type alone, so it is worked out
    // once per object type of the scene and then looked up.
    Velutils::Vector<XObject> children;
    object.ChildObjects(children);
    if (children.size() > 1) item->ReserveChildren(children.size());
    for (const XObject& child : children) {
        std::wstring coreType = child.ObjectType();
        auto known = m_buildTypes.find(coreType);
        if (known == m_buildTypes.end())
            known = m_buildTypes
                        .emplace(std::move(coreType),
                                 BuildType{&getNavigatorItemType(child), child.Attribute(HiddenInExplorerName)})
                        .first;
        const std::wstring& typeName = *known->second.itemType;
        if (typeName.empty()) continue;
        // The hidden flag is found by name once per type; for each object it is the same slot.
        const VelX::XAttribute hidden = known->second.hidden.SameAttributeOf(child);
        if (hidden.IsValid() && hidden.Boolean()) continue;
        if (NavigatorTreeItem* childItem = createTreeItem(child, item, typeName)) recursiveCreateChildItems(child, childItem);
    }
}

NavigatorTreeItem* XSceneExplorer::createTreeRootItem(const XObject& object) {
    NavigatorTreeItem* item = createNavigatorItem(SceneTypeID, SceneNodeName);
    if (!item) return nullptr;
    addTreeItemToMap(object.ObjectID(), item);
    SetRoot(item);
    return item;
}

NavigatorTreeItem* XSceneExplorer::createTreeItem(const XObject& object, TreeItem* parent) {
    if (!parent || !object.IsValid()) return nullptr;
    return createTreeItem(object, parent, getNavigatorItemType(object));
}

NavigatorTreeItem* XSceneExplorer::createTreeItem(const XObject& object, TreeItem* parent, const std::wstring& typeName) {
    if (typeName.empty()) return nullptr;
    NavigatorTreeItem* item = createNavigatorItem(itemType(typeName), wxString());
    if (!item) return nullptr;
    wxString label(object.Name());
    item->SwapLabel(label);
    addTreeItemToMap(object.HandleID(), item);  // the object is known to be valid here
    parent->AddChild(item);
    return item;
}

wxUtils::NavigatorItemType* XSceneExplorer::itemType(const std::wstring& typeName) {
    for (const auto& [name, type] : m_typeCache)
        if (name == &typeName || *name == typeName) return type;
    wxUtils::NavigatorItemType* type = findNavigatorItemType(typeName);
    if (type) m_typeCache.emplace_back(&typeName, type);
    return type;
}

const std::wstring& XSceneExplorer::getNavigatorItemType(const XObject& object) const { return NavigatorItemTypeOf(object); }

const std::wstring& XSceneExplorer::NavigatorItemTypeOf(const XObject& object) {
    // Exact types first (a subtype of a listed type takes the general name), then the general ones.
    if (object.SupportsType(VelX::XTransform::TypeID)) {
        static const std::pair<const std::wstring*, const std::wstring*> transforms[] = {
            {&VelX::XCamera::TypeID, &CameraTypeID},
            {&VelX::XCharacter::TypeID, &CharacterTypeID},
            {&VelX::XIKHandle::TypeID, &IKHandleTypeID},
            {&VelX::XJoint::TypeID, &JointTypeID},
            {&VelX::XJointLimit::TypeID, &JointLimitTypeID},
            {&VelX::XKinematicsCharacter::TypeID, &KinematicsCharacterTypeID},
            {&VelX::XPhysicsCharacter::TypeID, &PhysicsCharacterTypeID},
            {&VelX::XPhysicsConstraint::TypeID, &PhysicsConstraintTypeID},
            {&VelX::XPhysicsJoint::TypeID, &PhysicsJointTypeID},
            {&VelX::XPhysicsJointLimit::TypeID, &PhysicsJointLimitTypeID}};
        const std::wstring type = object.ObjectType();  // one look-up instead of ten IsType calls
        for (const auto& [coreType, itemTypeName] : transforms)
            if (type == *coreType) return *itemTypeName;
        return TransformTypeID;
    }
    if (object.SupportsType(VelX::XShape::TypeID)) {
        const std::wstring type = object.ObjectType();
        if (type == VelX::XMeshInstance::TypeID) return MeshInstanceTypeID;
        if (type == VelX::XPrimitive::TypeID) return PrimitiveTypeID;
        return ShapeTypeID;
    }
    static const std::wstring none;
    return none;
}

void XSceneExplorer::initialiseTreeItems() {
    CollapseAll(nullptr);
    if (TreeItem* root = GetRoot()) root->Expand();
    clearTreeItemSelection();
}

// ---------------------------------------------------------------------------------------------
// Notifications

void XSceneExplorer::OnSceneLoaded(VelX::XScene&) {
    if (!IsVisible()) {
        m_missedChanges = true;
        return;
    }
    m_missedChanges = false;
    EnsureVisible(nullptr);
    // Expansion is the user's view of the tree: branches open before a reload or a catch-up after
    // being hidden open again when their objects are still there (by path).
    if (GetRoot()) rememberExpanded(GetRoot(), std::wstring());
    DeleteAllItems();
    createTreeItems();
    initialiseTreeItems();
    for (const std::wstring& path : m_expandedPaths)
        if (TreeItem* item = findTreeItemInMap(path); item && item != GetRoot() && item->HasChildren()) item->Expand();
    clearTreeItemSelection();
    updateTreeItemSelection();
}

void XSceneExplorer::rememberExpanded(TreeItem* item, const std::wstring& itemPath) {
    // Only open branches are walked: what lies under a closed one keeps its remembered state. Paths
    // come from the labels, since the objects behind the items may already be gone (a load).
    for (TreeItem* child : *item) {
        if (!child->HasChildren()) continue;
        const std::wstring path = itemPath.empty() ? child->GetLabel().ToStdWstring()
                                                   : itemPath + L"/" + child->GetLabel().ToStdWstring();
        if (!child->IsExpanded()) {
            m_expandedPaths.erase(path);
            continue;
        }
        m_expandedPaths.insert(path);
        rememberExpanded(child, path);
    }
}

void XSceneExplorer::OnSceneChanged(const VelX::XSceneChange& change, bool) {
    // A hidden explorer drops changes on purpose; the next load rebuilds it, and so does showing it
    // again (it would otherwise show a stale tree until then).
    if (!IsVisible() || !GetHandle()) {
        m_missedChanges = true;
        return;
    }
    const VelX::XDatabaseChange& databaseChange = change.DatabaseChange();
    Velutils::Vector<XObject> created, deleted, renamed, reparented;
    databaseChange.CreatedObjects(created);
    databaseChange.DeletedObjects(deleted);
    databaseChange.RenamedObjects(renamed);
    databaseChange.ReparentedObjects(reparented);
    if (databaseChange.IsAttributeNameChanged(HiddenInExplorerName)) {
        // Rare: objects came into the tree or left it; build it again, keeping what is expanded.
        OnSceneLoaded(Scene());
        return;
    }
    if (created.empty() && deleted.empty() && renamed.empty() && reparented.empty()) return;
    VelX::XDatabase* database = &Scene().Database();
    for (const XObject& object : deleted) removeTreeItem(object);
    for (const XObject& object : created)
        if (object.DatabasePointer() == database) addTreeItem(object);
    for (const XObject& object : reparented)
        if (object.DatabasePointer() == database) reparentTreeItem(object);
    // Several objects placed under one parent may each have been placed against a sibling that was
    // itself still out of place: put those parents' items in the scene's order once more.
    if (created.size() + reparented.size() > 1) {
        std::vector<XObject> parents;
        for (const auto* list : {&created, &reparented})
            for (const XObject& object : *list)
                if (object.DatabasePointer() == database && object.IsValid()) parents.push_back(object.Parent());
        std::sort(parents.begin(), parents.end(),
                  [](const XObject& a, const XObject& b) { return a.ObjectID() < b.ObjectID(); });
        parents.erase(std::unique(parents.begin(), parents.end(),
                                  [](const XObject& a, const XObject& b) { return a.ObjectID() == b.ObjectID(); }),
                      parents.end());
        for (const XObject& parent : parents) sortChildrenInSceneOrder(parent);
    }
    for (const XObject& object : renamed)
        if (object.DatabasePointer() == database) renameTreeItem(object);
    Refresh(true);
}

void XSceneExplorer::OnSceneSelectionChanged(VelX::XScene&, bool) {
    if (!IsVisible() || !GetHandle()) {
        m_missedChanges = true;
        return;
    }
    updateTreeItemSelection();
    if (BringIntoView()) {
        Velutils::Vector<XObject> selected;
        Scene().Selection().Objects(selected);
        for (const XObject& object : selected) {
            if (!object.IsValid()) continue;
            if (TreeItem* item = findTreeItemInMap(object.ObjectID())) EnsureVisible(item);
        }
    }
    Refresh(true);
    Update();
}

// ---------------------------------------------------------------------------------------------
// Incremental edits

void XSceneExplorer::addTreeItem(const XObject& object) {
    if (findTreeItemInMap(object.ObjectID()) || isHiddenInExplorer(object)) return;
    TreeItem* parent = findTreeItemInMap(object.Parent().ObjectID());
    if (NavigatorTreeItem* item = createTreeItem(object, parent ? parent : GetRoot())) {
        placeInSceneOrder(object, item);
    }
}

const std::wstring XSceneExplorer::HiddenInExplorerName = L"hiddenInExplorer";

bool XSceneExplorer::isHiddenInExplorer(const XObject& object) {
    const VelX::XAttribute attribute = object.Attribute(HiddenInExplorerName);
    return attribute.IsValid() && attribute.Boolean();
}

void XSceneExplorer::sortChildrenInSceneOrder(const XObject& parent) {
    TreeItem* parentItem = parent.ObjectID() == Scene().RootObject().ObjectID() ? GetRoot()
                                                                                : findTreeItemInMap(parent.ObjectID());
    if (!parentItem) return;
    size_t position = 0;
    for (int i = 0, count = parent.ChildCount(); i < count; ++i) {
        TreeItem* item = findTreeItemInMap(parent.Child(i).ObjectID());
        if (!item || item->GetParent() != parentItem) continue;
        if (parentItem->GetChild(position) != item) item->Reparent(parentItem, parentItem->GetChild(position));
        ++position;
    }
}

void XSceneExplorer::placeInSceneOrder(const XObject& object, TreeItem* item) {
    // Before the item of the next sibling in the scene that has one under the same parent item.
    TreeItem* parentItem = item->GetParent();
    const XObject parent = object.Parent();
    if (!parentItem || !parent.IsValid()) return;
    // Created and reparented objects usually go last: look for the object from the end.
    const int count = parent.ChildCount();
    int index = count - 1;
    while (index > 0 && parent.Child(index).ObjectID() != object.ObjectID()) --index;
    for (int next = index + 1; next < count; ++next) {
        TreeItem* sibling = findTreeItemInMap(parent.Child(next).ObjectID());
        if (sibling && sibling->GetParent() == parentItem) {
            item->Reparent(parentItem, sibling);
            return;
        }
    }
    if (item != parentItem->GetChild(parentItem->GetChildCount() - 1)) item->Reparent(parentItem);
}

void XSceneExplorer::removeTreeItem(const XObject& object) {
    EnsureVisible(nullptr);
    // Deleted objects no longer answer ObjectID(); the handle still names its identifier.
    TreeItem* item = findTreeItemInMap(object.HandleID());
    if (!item) return;
    if (TreeItem* parent = item->GetParent()) {
        while (item->GetChildCount() > 0) item->GetChild(0)->Reparent(parent);
    }
    removeTreeItemFromMap(item);
    item->RemoveAndDestroy();
}

void XSceneExplorer::removeTreeBranch(const XObject& object) {
    EnsureVisible(nullptr);
    TreeItem* item = findTreeItemInMap(object.HandleID());
    if (!item) return;
    removeTreeItemBranchFromMap(item);
    item->RemoveAndDestroy();
}

void XSceneExplorer::renameTreeItem(const XObject& object) {
    EnsureVisible(nullptr);
    if (TreeItem* item = findTreeItemInMap(object.ObjectID())) item->SetLabel(object.Name());
}

void XSceneExplorer::reparentTreeItem(const XObject& object) {
    EnsureVisible(nullptr);
    TreeItem* item = findTreeItemInMap(object.ObjectID());
    if (!item) return;
    TreeItem* parent = findTreeItemInMap(object.Parent().ObjectID());
    item->Reparent(parent ? parent : GetRoot());
    placeInSceneOrder(object, item);
}

// ---------------------------------------------------------------------------------------------
// Selection

void XSceneExplorer::clearTreeItemSelection() {
    EnsureVisible(nullptr);
    Velutils::Vector<TreeItem*> none;
    setTreeItemSelection(none);
}

void XSceneExplorer::updateTreeItemSelection() {
    EnsureVisible(nullptr);
    Velutils::Vector<XObject> selected;
    Scene().Selection().Objects(selected);
    Velutils::Vector<TreeItem*> items;
    items.reserve(selected.size());
    for (const XObject& object : selected)
        if (TreeItem* item = findTreeItemInMap(object.ObjectID())) items.push_back(item);
    setTreeItemSelection(items);
}

void XSceneExplorer::setTreeItemSelection(Velutils::Vector<TreeItem*>& items) {
    wxUtils::VelTreeControlSelectionEventDisabler disabler(*this);
    SetSelection(items);
}

void XSceneExplorer::onSelectionChanged() {
    VelX::XSelection& selection = Scene().Selection();
    if (selection.IsSubObjectEditMode()) {
        updateTreeItemSelection();  // the tree may not change a sub-object selection
        return;
    }
    VelX::XDatabase& database = Scene().Database();
    database.BeginChangeBlock();
    std::vector<std::wstring> paths;
    paths.reserve(GetSelection().size());
    for (TreeItem* item : GetSelection()) {
        std::wstring path = getObjectPath(item);
        if (!path.empty()) paths.push_back(std::move(path));
    }
    {
        wxUtils::VelTreeControlSelectionEventDisabler disabler(*this);
        selection.Select(paths);
    }
    database.EndChangeBlock();
}

// ---------------------------------------------------------------------------------------------
// The item map

void XSceneExplorer::clearTreeItemMap() {
    if (m_itemMap) m_itemMap->clear();
}

void XSceneExplorer::addTreeItemToMap(int objectId, TreeItem* item) {
    if (m_itemMap && item) m_itemMap->insert(objectId, item);
}

void XSceneExplorer::removeTreeItemFromMap(TreeItem* item) {
    if (m_itemMap) m_itemMap->erase(item);
}

void XSceneExplorer::removeTreeItemBranchFromMap(TreeItem* item) {
    if (!item) return;
    recursiveRemoveTreeItemBranchFromMap(item);
    removeTreeItemFromMap(item);
}

void XSceneExplorer::recursiveRemoveTreeItemBranchFromMap(TreeItem* item) {
    // Each child is visited, and then this item (not the child) is removed once per child: leaves
    // below the branch root keep their entries. Owners rely on this exact behaviour.
    for (TreeItem* child : *item) {
        recursiveRemoveTreeItemBranchFromMap(child);
        removeTreeItemFromMap(item);
    }
}

TreeItem* XSceneExplorer::findTreeItemInMap(int objectId) const {
    return m_itemMap ? m_itemMap->find(objectId) : nullptr;
}

TreeItem* XSceneExplorer::findTreeItemInMap(const std::wstring& path) const {
    // The scene root has no path of its own: the empty path stands for it.
    if (path.empty()) return GetRoot();
    const XObject object = Scene().Database().Object(path);
    const int id = object.ObjectID();
    return id == 0 ? nullptr : findTreeItemInMap(id);
}

XObject XSceneExplorer::findObjectInMap(TreeItem* item) const {
    const int id = m_itemMap ? m_itemMap->find(item) : -1;
    return id == -1 ? XObject() : Scene().Database().Object(id);
}

std::wstring XSceneExplorer::getObjectPath(TreeItem* item) const {
    return item ? findObjectInMap(item).Path() : std::wstring();
}

TreeItem* XSceneExplorer::ItemOf(const XObject& object) const { return findTreeItemInMap(object.ObjectID()); }
XObject XSceneExplorer::ObjectOf(TreeItem* item) const { return findObjectInMap(item); }

}  // namespace VelXUI

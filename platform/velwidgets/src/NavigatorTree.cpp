#include <velwidgets/NavigatorTree.h>

#include <wx/dcmemory.h>

namespace wxUtils {

NavigatorTree::~NavigatorTree() {
    // Items point at their types: the items go first.
    DeleteAllItems();
    releaseReplacedItems();
}

bool NavigatorTree::registerNavigatorItemType(NavigatorItemType* type) {
    std::unique_ptr<NavigatorItemType> owned(type);
    if (!type) return false;
    const wxString name = type->getTypeName();
    if (m_typesByName.count(name)) return false;
    m_typesByName[name] = type;
    m_types.push_back(std::move(owned));
    return true;
}

NavigatorItemType* NavigatorTree::findNavigatorItemType(const wxString& typeName) const {
    auto it = m_typesByName.find(typeName);
    return it == m_typesByName.end() ? nullptr : it->second;
}

NavigatorTreeItem* NavigatorTree::createNavigatorItem(const wxString& typeName, const wxString& label) {
    NavigatorItemType* type = findNavigatorItemType(typeName);
    return type ? new NavigatorTreeItem(type, label) : nullptr;
}

NavigatorTreeItem* NavigatorTree::createNavigatorItem(NavigatorItemType* type, const wxString& label) {
    return type ? new NavigatorTreeItem(type, label) : nullptr;
}

NavigatorItemType* NavigatorTree::typeOf(TreeItem* item) {
    auto* navigatorItem = dynamic_cast<NavigatorTreeItem*>(item);
    return navigatorItem ? navigatorItem->GetItemType() : nullptr;
}

void NavigatorTree::onColourSchemeChanged(const ColourScheme& scheme) {
    clearIconCache();
    TreeControl::onColourSchemeChanged(scheme);
}

void NavigatorTree::onItemSelectionChanged(TreeItem* item, bool selected) {
    if (NavigatorItemType* type = typeOf(item)) {
        auto* navigatorItem = static_cast<NavigatorTreeItem*>(item);
        selected ? type->onItemSelected(navigatorItem) : type->onItemDeselected(navigatorItem);
    }
}

void NavigatorTree::onItemActivated(TreeItem* item) {
    if (NavigatorItemType* type = typeOf(item)) type->onItemActivated(static_cast<NavigatorTreeItem*>(item));
}

void NavigatorTree::onItemMenu(TreeEvent& event) {
    if (NavigatorItemType* type = typeOf(event.GetItem()))
        type->onContextMenuShown(event, this, static_cast<NavigatorTreeItem*>(event.GetItem()));
}

bool NavigatorTree::canRenameItem(TreeItem* item) {
    NavigatorItemType* type = typeOf(item);
    return type && type->canItemRename(static_cast<NavigatorTreeItem*>(item));
}

void NavigatorTree::onLabelEdited(TreeItem* item, const wxString& label) {
    if (NavigatorItemType* type = typeOf(item)) type->onItemRename(static_cast<NavigatorTreeItem*>(item), label);
    else TreeControl::onLabelEdited(item, label);
}

const wxBitmap* NavigatorTree::getItemIcon(TreeItem* item, TreeItemState state) {
    NavigatorItemType* type = typeOf(item);
    if (!type || !type->supportsImages()) return nullptr;
    auto key = std::make_pair(static_cast<const NavigatorItemType*>(type), int(state));
    auto it = m_icons.find(key);
    if (it != m_icons.end()) return &it->second;
    wxImage image = type->getTypeIcon(state);
    if (!image.IsOk()) {
        // A type without an icon still keeps the column: a blank, transparent square.
        image.Create(IconSize, IconSize);
        image.InitAlpha();
        memset(image.GetAlpha(), 0, size_t(IconSize * IconSize));
    } else if (image.GetWidth() != IconSize || image.GetHeight() != IconSize) {
        image.Rescale(IconSize, IconSize, wxIMAGE_QUALITY_HIGH);
    }
    return &m_icons.emplace(key, wxBitmap(image)).first->second;
}

void NavigatorTree::preDrawItem(TreeItem* item, wxDC& dc, const wxRect&) {
    if (NavigatorItemType* type = typeOf(item)) type->preDrawItem(static_cast<NavigatorTreeItem*>(item), dc);
}

void NavigatorTree::postDrawItem(TreeItem* item, wxDC& dc, const wxRect&) {
    if (NavigatorItemType* type = typeOf(item)) type->postDrawItem(static_cast<NavigatorTreeItem*>(item), dc);
}

}  // namespace wxUtils

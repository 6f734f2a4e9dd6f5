#pragma once

#include <velwidgets/NavigatorItemType.h>
#include <velwidgets/VelPopupMenu.h>

#include <memory>

namespace VelX {
class XObject;
}

namespace VelXUI {

class XSceneExplorer;

// What every item type of the scene explorer shares: the icon from the resources folder
// (Images/Explorer<type name>16.png, a blank square when the file is missing), renaming allowed,
// and the explorer's context menu. The subclasses only give their type name.
class SceneExplorerItemBaseType : public wxUtils::NavigatorItemType {
public:
    explicit SceneExplorerItemBaseType(XSceneExplorer* explorer) : m_explorer(explorer) {}

    wxImage getTypeIcon(wxUtils::TreeControl::TreeItemState state) const override;
    void onContextMenuShown(wxUtils::TreeEvent& event, wxUtils::NavigatorTree* tree,
                            wxUtils::NavigatorTreeItem* item) override;
    void onContextMenuItemSelected(wxUtils::NavigatorTreeItem* item, int id) override {}
    bool canItemRename(wxUtils::NavigatorTreeItem* item) override { return true; }

    // The icon file of this type, whether or not it exists.
    wxString iconPath() const;
    // The context menu for an object, as it is shown: title, the object commands, the "Children"
    // submenu when the object has children, and the "Selection" section when more than one object
    // is selected. Null without an explorer.
    std::unique_ptr<wxUtils::VelPopupMenu> buildContextMenu(const VelX::XObject& object) const;

    XSceneExplorer* explorer() const { return m_explorer; }

private:
    XSceneExplorer* m_explorer;  // not owned: the explorer owns the tree that owns this type
};

}  // namespace VelXUI

#pragma once

#include <velwidgets/TreeControl.h>

#include <wx/image.h>
#include <wx/string.h>

class wxDC;

namespace wxUtils {

class NavigatorTree;
class NavigatorTreeItem;
class TreeEvent;
class TreeItem;

// The kind of an item of a NavigatorTree: its name, its icon and how it reacts to the user. Owners
// register one object per kind with the tree; the defaults do nothing, allow nothing and draw nothing
// extra. The order of the virtual operations is fixed: owners built against it rely on it.
class NavigatorItemType {
public:
    virtual wxString getTypeName() const = 0;
    // The icon for an item in a state; an invalid image means no icon (a blank square is drawn).
    virtual wxImage getTypeIcon(TreeControl::TreeItemState state) const { return wxImage(); }
    virtual void onItemSelected(NavigatorTreeItem* item) {}
    virtual void onItemDeselected(NavigatorTreeItem* item) {}
    virtual void onItemActivated(NavigatorTreeItem* item) {}
    // The user asked for the item's context menu; the event's point is in the tree's logical
    // coordinates (TreeControl::logicalToClient converts it).
    virtual void onContextMenuShown(TreeEvent& event, NavigatorTree* tree, NavigatorTreeItem* item) {}
    virtual void onContextMenuItemSelected(NavigatorTreeItem* item, int id) {}
    virtual bool canItemDropOntoItem(NavigatorTreeItem* item, TreeItem* target) { return false; }
    virtual void onItemDropOntoItem(NavigatorTreeItem* item, TreeItem* target) {}
    virtual bool canItemRename(NavigatorTreeItem* item) { return false; }
    // A committed label edit that no handler of the tree took: the default takes the new label.
    virtual void onItemRename(NavigatorTreeItem* item, const wxString& label);
    virtual void preDrawItem(NavigatorTreeItem* item, wxDC& dc) {}
    virtual void postDrawItem(NavigatorTreeItem* item, wxDC& dc) {}
    virtual bool supportsImages() const { return true; }
    virtual ~NavigatorItemType() = default;
};

}  // namespace wxUtils

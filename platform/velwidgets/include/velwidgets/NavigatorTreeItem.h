#pragma once

#include <velwidgets/TreeItem.h>

namespace wxUtils {

class NavigatorItemType;

// An item of a NavigatorTree: a tree item that knows its registered type.
class NavigatorTreeItem : public TreeItem {
public:
    NavigatorTreeItem(NavigatorItemType* type, const wxString& label) : TreeItem(label), m_type(type) {}
    NavigatorItemType* GetItemType() const { return m_type; }

private:
    NavigatorItemType* m_type;  // owned by the tree that made the item
};

}  // namespace wxUtils

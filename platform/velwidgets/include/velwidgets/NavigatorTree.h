#pragma once

#include <velwidgets/NavigatorItemType.h>
#include <velwidgets/NavigatorTreeItem.h>
#include <velwidgets/TreeControl.h>

#include <map>
#include <memory>
#include <vector>

namespace wxUtils {

// A TreeControl whose items have registered types (NavigatorItemType): the type supplies the icon,
// the context menu, renaming, activation and drawing hooks of its items.
class NavigatorTree : public TreeControl {
public:
    NavigatorTree() = default;
    ~NavigatorTree() override;
    using TreeControl::Create;

    // The tree takes ownership. False (and the type is deleted) for null or a name already taken.
    bool registerNavigatorItemType(NavigatorItemType* type);
    NavigatorItemType* findNavigatorItemType(const wxString& typeName) const;
    size_t navigatorItemTypeCount() const { return m_types.size(); }
    // A new unattached item of the named type, or null for an unknown type.
    NavigatorTreeItem* createNavigatorItem(const wxString& typeName, const wxString& label);
    // The same for a type found before (null for null).
    NavigatorTreeItem* createNavigatorItem(NavigatorItemType* type, const wxString& label);

    // Forgets cached icons (after icon files or the colour scheme changed).
    void clearIconCache() { m_icons.clear(); }
    void onColourSchemeChanged(const ColourScheme& scheme) override;

protected:
    void onItemSelectionChanged(TreeItem* item, bool selected) override;
    void onItemActivated(TreeItem* item) override;
    void onItemMenu(TreeEvent& event) override;
    bool canRenameItem(TreeItem* item) override;
    void onLabelEdited(TreeItem* item, const wxString& label) override;
    const wxBitmap* getItemIcon(TreeItem* item, TreeItemState state) override;
    void preDrawItem(TreeItem* item, wxDC& dc, const wxRect& row) override;
    void postDrawItem(TreeItem* item, wxDC& dc, const wxRect& row) override;

private:
    static NavigatorItemType* typeOf(TreeItem* item);

    std::vector<std::unique_ptr<NavigatorItemType>> m_types;
    std::map<wxString, NavigatorItemType*> m_typesByName;
    std::map<std::pair<const NavigatorItemType*, int>, wxBitmap> m_icons;
};

}  // namespace wxUtils

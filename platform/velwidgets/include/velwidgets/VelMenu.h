#pragma once

#include <wx/string.h>

#include <memory>
#include <vector>

class wxMenu;
class wxMenuItem;

namespace wxUtils {

// A menu with an optional title, built by appending. It owns its wxMenu until release() hands it to a
// menu bar or another owner; after that every operation is a quiet no-op and menu() is null. An
// unknown item id is ignored by the item operations (false / no change) rather than asserting.
class VelMenu {
public:
    // The title, when given, is the menu's first, disabled entry in popups (wxMenu's title).
    explicit VelMenu(const wxString& title = wxEmptyString);
    virtual ~VelMenu();
    VelMenu(const VelMenu&) = delete;
    VelMenu& operator=(const VelMenu&) = delete;

    wxMenuItem* appendItem(int id, const wxString& label, const wxString& help = "");
    wxMenuItem* appendCheckItem(int id, const wxString& label, bool checked);
    void appendSeparator();
    // Takes ownership of the submenu. The submenu object stays usable until this menu is destroyed
    // or released; its items are also reachable through this menu's item operations.
    wxMenuItem* appendSubMenu(VelMenu* subMenu, const wxString& label);

    bool enableItem(int id, bool enable = true);
    bool checkItem(int id, bool check = true);
    bool setItemLabel(int id, const wxString& label);
    bool hasItem(int id) const;
    bool isItemEnabled(int id) const;
    bool isItemChecked(int id) const;

    // Entries appended to this menu (items, check items, separators, submenus), not the title.
    size_t itemCount() const;
    wxString title() const { return m_title; }

    wxMenu* menu() const { return m_menu; }  // still owned by this object
    wxMenu* release();                      // the caller owns the wxMenu from now on

private:
    void detach();  // forget the wxMenu without deleting it (the owner went away)

    wxString m_title;
    wxMenu* m_menu = nullptr;
    bool m_owned = true;   // false for a submenu: its wxMenu belongs to the parent's
    size_t m_titleEntries = 0;  // entries wx adds for the title
    std::vector<std::unique_ptr<VelMenu>> m_subMenus;
};

}  // namespace wxUtils

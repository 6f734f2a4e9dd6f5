#include <velwidgets/VelMenu.h>

#include <wx/menu.h>
#include <wx/stockitem.h>

namespace wxUtils {

VelMenu::VelMenu(const wxString& title) : m_title(title), m_menu(new wxMenu(title)) {
    // Some ports put the title into the item list (an entry and a separator); count them once so
    // that itemCount() reports only what was appended.
    m_titleEntries = m_menu->GetMenuItemCount();
    if (m_titleEntries > 0) {
        wxMenuItem* titleItem = m_menu->FindItemByPosition(0);
        if (titleItem && !titleItem->IsSeparator()) titleItem->Enable(false);
    }
}

VelMenu::~VelMenu() {
    if (m_owned) delete m_menu;  // deletes the submenus' wxMenus too; their wrappers do not own them
}

wxMenuItem* VelMenu::appendItem(int id, const wxString& label, const wxString& help) {
    // wx refuses an empty label on an item that has no stock label to fall back to.
    if (!m_menu || (label.empty() && !wxIsStockID(id))) return nullptr;
    return m_menu->Append(id, label, help);
}

wxMenuItem* VelMenu::appendCheckItem(int id, const wxString& label, bool checked) {
    if (!m_menu || (label.empty() && !wxIsStockID(id))) return nullptr;
    wxMenuItem* item = m_menu->AppendCheckItem(id, label);
    if (item) item->Check(checked);
    return item;
}

void VelMenu::appendSeparator() {
    if (m_menu) m_menu->AppendSeparator();
}

wxMenuItem* VelMenu::appendSubMenu(VelMenu* subMenu, const wxString& label) {
    if (!subMenu || subMenu == this) return nullptr;
    if (!subMenu->m_owned) return nullptr;  // already some menu's submenu: not ours to take
    std::unique_ptr<VelMenu> owned(subMenu);
    if (!m_menu || !subMenu->m_menu) return nullptr;
    wxMenuItem* item = m_menu->AppendSubMenu(subMenu->m_menu, label.empty() ? subMenu->m_title : label);
    if (!item) return nullptr;
    subMenu->m_owned = false;
    m_subMenus.push_back(std::move(owned));
    return item;
}

bool VelMenu::enableItem(int id, bool enable) {
    wxMenuItem* item = m_menu ? m_menu->FindItem(id) : nullptr;
    if (!item || item->IsSeparator()) return false;
    item->Enable(enable);
    return true;
}

bool VelMenu::checkItem(int id, bool check) {
    wxMenuItem* item = m_menu ? m_menu->FindItem(id) : nullptr;
    if (!item || !item->IsCheckable()) return false;
    item->Check(check);
    return true;
}

bool VelMenu::setItemLabel(int id, const wxString& label) {
    wxMenuItem* item = m_menu ? m_menu->FindItem(id) : nullptr;
    if (!item || item->IsSeparator() || label.empty()) return false;
    item->SetItemLabel(label);
    return true;
}

bool VelMenu::hasItem(int id) const { return m_menu && m_menu->FindItem(id); }

bool VelMenu::isItemEnabled(int id) const {
    wxMenuItem* item = m_menu ? m_menu->FindItem(id) : nullptr;
    return item && item->IsEnabled();
}

bool VelMenu::isItemChecked(int id) const {
    wxMenuItem* item = m_menu ? m_menu->FindItem(id) : nullptr;
    return item && item->IsCheckable() && item->IsChecked();
}

size_t VelMenu::itemCount() const {
    if (!m_menu) return 0;
    const size_t count = m_menu->GetMenuItemCount();
    return count > m_titleEntries ? count - m_titleEntries : 0;
}

wxMenu* VelMenu::release() {
    wxMenu* menu = m_menu;
    detach();
    return menu;
}

void VelMenu::detach() {
    m_menu = nullptr;
    for (auto& subMenu : m_subMenus) subMenu->detach();
}

}  // namespace wxUtils

#include <orkacore/ColourGroup.h>

namespace Orka {

ColourGroup::ColourGroup(const wxString& name) : m_name(name) {}

void ColourGroup::setItem(const wxString& item, const wxColour& light, const wxColour& dark) {
    for (Item& existing : m_items) {
        if (existing.name == item) {
            existing.light = light;
            existing.dark = dark;
            return;
        }
    }
    m_items.push_back({item, light, dark});
}

bool ColourGroup::hasItem(const wxString& item) const { return find(item) != nullptr; }

wxColour ColourGroup::colour(const wxString& item, bool dark) const {
    const Item* found = find(item);
    if (!found) return wxColour();
    return dark ? found->dark : found->light;
}

std::vector<wxString> ColourGroup::itemNames() const {
    std::vector<wxString> names;
    names.reserve(m_items.size());
    for (const Item& item : m_items) names.push_back(item.name);
    return names;
}

const ColourGroup::Item* ColourGroup::find(const wxString& item) const {
    for (const Item& existing : m_items) {
        if (existing.name == item) return &existing;
    }
    return nullptr;
}

}  // namespace Orka

#pragma once

#include <wx/colour.h>
#include <wx/string.h>

#include <vector>

namespace Orka {

// A named set of display item colours, each with a light-scheme and a dark-scheme colour.
class ColourGroup {
public:
    explicit ColourGroup(const wxString& name);

    const wxString& name() const { return m_name; }
    // Adds the item, or replaces its colours when it exists.
    void setItem(const wxString& item, const wxColour& light, const wxColour& dark);
    bool hasItem(const wxString& item) const;
    // The item's colour in the dark or light scheme; an invalid colour for an unknown item.
    wxColour colour(const wxString& item, bool dark) const;
    std::vector<wxString> itemNames() const;  // in the order they were added

private:
    struct Item {
        wxString name;
        wxColour light;
        wxColour dark;
    };
    const Item* find(const wxString& item) const;

    wxString m_name;
    std::vector<Item> m_items;
};

}  // namespace Orka

#pragma once

#include <orkacore/ColourGroup.h>
#include <velwidgets/ColourScheme.h>

#include <map>
#include <vector>

namespace Orka {

class ColourObserver;

// The application's colour scheme (light or dark) and its named groups of display item colours.
// Switching the scheme hands it to every wxUtils::ColourSchemeClient, then tells every observer.
class ColourManager {
public:
    enum class SchemeKind { Light, Dark };

    static const char* const DisplayItems;  // the built-in group "Display Items"

    static ColourManager& Instance();
    ColourManager(const ColourManager&) = delete;
    ColourManager& operator=(const ColourManager&) = delete;

    // Nothing happens when the kind is already active.
    void setScheme(SchemeKind kind);
    SchemeKind scheme() const { return m_kind; }
    const wxUtils::ColourScheme& activeScheme() const { return m_active; }
    static wxUtils::ColourScheme lightScheme();
    static wxUtils::ColourScheme darkScheme();

    // Adds a group, or replaces the group of the same name.
    void addColourGroup(const ColourGroup& group);
    const ColourGroup* colourGroup(const wxString& name) const;  // null when unknown
    std::vector<wxString> colourGroupNames() const;

    // The item's colour in the active scheme; the scheme's text colour for an unknown group or item.
    wxColour getActiveDisplayItemColour(const wxString& group, const wxString& item) const;

    // Observers may add or remove observers (themselves included) while they are told.
    void addObserver(ColourObserver* observer);
    void removeObserver(ColourObserver* observer);

private:
    ColourManager();
    ~ColourManager() = default;

    SchemeKind m_kind = SchemeKind::Light;
    wxUtils::ColourScheme m_active;
    std::map<wxString, ColourGroup> m_groups;
    std::vector<ColourObserver*> m_observers;
};

}  // namespace Orka

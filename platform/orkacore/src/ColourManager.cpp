#include <orkacore/ColourManager.h>

#include <orkacore/ColourObserver.h>
#include <velwidgets/ColourSchemeClient.h>

#include <algorithm>

namespace Orka {

const char* const ColourManager::DisplayItems = "Display Items";

ColourManager& ColourManager::Instance() {
    // Never destroyed: observers that are static objects may still remove themselves during exit.
    static ColourManager* instance = new ColourManager;
    return *instance;
}

ColourManager::ColourManager() : m_active(lightScheme()) {
    const wxUtils::ColourScheme light = lightScheme();
    const wxUtils::ColourScheme dark = darkScheme();
    ColourGroup items(DisplayItems);
    items.setItem("Background", light.windowBackground, dark.windowBackground);
    items.setItem("Text", light.text, dark.text);
    items.setItem("DimmedText", light.dimmedText, dark.dimmedText);
    items.setItem("Selection", light.selectionBackground, dark.selectionBackground);
    items.setItem("SelectionText", light.selectionText, dark.selectionText);
    items.setItem("Grid", light.gridLine, dark.gridLine);
    items.setItem("Highlight", wxColour(230, 135, 0), wxColour(255, 178, 60));
    items.setItem("Animated", light.animatedBackground, dark.animatedBackground);
    items.setItem("Connected", light.connectedBackground, dark.connectedBackground);
    items.setItem("Locked", light.readOnlyText, dark.readOnlyText);
    items.setItem("Title", light.titleBackground, dark.titleBackground);
    addColourGroup(items);
    // The widgets start in the same scheme the manager reports.
    wxUtils::ColourSchemeClient::applyColourScheme(m_active);
}

wxUtils::ColourScheme ColourManager::lightScheme() {
    wxUtils::ColourScheme scheme;  // the widgets' own defaults are a light scheme
    scheme.dark = false;
    scheme.selectionBackground = wxColour(0, 112, 204);  // white text on it stays readable
    return scheme;
}

wxUtils::ColourScheme ColourManager::darkScheme() {
    wxUtils::ColourScheme scheme;
    scheme.dark = true;
    scheme.windowBackground = wxColour(40, 40, 40);
    scheme.panelBackground = wxColour(50, 50, 50);
    scheme.text = wxColour(220, 220, 220);
    scheme.dimmedText = wxColour(135, 135, 135);
    scheme.selectionBackground = wxColour(72, 118, 184);
    scheme.selectionText = wxColour(255, 255, 255);
    scheme.focusOutline = wxColour(90, 160, 255);
    scheme.gridLine = wxColour(64, 64, 64);
    scheme.titleBackground = wxColour(60, 60, 60);
    scheme.readOnlyText = wxColour(125, 125, 125);
    scheme.animatedBackground = wxColour(52, 78, 104);
    scheme.connectedBackground = wxColour(98, 86, 44);
    return scheme;
}

void ColourManager::setScheme(SchemeKind kind) {
    if (kind == m_kind) return;
    m_kind = kind;
    m_active = kind == SchemeKind::Dark ? darkScheme() : lightScheme();
    wxUtils::ColourSchemeClient::applyColourScheme(m_active);
    // Observers may come and go while they are told: walk a copy and skip the departed.
    const std::vector<ColourObserver*> snapshot = m_observers;
    for (ColourObserver* observer : snapshot) {
        if (std::find(m_observers.begin(), m_observers.end(), observer) != m_observers.end()) {
            observer->onColourSchemeChanged();
        }
    }
}

void ColourManager::addColourGroup(const ColourGroup& group) {
    auto found = m_groups.find(group.name());
    if (found != m_groups.end()) found->second = group;  // keeps pointers to the group valid
    else m_groups.emplace(group.name(), group);
}

const ColourGroup* ColourManager::colourGroup(const wxString& name) const {
    auto found = m_groups.find(name);
    return found == m_groups.end() ? nullptr : &found->second;
}

std::vector<wxString> ColourManager::colourGroupNames() const {
    std::vector<wxString> names;
    for (const auto& [name, group] : m_groups) names.push_back(name);
    return names;
}

wxColour ColourManager::getActiveDisplayItemColour(const wxString& group, const wxString& item) const {
    const ColourGroup* found = colourGroup(group);
    if (!found || !found->hasItem(item)) return m_active.text;
    const wxColour colour = found->colour(item, m_kind == SchemeKind::Dark);
    return colour.IsOk() ? colour : m_active.text;
}

void ColourManager::addObserver(ColourObserver* observer) {
    if (observer && std::find(m_observers.begin(), m_observers.end(), observer) == m_observers.end()) {
        m_observers.push_back(observer);
    }
}

void ColourManager::removeObserver(ColourObserver* observer) {
    m_observers.erase(std::remove(m_observers.begin(), m_observers.end(), observer), m_observers.end());
}

}  // namespace Orka

#include <velxcore/XSettingsObservers.h>

#include <algorithm>

namespace VelX {

XSettingsObservers& XSettingsObservers::Shared() {
    static XSettingsObservers observers;
    return observers;
}

bool XSettingsObservers::Add(XSettingsObserver* observer) {
    if (!observer || Contains(observer)) return false;
    m_observers.push_back(observer);
    return true;
}

void XSettingsObservers::Remove(XSettingsObserver* observer) {
    m_observers.erase(std::remove(m_observers.begin(), m_observers.end(), observer), m_observers.end());
}

bool XSettingsObservers::Contains(const XSettingsObserver* observer) const {
    return std::find(m_observers.begin(), m_observers.end(), observer) != m_observers.end();
}

}  // namespace VelX

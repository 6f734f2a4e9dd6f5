#pragma once

#include <vector>

namespace VelX {

class XSettingsObserver;

// The registered settings observers of the running program, called in the order they registered;
// one removed during a round is skipped for the rest of it.
class XSettingsObservers {
public:
    static XSettingsObservers& Shared();

    // False when the observer was already there (or null).
    bool Add(XSettingsObserver* observer);
    void Remove(XSettingsObserver* observer);
    bool Contains(const XSettingsObserver* observer) const;
    const std::vector<XSettingsObserver*>& All() const { return m_observers; }

    template <class Call> void Notify(Call&& call) const {
        const std::vector<XSettingsObserver*> round = m_observers;
        for (XSettingsObserver* o : round)
            if (Contains(o)) call(o);
    }

private:
    std::vector<XSettingsObserver*> m_observers;
};

}  // namespace VelX

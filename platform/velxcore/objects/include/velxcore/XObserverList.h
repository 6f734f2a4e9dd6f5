#pragma once

#include <algorithm>
#include <vector>

namespace VelX {

// Observers in the order they registered, each once. A round of calls works on a copy, and an
// observer removed during the round is skipped for the rest of it, so observers may come and go
// while they are being called.
template <class Observer> class XObserverList {
public:
    // False when the observer was already there (or null).
    bool Add(Observer* observer) {
        if (!observer || Contains(observer)) return false;
        m_observers.push_back(observer);
        return true;
    }
    void Remove(Observer* observer) {
        m_observers.erase(std::remove(m_observers.begin(), m_observers.end(), observer), m_observers.end());
    }
    bool Contains(const Observer* observer) const {
        return std::find(m_observers.begin(), m_observers.end(), observer) != m_observers.end();
    }
    const std::vector<Observer*>& All() const { return m_observers; }

    // Calls every observer that `hears` accepts and that is still registered when its turn comes.
    template <class Hears, class Call> void NotifyWhere(Hears&& hears, Call&& call) const {
        const std::vector<Observer*> round = m_observers;
        for (Observer* o : round)
            if (Contains(o) && hears(o)) call(o);
    }

private:
    std::vector<Observer*> m_observers;
};

}  // namespace VelX

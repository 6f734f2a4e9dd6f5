#pragma once

#include <cstddef>
#include <vector>

class wxEvtHandler;
class wxIdleEvent;

namespace wxUtils {

class AppMainLoopRedrawClient;

// Runs the redraw clients once per pass of the event loop. A pass happens on the next idle event
// after requestPass(), so any number of requests before the loop turns cost one pass, and an idle
// loop with nothing requested does nothing. Everything runs on the user-interface thread.
class AppMainLoop {
public:
    static AppMainLoop& Instance();

    AppMainLoop(const AppMainLoop&) = delete;
    AppMainLoop& operator=(const AppMainLoop&) = delete;

    // Adding twice or adding null is ignored. A client added during a pass is first called in the
    // next pass; a client removed during a pass is not called again.
    void addRedrawClient(AppMainLoopRedrawClient* client);
    void removeRedrawClient(AppMainLoopRedrawClient* client);
    bool hasRedrawClient(const AppMainLoopRedrawClient* client) const;
    size_t redrawClientCount() const;

    // Asks for a pass at the next turn of the event loop (wakes the loop if it sleeps).
    void requestPass();
    bool isPassRequested() const { return m_requested; }

    // One pass now: every registered client's onAppMainLoopRedraw, once. Satisfies a pending
    // request; a call made from inside a pass is ignored.
    void runRedrawPass();
    unsigned long passCount() const { return m_passes; }
    bool isInPass() const { return m_inPass; }

    // Drives the passes from the application's idle events. The host calls install(wxTheApp) at
    // start and uninstall() before the application object goes away.
    void install(wxEvtHandler* application);
    void uninstall();
    bool isInstalled() const { return m_application != nullptr; }

private:
    AppMainLoop() = default;
    ~AppMainLoop() = default;
    void onIdle(wxIdleEvent& event);

    // A client removed during a pass leaves a null slot, swept out after the pass.
    std::vector<AppMainLoopRedrawClient*> m_clients;
    bool m_requested = false;
    bool m_inPass = false;
    bool m_hasHoles = false;
    unsigned long m_passes = 0;
    wxEvtHandler* m_application = nullptr;
};

}  // namespace wxUtils

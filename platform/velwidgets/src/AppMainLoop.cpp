#include <velwidgets/AppMainLoop.h>

#include <velwidgets/AppMainLoopRedrawClient.h>

#include <wx/app.h>
#include <wx/event.h>

#include <algorithm>

namespace wxUtils {

AppMainLoop& AppMainLoop::Instance() {
    // Never destroyed: redraw clients that are static objects may unregister during exit.
    static AppMainLoop* instance = new AppMainLoop;
    return *instance;
}

void AppMainLoop::addRedrawClient(AppMainLoopRedrawClient* client) {
    if (!client || hasRedrawClient(client)) return;
    // Appended after the slots the running pass walks, so it waits for the next pass.
    m_clients.push_back(client);
}

void AppMainLoop::removeRedrawClient(AppMainLoopRedrawClient* client) {
    auto found = std::find(m_clients.begin(), m_clients.end(), client);
    if (!client || found == m_clients.end()) return;
    if (m_inPass) {
        *found = nullptr;  // the pass is walking the list by index: keep the slots where they are
        m_hasHoles = true;
    } else {
        m_clients.erase(found);
    }
}

bool AppMainLoop::hasRedrawClient(const AppMainLoopRedrawClient* client) const {
    return client && std::find(m_clients.begin(), m_clients.end(), client) != m_clients.end();
}

size_t AppMainLoop::redrawClientCount() const {
    return static_cast<size_t>(
        std::count_if(m_clients.begin(), m_clients.end(), [](const AppMainLoopRedrawClient* c) { return c; }));
}

void AppMainLoop::requestPass() {
    if (m_requested) return;  // the loop has been woken already
    m_requested = true;
    if (wxTheApp) wxWakeUpIdle();
}

void AppMainLoop::runRedrawPass() {
    if (m_inPass) return;
    struct PassScope {
        AppMainLoop& loop;
        explicit PassScope(AppMainLoop& l) : loop(l) { loop.m_inPass = true; }
        ~PassScope() {
            loop.m_inPass = false;
            if (loop.m_hasHoles) {
                auto& list = loop.m_clients;
                list.erase(std::remove(list.begin(), list.end(), nullptr), list.end());
                loop.m_hasHoles = false;
            }
        }
    } scope(*this);
    m_requested = false;  // a client asking during the pass gets another pass
    ++m_passes;
    const size_t count = m_clients.size();
    for (size_t i = 0; i < count; ++i) {
        if (AppMainLoopRedrawClient* client = m_clients[i]) client->onAppMainLoopRedraw();
    }
}

void AppMainLoop::install(wxEvtHandler* application) {
    if (application == m_application) return;
    uninstall();
    if (!application) return;
    m_application = application;
    m_application->Bind(wxEVT_IDLE, &AppMainLoop::onIdle, this);
}

void AppMainLoop::uninstall() {
    if (!m_application) return;
    m_application->Unbind(wxEVT_IDLE, &AppMainLoop::onIdle, this);
    m_application = nullptr;
}

void AppMainLoop::onIdle(wxIdleEvent& event) {
    event.Skip();  // other idle handlers of the application still run
    // Idle events also reach the application from nested loops (a modal dialog opened in a pass).
    if (!m_requested || m_inPass) return;
    runRedrawPass();
    if (m_requested) event.RequestMore();  // a client asked again during the pass
}

}  // namespace wxUtils

#include <velwidgets/ColourSchemeClient.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace wxUtils {

namespace {

// Each registration carries a serial number: a client born during a broadcast at the address of one
// that died in it is a different client, and must not be taken for the one in the snapshot.
using Registration = std::pair<ColourSchemeClient*, std::uint64_t>;

// Never destroyed, so that clients that are static objects may still unregister during exit.
std::vector<Registration>& clients() {
    static auto* list = new std::vector<Registration>;
    return *list;
}

std::uint64_t nextSerial() {
    static std::uint64_t serial = 0;
    return ++serial;
}

ColourScheme& activeScheme() {
    static ColourScheme scheme;
    return scheme;
}

void registerClient(ColourSchemeClient* client) { clients().emplace_back(client, nextSerial()); }

}  // namespace

ColourSchemeClient::ColourSchemeClient() { registerClient(this); }

ColourSchemeClient::ColourSchemeClient(const ColourSchemeClient&) { registerClient(this); }

ColourSchemeClient::~ColourSchemeClient() {
    auto& list = clients();
    list.erase(std::remove_if(list.begin(), list.end(), [this](const Registration& r) { return r.first == this; }),
               list.end());
}

void ColourSchemeClient::applyColourScheme(const ColourScheme& scheme) {
    activeScheme() = scheme;
    // A client may create or destroy clients while it repaints: walk a copy and skip the departed.
    const std::vector<Registration> snapshot = clients();
    for (const Registration& registration : snapshot) {
        const auto& live = clients();
        if (std::find(live.begin(), live.end(), registration) != live.end()) {
            registration.first->onColourSchemeChanged(scheme);
        }
    }
}

const ColourScheme& ColourSchemeClient::activeColourScheme() { return activeScheme(); }

}  // namespace wxUtils

#include <velwidgets/ColourSchemeClient.h>

#include <algorithm>
#include <vector>

namespace wxUtils {

namespace {

std::vector<ColourSchemeClient*>& clients() {
    static std::vector<ColourSchemeClient*> list;
    return list;
}

ColourScheme& activeScheme() {
    static ColourScheme scheme;
    return scheme;
}

}  // namespace

ColourSchemeClient::ColourSchemeClient() { clients().push_back(this); }

ColourSchemeClient::ColourSchemeClient(const ColourSchemeClient&) { clients().push_back(this); }

ColourSchemeClient::~ColourSchemeClient() {
    auto& list = clients();
    list.erase(std::remove(list.begin(), list.end(), this), list.end());
}

void ColourSchemeClient::applyColourScheme(const ColourScheme& scheme) {
    activeScheme() = scheme;
    // A client may create or destroy clients while it repaints: walk a copy and skip the departed.
    const std::vector<ColourSchemeClient*> snapshot = clients();
    for (ColourSchemeClient* client : snapshot) {
        const auto& live = clients();
        if (std::find(live.begin(), live.end(), client) != live.end()) client->onColourSchemeChanged(scheme);
    }
}

const ColourScheme& ColourSchemeClient::activeColourScheme() { return activeScheme(); }

}  // namespace wxUtils

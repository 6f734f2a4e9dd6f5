#pragma once

#include <velwidgets/ColourScheme.h>

namespace wxUtils {

// A window (or anything) that repaints in the active colour scheme. Clients register themselves on
// construction; applying a scheme tells every live client, and clients may come and go meanwhile.
class ColourSchemeClient {
public:
    ColourSchemeClient();
    ColourSchemeClient(const ColourSchemeClient&);
    ColourSchemeClient& operator=(const ColourSchemeClient&) = default;
    virtual ~ColourSchemeClient();

    virtual void onColourSchemeChanged(const ColourScheme& scheme) {}

    // Makes the scheme the active one and tells every client.
    static void applyColourScheme(const ColourScheme& scheme);
    static const ColourScheme& activeColourScheme();
};

}  // namespace wxUtils

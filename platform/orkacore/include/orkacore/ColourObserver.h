#pragma once

namespace Orka {

// Told by the colour manager after the colour scheme has changed.
class ColourObserver {
public:
    virtual ~ColourObserver() = default;
    virtual void onColourSchemeChanged() = 0;
};

}  // namespace Orka

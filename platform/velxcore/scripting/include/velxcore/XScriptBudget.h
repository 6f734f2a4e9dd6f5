#pragma once

#include <cstddef>
#include <stdexcept>

namespace VelX {

// A budget stop raised inside a velx call: the run has used up its time or its memory. It is not
// an XScriptError, so the bindings end the run with it instead of handing the script an error it
// could catch and ignore.
class XScriptStop : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What a script run may still spend through velx. The scene operations charge what they add to
// the scene (strings, objects, keys, log text) before they add it, and long operations check the
// clock as they go, so a script cannot grow the process or outlast its budget through the module.
class XScriptBudget {
public:
    virtual ~XScriptBudget() = default;
    // Counts bytes the run is about to make; throws XScriptStop when they take it past its memory
    // budget (or when the run is already stopped).
    virtual void Charge(std::size_t bytes) = 0;
    // Throws XScriptStop once the run is past its time budget.
    virtual void CheckTime() = 0;
};

}  // namespace VelX

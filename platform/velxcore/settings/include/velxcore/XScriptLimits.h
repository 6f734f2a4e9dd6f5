#pragma once

#include <cstddef>

namespace VelX {

// Limits that every script run obeys; the application settings keep the user's choice.
struct XScriptLimits {
    double timeBudgetSeconds = 10.0;
    std::size_t memoryBudgetBytes = 64u * 1024u * 1024u;  // for untrusted (sandboxed) Lua

    // The limits of the running program, which the settings keep in line with the user's choice.
    static XScriptLimits& Shared();
};

}  // namespace VelX

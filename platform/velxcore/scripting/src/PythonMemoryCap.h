#pragma once

#include <cstddef>

namespace VelX {

// Counts the bytes the embedded interpreter holds through its object and memory allocators, so that
// a scene script's run can be held to a memory budget as a Lua state is. The counting allocators
// must be installed before the interpreter starts (every block carries its size); when other code
// started Python first, nothing is counted and no cap can be kept.
//
// While a cap is on, an allocation that would take the bytes held since the cap began, plus what the
// run made in the scene, past the cap is refused (Python raises MemoryError) and the exceeded
// handler is called once, to stop the run. A little slack past the cap lets the stop be reported.
// Everything here runs with the GIL held.
class PythonMemoryCap {
public:
    using ExceededHandler = void (*)();

    // Puts the counting allocators in place; call before the interpreter starts.
    static void Install(ExceededHandler handler);
    static bool IsInstalled();

    // Starts a cap of the given bytes (0: none) and returns the one it replaces, for End.
    struct Saved {
        bool on;
        std::size_t base, cap, made;
        bool exceeded;
    };
    static Saved Begin(std::size_t cap);
    static void End(const Saved& saved);
    // Bytes the run made elsewhere (in the scene); false when they take it past the cap.
    static bool Charge(std::size_t bytes);
    static bool Exceeded();
    static std::size_t BytesHeld();
};

}  // namespace VelX

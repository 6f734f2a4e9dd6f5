#pragma once

struct lua_State;

namespace VelX {

// string.find, string.match, string.gmatch and string.gsub with a matcher that counts its steps.
// Lua's own matcher backtracks without end on a crafted pattern and subject and never returns to
// the interpreter, so no time budget could stop it; this one calls the state's check every few
// thousand steps, which raises the budget's error once the run must stop. Patterns, captures,
// results and error messages are those of Lua's string library.
class LuaPatternFunctions {
public:
    // Raises a Lua error when the running script must stop; returns otherwise.
    using StepCheck = void (*)(lua_State* L);

    // Replaces the four functions in the state's string table (and so its string methods).
    static void Install(lua_State* L, StepCheck check);
};

}  // namespace VelX

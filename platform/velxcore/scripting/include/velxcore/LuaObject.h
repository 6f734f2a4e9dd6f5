#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct lua_State;

namespace LuaPlus {

// A Lua value held from C++. Nil, booleans, numbers and strings are copied out; tables, functions
// and other reference values stay alive through one registry reference shared by every copy and
// released when the last copy goes. A value that outlives its state reads as an empty table and is
// released without touching the state.
class LuaObject {
public:
    // What a state's owner shares with the values taken from its state: `alive` turns false before
    // the state closes; `owner` lets the owner find its own data from the state.
    struct StateAnchor {
        std::shared_ptr<bool> alive = std::make_shared<bool>(true);
        void* owner = nullptr;
    };
    // Stores the anchor in the state's extra space; the owner keeps it as long as the state.
    static void Anchor(lua_State* L, StateAnchor* anchor);
    static StateAnchor* AnchorOf(lua_State* L);

    LuaObject() = default;  // nil
    // The value at the stack index; the stack is left as it was. Values of a state without an
    // anchor are trusted to outlive their state.
    LuaObject(lua_State* L, int index);

    bool IsNil() const;
    bool IsBoolean() const;
    bool IsNumber() const;
    bool IsInteger() const;  // a number with an integer representation
    bool IsString() const;
    bool IsTable() const;
    bool IsFunction() const;
    int Type() const;                 // LUA_TNIL, LUA_TTABLE, ...
    const char* TypeName() const;     // "nil", "table", ...
    bool IsStateAlive() const;

    // Length of the table's sequence (raw, no metamethods); 0 for anything else.
    int GetTableCount() const;
    // Raw element access (no metamethods); nil when this is not a table or the key is missing.
    LuaObject operator[](int index) const;
    LuaObject operator[](const char* key) const;
    LuaObject operator[](const std::string& key) const { return (*this)[key.c_str()]; }

    // The text of a string, or of a number as Lua writes it; "" for anything else.
    std::string GetString() const;
    std::wstring GetWString() const;
    // Numbers convert between integer and float (floats truncate); 0 for anything else.
    std::int64_t GetInteger() const;
    double GetNumber() const;
    // Lua truth: false for nil and false, true for everything else.
    bool GetBoolean() const;
    // Any value as text, as tostring writes it without calling metamethods.
    std::string ToString() const;

    // Pushes the value onto the stack of its own state (or a thread of it); false (and nothing
    // pushed) when the state is gone or has no room.
    bool Push(lua_State* L) const;

private:
    struct Data;
    std::shared_ptr<const Data> m_data;  // null for nil
};

}  // namespace LuaPlus

#pragma once

#include <velxcore/XScriptLogAllowance.h>

#include <veldatabase/Value.h>

#include <cstddef>
#include <string>

struct lua_State;

namespace VelX {

class XScene;
class XScriptBudget;

// The `velx` table of a Lua state: scene operations (through XScriptApi) on the scene the module
// is bound to, or the application's active scene at call time, plus every plug-in script function
// as velx.<name>, looked up when used. Script mistakes become Lua errors naming the function.
class XLuaVelxModule {
public:
    XLuaVelxModule() = default;
    XLuaVelxModule(const XLuaVelxModule&) = delete;
    XLuaVelxModule& operator=(const XLuaVelxModule&) = delete;

    // Sets the global `velx`; the module must outlive the state (call Close before closing it).
    void Install(lua_State* L);
    // From now on velx functions refuse to run (the state is closing).
    void Close() { m_closed = true; }
    bool IsClosed() const { return m_closed; }

    // nullptr: the application's active scene at call time.
    void SetScene(XScene* scene) { m_scene = scene; }
    XScene* BoundScene() const { return m_scene; }
    XScene& Scene() const;

    // The budget the scene operations charge (nullptr: none); the state's runs own it.
    void SetBudget(XScriptBudget* budget) { m_budget = budget; }
    XScriptBudget* Budget() const { return m_budget; }

    // velx.begin_block / velx.end_block: a script ends only blocks it opened itself.
    void BeginBlock();
    void EndBlock(const std::string& description);
    // Change blocks opened with velx.begin_block and not yet ended.
    int OpenBlocks() const { return m_openBlocks; }
    // Ends those blocks (their changes stay); returns how many there were.
    int CloseOpenBlocks();
    // Forgets them (the caller cancelled every open block of the scene).
    void ForgetOpenBlocks();

    // velx.log and print: a line for the application log, within the run's allowance (the text is
    // charged to the budget too).
    XScriptLogAllowance& LogAllowance() { return m_log; }
    void Log(const std::string& text);

    // Conversions. Lua -> value: nil, booleans, integers (as int when they fit), floats, strings
    // and sequence tables (as lists). Throws XScriptError for anything else.
    static db::Value ToValue(lua_State* L, int index);
    // Value -> Lua: lists, vectors, quaternions and matrices become sequences of numbers. Runs
    // unprotected: call it where a raised Lua error finds no C++ object to skip.
    static void PushValue(lua_State* L, const db::Value& value);

private:
    XScene* m_scene = nullptr;
    XScene* m_blockScene = nullptr;
    XScriptBudget* m_budget = nullptr;
    int m_openBlocks = 0;
    XScriptLogAllowance m_log;
    bool m_closed = false;
};

}  // namespace VelX

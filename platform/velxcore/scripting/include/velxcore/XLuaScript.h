#pragma once

#include <velxcore/LuaObject.h>

#include <veldatabase/Value.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string>

struct lua_State;

namespace VelX {

class XScene;

// One Lua state and the runs in it. The application's state is trusted: every standard library
// and `velx`. A sandboxed state runs untrusted scene scripts: only the base library (without file
// access), string (without dump), table, math, coroutine and `velx`; `load` takes source text
// only; memory is capped. Every run obeys a time budget. Failures go to the application log,
// naming the script and line; the application keeps running.
class XLuaScript {
public:
    enum class Trust { Application, Sandboxed };

    // Results of the runs: 0 is success, 2 to 5 are Lua's own codes, the others the budgets'.
    enum Status : int {
        Ok = 0,
        RuntimeError = 2,           // an error while running (including stack overflows)
        SyntaxError = 3,            // the text does not compile (or is not source text)
        OutOfMemory = 4,            // the system refused memory
        HandlerError = 5,           // an error while handling an error
        TimeBudgetExceeded = 10,    // stopped: ran longer than the time budget
        MemoryBudgetExceeded = 11,  // stopped: used more memory than the budget
        BlockOpen = 12,             // RunSceneScript: the scene already had an open change block
        Unavailable = 13,           // the state could not be made
    };

    explicit XLuaScript(Trust trust = Trust::Application);
    ~XLuaScript();
    XLuaScript(const XLuaScript&) = delete;
    XLuaScript& operator=(const XLuaScript&) = delete;

    bool IsSandboxed() const;
    lua_State* State() const;
    // Whether the global table holds a function of this name.
    bool HasFunction(const char* table, const char* function) const;

    // Runs source text; the chunk name is the script's name in messages ("script" when none).
    // Change blocks the script opened with velx.begin_block and left open are ended.
    int RunScript(const std::wstring& text);
    int RunScript(const std::wstring& text, const std::wstring& chunkName);
    // Runs the text on the scene inside one change block: on success the block ends as one undo
    // step named after the chunk; on failure every change is reverted without notification.
    // Refused (BlockOpen) while the scene has a change block open, which a failure would revert.
    int RunSceneScript(const std::wstring& text, const std::wstring& chunkName, XScene& scene);
    // The message of the last failed run or call; empty after a success.
    const std::wstring& LastError() const;

    // Calls table.function(arguments...) of the global table and returns its first result. A
    // missing table or function, or an error inside, gives nil and is logged once per table,
    // function and message. Arguments: numbers, booleans, strings (also wide) and db::Values.
    template <class... Arguments>
    LuaPlus::LuaObject CallFunction(const char* table, const char* function, const Arguments&... arguments) {
        const std::array<db::Value, sizeof...(Arguments)> values{{ArgumentValue(arguments)...}};
        return CallFunctionWithValues(table, function, values.data(), values.size());
    }
    LuaPlus::LuaObject CallFunctionWithValues(const char* table, const char* function, const db::Value* arguments,
                                              std::size_t count);

    // The scene velx works on: nullptr (the default) is the application's active scene at call time.
    void SetScene(XScene* scene);
    XScene& Scene() const;

    // Budgets for this state; a negative time or a zero memory budget means the application's
    // setting (XScriptLimits::Shared()). Memory is capped only in sandboxed states.
    void SetTimeBudget(double seconds);
    void SetMemoryBudget(std::size_t bytes);
    double TimeBudget() const;
    std::size_t MemoryBudget() const;
    std::size_t MemoryUsed() const;

    static db::Value ArgumentValue(const std::wstring& text);
    static db::Value ArgumentValue(const wchar_t* text);
    static db::Value ArgumentValue(const db::Value& value) { return value; }
    template <class T>
    static db::Value ArgumentValue(const T& value) {
        return db::Value(value);
    }

    struct Impl;

private:
    int run(const std::string& source, const std::string& chunkName);

    std::unique_ptr<Impl> m_impl;
};

}  // namespace VelX

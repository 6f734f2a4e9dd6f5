#include "LuaPatternFunctions.h"

#include <velxcore/XActiveScene.h>
#include <velxcore/XLog.h>
#include <velxcore/XScriptFunctions.h>
#include <velxcore/XScriptLimits.h>
#include <velxcore/XLuaScript.h>
#include <velxcore/XLuaVelxModule.h>
#include <velxcore/XScene.h>
#include <velxcore/XScriptBudget.h>

#include <veldatabase/Database.h>
#include <velutils/StringUtils.h>

#include <lua.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <set>

namespace VelX {

using Velutils::StringUtils;

namespace {

using Clock = std::chrono::steady_clock;

// The time budget is checked every this many Lua instructions.
constexpr int HookInterval = 10000;
constexpr std::size_t MaxRememberedMessages = 4096;
constexpr std::size_t LargeAllocation = 64 * 1024;
// Sandboxed scripts may write this many log lines and bytes per run, each line at most this long.
constexpr int SandboxLogLines = 1000;
constexpr std::size_t SandboxLogBytes = 256 * 1024;
constexpr std::size_t LongestMessage = 4096;
constexpr double MiB = 1024.0 * 1024.0;

enum class Stop { None, Time, Memory };

}  // namespace

// The state and its runs; also the budget that velx charges while a run is under way.
struct XLuaScript::Impl : XScriptBudget {
    lua_State* L = nullptr;
    Trust trust = Trust::Application;
    LuaPlus::LuaObject::StateAnchor anchor;
    XLuaVelxModule module;
    double timeOverride = -1.0;
    std::size_t memoryOverride = 0;

    // Allocation: bytes in use, and the cap while a sandboxed run is under way. What the run made
    // in the scene through velx counts against the same cap.
    std::size_t used = 0;
    std::size_t made = 0;
    std::size_t cap = 0;
    bool enforce = false;
    std::size_t slack = 0;  // allowed past the cap once stopped, to report the error
    int refusals = 0;       // refused allocations in a row (the second follows Lua's emergency collection)

    // The outermost run under way.
    int depth = 0;
    bool timeLimited = false;
    Clock::time_point deadline;
    Stop stop = Stop::None;
    double messageBudget = -1.0;
    std::size_t messageCap = 0;
    std::string timeMessage;
    std::string memoryMessage;

    std::set<std::string> logged;
    std::wstring lastError;

    double timeBudget() const {
        return timeOverride >= 0.0 ? timeOverride : XScriptLimits::Shared().timeBudgetSeconds;
    }
    std::size_t memoryBudget() const {
        return memoryOverride > 0 ? memoryOverride : XScriptLimits::Shared().memoryBudgetBytes;
    }

    void startRun() {
        const double budget = timeBudget();
        // A zero, negative or endless setting means no time limit.
        timeLimited = std::isfinite(budget) && budget > 0.0;
        if (timeLimited)
            deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(budget));
        cap = trust == Trust::Sandboxed ? memoryBudget() : 0;
        enforce = cap > 0;
        slack = std::max<std::size_t>(cap / 8, 256 * 1024);
        stop = Stop::None;
        refusals = 0;
        made = 0;
        module.SetBudget(this);
        XScriptLogAllowance::Limits logLimits;
        if (trust == Trust::Sandboxed) logLimits = {SandboxLogLines, SandboxLogBytes, LongestMessage};
        module.LogAllowance().Start(logLimits, "Lua: the script's further log lines in this run are dropped");
        if (budget != messageBudget) {
            messageBudget = budget;
            timeMessage = "script stopped: it ran longer than " + StringUtils::formatNumber(budget, 0, 3) +
                          " s (the time budget in the settings)";
        }
        if (cap != messageCap) {
            messageCap = cap;
            memoryMessage = "script stopped: it used more than " +
                            StringUtils::formatNumber(static_cast<double>(cap) / MiB, 0, 2) + " MiB of memory";
        }
    }

    void finishRun() {
        module.SetBudget(nullptr);
        enforce = false;
        timeLimited = false;
        stop = Stop::None;
    }

    void Charge(std::size_t bytes) override;
    void CheckTime() override;

    void report(const std::string& message) {
        lastError = StringUtils::toWide(message.size() > LongestMessage ? message.substr(0, LongestMessage) + "..." : message);
        XLog::Error(lastError);
    }
};

namespace {

using Impl = XLuaScript::Impl;

Impl* implOf(lua_State* L) {
    LuaPlus::LuaObject::StateAnchor* anchor = LuaPlus::LuaObject::AnchorOf(L);
    return anchor ? static_cast<Impl*>(anchor->owner) : nullptr;
}

// Runs every HookInterval instructions. Once a budget is spent every further instruction fails,
// so a script that catches the error (pcall, coroutines) is stopped all the same.
void countHook(lua_State* L, lua_Debug*) {
    Impl* s = implOf(L);
    if (!s || s->depth == 0) return;
    if (s->stop == Stop::None && s->timeLimited && Clock::now() >= s->deadline) s->stop = Stop::Time;
    if (s->stop == Stop::None) {
        if (lua_gethookcount(L) != HookInterval) lua_sethook(L, countHook, LUA_MASKCOUNT, HookInterval);
        return;
    }
    lua_sethook(L, countHook, LUA_MASKCOUNT, 1);
    luaL_where(L, 0);
    lua_pushstring(L, s->stop == Stop::Time ? s->timeMessage.c_str() : s->memoryMessage.c_str());
    lua_concat(L, 2);
    lua_error(L);
}

// Makes the main thread fail at its next instruction (other threads at their next check).
void stopSoon(Impl* s, Stop reason) {
    if (s->stop == Stop::None) s->stop = reason;
    if (s->L) lua_sethook(s->L, countHook, LUA_MASKCOUNT, 1);
}

}  // namespace

void XLuaScript::Impl::Charge(std::size_t bytes) {
    if (depth == 0) return;
    made += bytes;
    if (stop == Stop::None && enforce && used + made > cap) stopSoon(this, Stop::Memory);
    CheckTime();
}

void XLuaScript::Impl::CheckTime() {
    if (depth == 0) return;
    if (stop == Stop::None && timeLimited && Clock::now() >= deadline) stopSoon(this, Stop::Time);
    if (stop != Stop::None) throw XScriptStop(stop == Stop::Time ? timeMessage : memoryMessage);
}

namespace {

// Counts the state's bytes. While a sandboxed run is under way, growth past the cap is refused;
// Lua then collects its garbage and asks once more, and that second request must leave some room
// (a sixteenth of the cap) or the script is stopped, so that it cannot spend its time in one
// emergency collection after another. Once stopped, a little slack lets the error be reported.
// Big allocations (long library calls) check the clock too, as refusals do.
void* allocate(void* ud, void* block, std::size_t oldSize, std::size_t newSize) {
    Impl* s = static_cast<Impl*>(ud);
    const std::size_t old = block ? oldSize : 0;
    if (newSize == 0) {
        std::free(block);
        s->used -= old;
        return nullptr;
    }
    if (newSize > old && s->depth > 0) {
        if (newSize - old >= LargeAllocation && s->timeLimited && s->stop == Stop::None && Clock::now() >= s->deadline)
            stopSoon(s, Stop::Time);
        if (s->enforce) {
            const std::size_t after = s->used - old + newSize + s->made;
            const std::size_t limit = s->stop != Stop::None ? s->cap + s->slack
                                      : s->refusals > 0    ? s->cap - s->cap / 16
                                                           : s->cap;
            if (after > limit) {
                if (s->refusals > 0 || s->stop != Stop::None) stopSoon(s, Stop::Memory);
                else if (s->timeLimited && Clock::now() >= s->deadline) stopSoon(s, Stop::Time);
                ++s->refusals;
                return nullptr;
            }
        }
    }
    void* grown = std::realloc(block, newSize);
    if (!grown) return nullptr;
    s->refusals = 0;
    s->used = s->used - old + newSize;
    return grown;
}

int panic(lua_State* L) {
    const char* message = lua_tostring(L, -1);
    std::fprintf(stderr, "Lua: unprotected error: %s\n", message ? message : "(no message)");
    return 0;
}

void logLine(Impl* s, const char* text, std::size_t length) noexcept {
    try {
        s->module.Log(std::string(text, length));
    } catch (...) {
    }
}

// print: the arguments as tostring writes them, tab-separated, into the application log.
int logPrint(lua_State* L) {
    const int count = lua_gettop(L);
    luaL_Buffer buffer;
    luaL_buffinit(L, &buffer);
    for (int i = 1; i <= count; ++i) {
        if (i > 1) luaL_addchar(&buffer, '\t');
        luaL_tolstring(L, i, nullptr);
        luaL_addvalue(&buffer);
    }
    luaL_pushresult(&buffer);
    std::size_t length = 0;
    const char* text = lua_tolstring(L, -1, &length);
    if (Impl* s = implOf(L)) logLine(s, text, length);
    return 0;
}

// load for sandboxed scripts: source text only, whatever mode the script asks for.
int sandboxLoad(lua_State* L) {
    const int count = lua_gettop(L);
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_pushvalue(L, 1);
    if (count >= 2) lua_pushvalue(L, 2);
    else lua_pushnil(L);
    lua_pushliteral(L, "t");
    int arguments = 3;
    if (count >= 4) {
        lua_pushvalue(L, 4);
        arguments = 4;
    }
    lua_call(L, arguments, LUA_MULTRET);
    return lua_gettop(L) - count;
}

// setmetatable for sandboxed scripts: no finalizers, which would run without the time budget.
int sandboxSetMetatable(lua_State* L) {
    if (lua_type(L, 2) == LUA_TTABLE) {
        lua_pushliteral(L, "__gc");
        const bool finalizer = lua_rawget(L, 2) != LUA_TNIL;
        lua_pop(L, 1);
        if (finalizer) return luaL_error(L, "scene scripts cannot give tables a __gc finalizer");
    }
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_insert(L, 1);
    lua_call(L, lua_gettop(L) - 1, 1);
    return 1;
}

// collectgarbage for sandboxed scripts: collecting and measuring only, not stopping or tuning.
int sandboxCollectGarbage(lua_State* L) {
    const char* option = luaL_optstring(L, 1, "collect");
    static const char* const allowed[] = {"collect", "count", "step", "isrunning"};
    bool ok = false;
    for (const char* a : allowed) ok = ok || std::strcmp(option, a) == 0;
    if (!ok) return luaL_error(L, "collectgarbage(\"%s\") is not available to scene scripts", option);
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_insert(L, 1);
    lua_call(L, lua_gettop(L) - 1, LUA_MULTRET);
    return lua_gettop(L);
}

void wrapGlobal(lua_State* L, const char* name, lua_CFunction wrapper) {
    lua_getglobal(L, name);
    lua_pushcclosure(L, wrapper, 1);
    lua_setglobal(L, name);
}

void openSandbox(lua_State* L) {
    const luaL_Reg libraries[] = {{LUA_GNAME, luaopen_base},
                                  {LUA_STRLIBNAME, luaopen_string},
                                  {LUA_TABLIBNAME, luaopen_table},
                                  {LUA_MATHLIBNAME, luaopen_math},
                                  {LUA_COLIBNAME, luaopen_coroutine}};
    for (const luaL_Reg& library : libraries) {
        luaL_requiref(L, library.name, library.func, 1);
        lua_pop(L, 1);
    }
    for (const char* removed : {"dofile", "loadfile", "warn"}) {
        lua_pushnil(L);
        lua_setglobal(L, removed);
    }
    wrapGlobal(L, "load", sandboxLoad);
    wrapGlobal(L, "setmetatable", sandboxSetMetatable);
    wrapGlobal(L, "collectgarbage", sandboxCollectGarbage);
    // The string metatable's __index is this same table, so dump is gone from ("").dump too.
    lua_getglobal(L, LUA_STRLIBNAME);
    lua_pushnil(L);
    lua_setfield(L, -2, "dump");
    lua_pop(L, 1);
}

// A pattern match asks every few thousand steps whether the run must stop.
void patternStepCheck(lua_State* L) { countHook(L, nullptr); }

int openState(lua_State* L) {
    Impl* s = static_cast<Impl*>(lua_touserdata(L, 1));
    lua_settop(L, 0);
    if (s->trust == XLuaScript::Trust::Sandboxed) openSandbox(L);
    else luaL_openlibs(L);
    LuaPatternFunctions::Install(L, patternStepCheck);
    lua_pushcfunction(L, logPrint);
    lua_setglobal(L, "print");
    s->module.Install(L);
    return 0;
}

std::string errorText(lua_State* L, int index) {
    switch (lua_type(L, index)) {
    case LUA_TSTRING: {
        std::size_t length = 0;
        const char* text = lua_tolstring(L, index, &length);
        return std::string(text, length);
    }
    case LUA_TNUMBER: return LuaPlus::LuaObject(L, index).ToString();
    default: return std::string("(error object is a ") + luaL_typename(L, index) + " value)";
    }
}

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

// Turns a failed run's Lua status and message into ours; the message names the script.
int classify(const Impl& s, int status, std::string& message, const std::string& chunkName) {
    int result = status;
    if (s.stop == Stop::Time) {
        result = XLuaScript::TimeBudgetExceeded;
        if (message.find(s.timeMessage) == std::string::npos) message = s.timeMessage;
    } else if (s.stop == Stop::Memory || (status == LUA_ERRMEM && s.enforce)) {
        result = XLuaScript::MemoryBudgetExceeded;
        if (message.find(s.memoryMessage) == std::string::npos) message = s.memoryMessage;
    }
    if (!startsWith(message, chunkName + ":")) message = chunkName + ": " + message;
    return result;
}

struct RunGuard {
    Impl& s;
    explicit RunGuard(Impl& impl) : s(impl) {
        if (s.depth++ == 0) s.startRun();
    }
    ~RunGuard() {
        if (--s.depth > 0) return;
        s.finishRun();
        if (s.L) lua_sethook(s.L, countHook, LUA_MASKCOUNT, HookInterval);  // undoes a stop's every-instruction hook
    }
    RunGuard(const RunGuard&) = delete;
    RunGuard& operator=(const RunGuard&) = delete;
};

struct CallRequest {
    const char* table;
    const char* function;
    const db::Value* arguments;
    std::size_t count;
    int missing;  // 1: no such table, 2: no such function
};

// Looks up and calls table.function in protected mode.
int callFunction(lua_State* L) {
    CallRequest* request = static_cast<CallRequest*>(lua_touserdata(L, 1));
    lua_settop(L, 0);
    if (lua_getglobal(L, request->table) != LUA_TTABLE) {
        request->missing = 1;
        return 0;
    }
    if (lua_getfield(L, 1, request->function) == LUA_TNIL) {
        request->missing = 2;
        return 0;
    }
    luaL_checkstack(L, static_cast<int>(request->count) + 4, "too many arguments");
    for (std::size_t i = 0; i < request->count; ++i) XLuaVelxModule::PushValue(L, request->arguments[i]);
    lua_call(L, static_cast<int>(request->count), 1);
    return 1;
}

}  // namespace

XLuaScript::XLuaScript(Trust trust) : m_impl(std::make_unique<Impl>()) {
    Impl& s = *m_impl;
    s.trust = trust;
    s.anchor.owner = &s;
    lua_State* L = lua_newstate(allocate, &s);
    if (!L) {
        s.report("Lua: the script state could not be made (out of memory)");
        return;
    }
    LuaPlus::LuaObject::Anchor(L, &s.anchor);
    lua_atpanic(L, panic);
    lua_sethook(L, countHook, LUA_MASKCOUNT, HookInterval);
    lua_pushcfunction(L, openState);
    lua_pushlightuserdata(L, &s);
    if (lua_pcall(L, 1, 0, 0) != LUA_OK) {
        s.report("Lua: the script state could not be made: " + errorText(L, -1));
        *s.anchor.alive = false;
        lua_close(L);
        return;
    }
    s.L = L;
}

XLuaScript::~XLuaScript() {
    Impl& s = *m_impl;
    if (!s.L) return;
    s.module.Close();
    *s.anchor.alive = false;
    s.enforce = false;
    lua_close(s.L);
    s.L = nullptr;
}

bool XLuaScript::IsSandboxed() const { return m_impl->trust == Trust::Sandboxed; }
lua_State* XLuaScript::State() const { return m_impl->L; }

bool XLuaScript::HasFunction(const char* table, const char* function) const {
    lua_State* L = m_impl->L;
    if (!L) return false;
    const int top = lua_gettop(L);
    bool found = false;
    if (lua_getglobal(L, table) == LUA_TTABLE) found = lua_getfield(L, -1, function) == LUA_TFUNCTION;
    lua_settop(L, top);
    return found;
}
const std::wstring& XLuaScript::LastError() const { return m_impl->lastError; }

void XLuaScript::SetScene(XScene* scene) { m_impl->module.SetScene(scene); }
XScene& XLuaScript::Scene() const {
    XScene* bound = m_impl->module.BoundScene();
    return bound ? *bound : XActiveScene::Get();
}

void XLuaScript::SetTimeBudget(double seconds) { m_impl->timeOverride = seconds; }
void XLuaScript::SetMemoryBudget(std::size_t bytes) { m_impl->memoryOverride = bytes; }
double XLuaScript::TimeBudget() const { return m_impl->timeBudget(); }
std::size_t XLuaScript::MemoryBudget() const { return m_impl->memoryBudget(); }
std::size_t XLuaScript::MemoryUsed() const { return m_impl->used; }

db::Value XLuaScript::ArgumentValue(const std::wstring& text) { return db::Value(StringUtils::toUtf8(text)); }
db::Value XLuaScript::ArgumentValue(const wchar_t* text) {
    return db::Value(StringUtils::toUtf8(text ? std::wstring(text) : std::wstring()));
}

int XLuaScript::RunScript(const std::wstring& text) { return RunScript(text, L"script"); }

int XLuaScript::RunScript(const std::wstring& text, const std::wstring& chunkName) {
    Impl& s = *m_impl;
    const std::string name = chunkName.empty() ? std::string("script") : StringUtils::toUtf8(chunkName);
    const int status = run(StringUtils::toUtf8(text), name);
    if (s.depth == 0 && s.module.OpenBlocks() > 0) {
        const int closed = s.module.CloseOpenBlocks();
        XLog::Write((
            name + ": the script left " + std::to_string(closed) + " change block(s) open; they were ended").c_str());
    }
    return status;
}

int XLuaScript::RunSceneScript(const std::wstring& text, const std::wstring& chunkName, XScene& scene) {
    Impl& s = *m_impl;
    const std::string name = chunkName.empty() ? std::string("scene script") : StringUtils::toUtf8(chunkName);
    db::Database& database = scene.Database().db();
    if (database.blockDepth() > 0 || s.module.OpenBlocks() > 0) {
        s.report(name + ": not run, because a change block is open in the scene and a failure would revert it");
        return BlockOpen;
    }
    XScene* previous = s.module.BoundScene();
    s.module.SetScene(&scene);
    database.beginChangeBlock();
    int status = Unavailable;
    try {
        status = run(StringUtils::toUtf8(text), name);
    } catch (...) {
        database.cancelChangeBlock();
        s.module.ForgetOpenBlocks();
        s.module.SetScene(previous);
        throw;
    }
    if (status == Ok) {
        s.module.CloseOpenBlocks();
        database.endChangeBlock(name);
    } else {
        database.cancelChangeBlock();
        s.module.ForgetOpenBlocks();
    }
    s.module.SetScene(previous);
    return status;
}

int XLuaScript::run(const std::string& source, const std::string& chunkName) {
    Impl& s = *m_impl;
    if (!s.L) {
        s.report(chunkName + ": not run, because the Lua state could not be made");
        return Unavailable;
    }
    lua_State* L = s.L;
    RunGuard guard(s);
    const int top = lua_gettop(L);
    const std::string luaName = "=" + chunkName;
    int status = luaL_loadbufferx(L, source.data(), source.size(), luaName.c_str(), "t");
    // Text that does not compile is a syntax error, also when the parser ran out of C stack.
    if (status == LUA_ERRRUN) status = LUA_ERRSYNTAX;
    if (status == LUA_OK) status = lua_pcall(L, 0, 0, 0);
    if (status == LUA_OK) {
        lua_settop(L, top);
        s.lastError.clear();
        return Ok;
    }
    std::string message = errorText(L, -1);
    lua_settop(L, top);
    const int result = classify(s, status, message, chunkName);
    s.report(message);
    return result;
}

LuaPlus::LuaObject XLuaScript::CallFunctionWithValues(const char* table, const char* function,
                                                      const db::Value* arguments, std::size_t count) {
    Impl& s = *m_impl;
    const std::string qualified = std::string(table ? table : "") + "." + (function ? function : "");
    std::string message;
    if (!s.L) {
        message = "the Lua state could not be made";
    } else if (!table || !function) {
        message = "no table or function named";
    } else {
        lua_State* L = s.L;
        RunGuard guard(s);
        const int top = lua_gettop(L);
        CallRequest request{table, function, arguments, count, 0};
        lua_pushcfunction(L, callFunction);
        lua_pushlightuserdata(L, &request);
        const int status = lua_pcall(L, 1, 1, 0);
        if (status == LUA_OK && !request.missing) {
            LuaPlus::LuaObject result(L, -1);
            lua_settop(L, top);
            s.lastError.clear();
            return result;
        }
        if (status == LUA_OK) {
            message = request.missing == 1 ? "there is no table '" + std::string(table) + "'"
                                           : "table '" + std::string(table) + "' has no function '" + function + "'";
        } else {
            message = errorText(L, -1);
            classify(s, status, message, qualified);
            if (startsWith(message, qualified + ": ")) message.erase(0, qualified.size() + 2);
        }
        lua_settop(L, top);
    }
    message = "Lua: " + qualified + ": " + message;
    if (message.size() > LongestMessage) message = message.substr(0, LongestMessage) + "...";
    s.lastError = StringUtils::toWide(message);
    if (s.logged.size() >= MaxRememberedMessages) s.logged.clear();
    if (s.logged.insert(message).second) XLog::Error(s.lastError);
    return {};
}

}  // namespace VelX

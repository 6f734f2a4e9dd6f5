// Untrusted scene scripts against the sandbox: each abuse is stopped within its budget, the scene
// is left exactly as it was, and the state stays usable.

#include <velxcore/XApplication.h>
#include <velxcore/XDemoScene.h>
#include <velxcore/XLuaScript.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneFile.h>

#include <veldatabase/Database.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using namespace VelX;

namespace {

std::wstring W(const std::string& s) { return std::wstring(s.begin(), s.end()); }
std::string N(const std::wstring& s) { return std::string(s.begin(), s.end()); }

// Every abuse first changes the scene, so that a leftover change would show.
const char* const Prelude = "velx.create('Transform', 'Intruder') velx.set('Hero/Hips', 'translateX', 99)\n";

class LuaSandbox : public ::testing::Test {
protected:
    LuaSandbox() : lua(XLuaScript::Trust::Sandboxed) {
        XDemoScene::build(scene);
        before = XSceneFile::toJson(scene.Database().db());
        lua.SetTimeBudget(0.2);
        lua.SetMemoryBudget(8u * 1024u * 1024u);
    }

    // Runs the abuse as a scene script; checks it was stopped with the status, leaving the scene as
    // it was and the state able to run the next script.
    void expectStopped(const std::string& abuse, int status, const std::string& messagePart = {}) {
        const int result = lua.RunSceneScript(W(Prelude + abuse), L"scene script", scene);
        EXPECT_EQ(result, status) << abuse << "\n" << N(lua.LastError());
        EXPECT_EQ(N(lua.LastError()).rfind("scene script", 0), 0u) << N(lua.LastError());
        if (!messagePart.empty()) {
            EXPECT_NE(N(lua.LastError()).find(messagePart), std::string::npos) << N(lua.LastError());
        }
        EXPECT_EQ(XSceneFile::toJson(scene.Database().db()), before) << abuse;
        EXPECT_EQ(scene.Database().db().blockDepth(), 0);
        EXPECT_EQ(lua.RunScript(L"local t = {} for i = 1, 1000 do t[i] = i end return #t"), 0) << N(lua.LastError());
    }

    // Runs a script that must succeed (its assertions are the test).
    void expectRuns(const std::string& text) {
        EXPECT_EQ(lua.RunScript(W(text), L"probe"), 0) << N(lua.LastError());
    }

    // Tests of the other limits give time generously (slow builds, busy machines) and check
    // that those limits, not the clock, stopped the script.
    void generousTime() { lua.SetTimeBudget(10.0); }

    XScene scene;
    XLuaScript lua;
    std::string before;
};

}  // namespace

TEST_F(LuaSandbox, RemovedLibrariesAreUnreachable) {
    expectRuns(R"(
        for _, name in ipairs({"os", "io", "package", "debug", "require", "dofile", "loadfile", "warn", "utf8"}) do
          assert(_G[name] == nil, name)
        end
        assert(string.dump == nil and ("").dump == nil)
        assert(getmetatable("").__index == string)                 -- the string methods are fine
        assert(rawget(getmetatable("").__index, "dump") == nil)
        assert(("abc"):upper() == "ABC" and math.max(1, 2) == 2)
        local t = {3, 1, 2} table.sort(t) assert(t[1] == 1)
        local co = coroutine.wrap(function() coroutine.yield(1) end) assert(co() == 1)
        -- Nothing enumerable reaches a library that was never opened.
        local seen = {}
        local function walk(v, depth)
          if type(v) ~= "table" or seen[v] or depth > 4 then return end
          seen[v] = true
          for k, x in pairs(v) do
            assert(k ~= "execute" and k ~= "open" and k ~= "loadlib" and k ~= "getregistry" and k ~= "dump", k)
            walk(x, depth + 1)
          end
          walk(getmetatable(v), depth + 1)
        end
        walk(_G, 0)
        walk(getmetatable(""), 0)
    )");
    expectStopped("os.execute('touch /tmp/velx-owned')", XLuaScript::RuntimeError, "global 'os'");
    expectStopped("io.open('/etc/passwd')", XLuaScript::RuntimeError, "global 'io'");
    expectStopped("package.loadlib('libc.so.6', 'system')", XLuaScript::RuntimeError, "global 'package'");
    expectStopped("require('os')", XLuaScript::RuntimeError, "global 'require'");
    expectStopped("dofile('/etc/passwd')", XLuaScript::RuntimeError, "global 'dofile'");
    expectStopped("debug.getregistry()", XLuaScript::RuntimeError, "global 'debug'");
    expectStopped("collectgarbage('stop')", XLuaScript::RuntimeError, "not available to scene scripts");
}

TEST_F(LuaSandbox, LoadTakesSourceTextOnly) {
    expectRuns(R"(
        local f = assert(load("return 1 + 1"))
        assert(f() == 2)
        local env = { x = 5 }
        assert(load("return x", "chunk", "t", env)() == 5)
        -- A crafted binary chunk is refused whatever mode is asked for.
        local blob = "\27Lua\84\0\25\147\13\10\26\10\4\8\8\120\86\0\0\0\0\0\0\0\0\0\0\0\40\119\64"
        for _, mode in ipairs({"b", "bt", "t"}) do
          local chunk, message = load(blob, "blob", mode)
          assert(chunk == nil and message:find("binary"), message)
        end
        local chunk, message = load(blob)
        assert(chunk == nil and message:find("binary"), message)
        -- Also when a reader function hands it over piece by piece.
        local parts = { blob:sub(1, 3), blob:sub(4) }
        local i = 0
        chunk, message = load(function() i = i + 1 return parts[i] end, "reader", "b")
        assert(chunk == nil and message:find("binary"), message)
    )");
    expectStopped("assert(load('\\27Lua\\84\\0', 'x', 'b'))()", XLuaScript::RuntimeError, "binary");
    expectStopped("\x1bLua\x54\x00\x19\x93", XLuaScript::SyntaxError);
}

TEST_F(LuaSandbox, EndlessLoopsStopWithinTheTimeBudget) {
    const std::string message = "script stopped: it ran longer than 0.2 s (the time budget in the settings)";
    expectStopped("while true do end", XLuaScript::TimeBudgetExceeded, "scene script:2: " + message);
    expectStopped("local function f() return f() end f()", XLuaScript::TimeBudgetExceeded, message);  // a tail call loops
    // Catching the stop does not keep a script going.
    expectStopped("while true do pcall(function() while true do end end) end", XLuaScript::TimeBudgetExceeded, message);
    expectStopped("while true do xpcall(function() while true do end end, function(m) return m end) end",
                  XLuaScript::TimeBudgetExceeded, message);
    expectStopped("while true do coroutine.resume(coroutine.create(function() while true do end end)) end",
                  XLuaScript::TimeBudgetExceeded, message);
    expectStopped("local t = {} for i = 1, 100 do t[i] = i end while true do table.sort(t, function(a, b) "
                  "while true do end end) end",
                  XLuaScript::TimeBudgetExceeded, message);
    expectStopped("string.gsub(string.rep('x', 100), '.', function() while true do end end)",
                  XLuaScript::TimeBudgetExceeded, message);
    expectStopped("load(function() while true do end end)", XLuaScript::TimeBudgetExceeded, message);
}

TEST_F(LuaSandbox, MemoryBombsStopAtTheCap) {
    generousTime();
    const std::string message = "script stopped: it used more than 8 MiB of memory";
    expectStopped("local t = {} for i = 1, 1e9 do t[i] = string.rep('x', 100) .. i end",
                  XLuaScript::MemoryBudgetExceeded, message);
    expectStopped("local s = string.rep('x', 1 << 30)", XLuaScript::MemoryBudgetExceeded, message);
    expectStopped("local s = 'x' while true do s = s .. s end", XLuaScript::MemoryBudgetExceeded, message);
    // Catching the memory error does not get around the cap.
    expectStopped("local keep = {} while true do pcall(function() while true do keep[#keep + 1] = {} end end) end",
                  XLuaScript::MemoryBudgetExceeded, message);
    expectStopped("while true do pcall(string.rep, 'x', 1e8) end",
                  XLuaScript::MemoryBudgetExceeded, message);
    // What a script keeps in globals stays: the state is full until the budget grows and it lets go.
    EXPECT_EQ(lua.RunScript(L"keep = {} for i = 1, 1e9 do keep[i] = {} end"), XLuaScript::MemoryBudgetExceeded);
    EXPECT_EQ(lua.RunScript(L"local s = string.rep('z', 1 << 20)"), XLuaScript::MemoryBudgetExceeded);
    lua.SetMemoryBudget(16u * 1024u * 1024u);
    // A buffer left by a stopped library call is let go by its finalizer, after one more collection.
    EXPECT_EQ(lua.RunScript(L"keep = nil collectgarbage() collectgarbage()"), XLuaScript::Ok);
    EXPECT_LT(lua.MemoryUsed(), 2u * 1024u * 1024u);
    lua.SetMemoryBudget(8u * 1024u * 1024u);
    // Garbage alone never trips the cap: it is collected before an allocation is refused.
    expectRuns("for i = 1, 200 do local s = string.rep('y', 100000) .. i end");
}

TEST_F(LuaSandbox, WhatTheScriptMakesThroughVelxCountsAgainstItsBudgets) {
    generousTime();
    const std::string memory = "script stopped: it used more than 8 MiB of memory";
    // Strings stored in the scene, objects, keys and log text live outside the script's own state.
    expectStopped("local s = string.rep('x', 1 << 20) for i = 1, 200 do "
                  "velx.set(velx.create('Transform', 'Note'), 'notes', s) end",
                  XLuaScript::MemoryBudgetExceeded, memory);
    expectStopped("for i = 1, 1e6 do velx.create('Transform', 'Crowd') end", XLuaScript::MemoryBudgetExceeded, memory);
    lua.SetMemoryBudget(256u << 10);  // keying is slow enough that a larger budget would take long
    EXPECT_EQ(lua.RunSceneScript(L"for i = 1, 1e6 do velx.set_key('Hero/Hips', 'translateX', i, i) end", L"keys", scene),
              XLuaScript::MemoryBudgetExceeded);
    EXPECT_EQ(XSceneFile::toJson(scene.Database().db()), before);
    lua.SetMemoryBudget(8u << 20);
    // A caught stop is no way around it.
    expectStopped("local s = string.rep('x', 1 << 20) while true do pcall(velx.set, 'Hero/Hips', 'notes', s .. 'a') "
                  "pcall(velx.set, 'Hero/Spine', 'notes', s .. 'b') pcall(velx.create, 'Transform', 'More') end",
                  XLuaScript::MemoryBudgetExceeded, memory);

    // A loop of slow velx calls runs too few instructions for the instruction count to notice:
    // the calls check the clock themselves.
    lua.SetTimeBudget(0.05);
    lua.SetMemoryBudget(std::size_t{1} << 32);
    expectStopped("local s = string.rep('x', 4 << 20) for i = 1, 400 do velx.set('Hero/Hips', 'notes', s) end",
                  XLuaScript::TimeBudgetExceeded, "script stopped: it ran longer than 0.05 s");
}

TEST_F(LuaSandbox, DeepRecursionIsAnErrorNotACrash) {
    generousTime();
    lua.SetMemoryBudget(256u * 1024u * 1024u);  // let Lua's own limits act first
    expectStopped("local function f(n) return 1 + f(n + 1) end f(1)", XLuaScript::RuntimeError, "stack overflow");
    expectStopped("local t = setmetatable({}, { __index = function(t, k) return t[k] end }) local x = t.a",
                  XLuaScript::RuntimeError, "stack overflow");
    expectStopped("local t = setmetatable({}, { __tostring = function(s) return tostring(s) end }) tostring(t)",
                  XLuaScript::RuntimeError, "stack overflow");
    expectStopped("local function f() return select(2, pcall(f)) end error(f())", XLuaScript::RuntimeError);
    expectStopped("local function g(s) return s:gsub('.', g) end g('ab')", XLuaScript::RuntimeError, "stack overflow");
    expectStopped("assert(load(string.rep('(', 100000) .. '1' .. string.rep(')', 100000)))", XLuaScript::RuntimeError,
                  "overflow");
    expectStopped(std::string(5000, '(') + "1" + std::string(5000, ')'), XLuaScript::SyntaxError);
    expectStopped("local function f() coroutine.wrap(f)() end f()", XLuaScript::RuntimeError, "C stack overflow");
    // Under the small cap a runaway recursion is stopped by memory or the stack, either way cleanly.
    lua.SetMemoryBudget(8u * 1024u * 1024u);
    const int status = lua.RunSceneScript(W(std::string(Prelude) + "local function f(n) return 1 + f(n + 1) end f(1)"),
                                          L"scene script", scene);
    EXPECT_TRUE(status == XLuaScript::RuntimeError || status == XLuaScript::MemoryBudgetExceeded) << status;
    EXPECT_EQ(XSceneFile::toJson(scene.Database().db()), before);
}

TEST_F(LuaSandbox, MetatableTricksReachNothing) {
    // A replaced global lookup finds nothing the sandbox left out.
    expectStopped("setmetatable(_G, { __index = function(_, k) return rawget(_G, k) end }) os.execute('true')",
                  XLuaScript::RuntimeError, "global 'os'");
    expectStopped("getmetatable('').__index.dump(print)", XLuaScript::RuntimeError, "field 'dump'");
    expectStopped("rawget(getmetatable(''), '__index').dump(print)", XLuaScript::RuntimeError, "field 'dump'");
    expectStopped("local s = getmetatable('') s.__index = function() return os end ('x').y()",
                  XLuaScript::RuntimeError);
    // Finalizers would run outside the time budget: refused, also when added afterwards.
    expectStopped("setmetatable({}, { __gc = function() while true do end end })", XLuaScript::RuntimeError,
                  "__gc finalizer");
    expectRuns(R"(
        local mt = {}
        local t = setmetatable({}, mt)
        mt.__gc = function() FINALIZED = true end
        t = nil
        collectgarbage() collectgarbage()
        assert(FINALIZED == nil)
        assert(not pcall(setmetatable, {}, { __gc = false }))
    )");
    // velx itself survives a script that replaces its fields for itself only.
    expectStopped("velx.create = nil velx.find = 5 error('x')", XLuaScript::RuntimeError);
    expectRuns("assert(velx.create == nil)");  // the state is the script's own
}

TEST_F(LuaSandbox, TheApplicationSettingsAreTheDefaultBudgets) {
    XLuaScript fresh(XLuaScript::Trust::Sandboxed);
    XScriptLimits& limits = XApplication::Instance().ScriptLimits();
    EXPECT_DOUBLE_EQ(fresh.TimeBudget(), limits.timeBudgetSeconds);
    EXPECT_EQ(fresh.MemoryBudget(), limits.memoryBudgetBytes);
    const XScriptLimits saved = limits;
    limits.timeBudgetSeconds = 0.1;
    limits.memoryBudgetBytes = 4u * 1024u * 1024u;
    EXPECT_EQ(fresh.RunScript(L"while true do end", L"s"), XLuaScript::TimeBudgetExceeded);
    EXPECT_NE(N(fresh.LastError()).find("0.1"), std::string::npos) << N(fresh.LastError());
    EXPECT_EQ(fresh.RunScript(L"local t = {} for i = 1, 1e9 do t[i] = {} end", L"s"), XLuaScript::MemoryBudgetExceeded);
    EXPECT_NE(N(fresh.LastError()).find("more than 4 MiB"), std::string::npos) << N(fresh.LastError());
    limits = saved;
}

TEST_F(LuaSandbox, TheLogCannotBeFlooded) {
    const std::size_t start = XApplication::Instance().LogLines().size();
    expectStopped("for i = 1, 1e9 do print(i) velx.log('line ' .. i) end", XLuaScript::TimeBudgetExceeded);
    const auto& log = XApplication::Instance().LogLines();
    EXPECT_LT(log.size() - start, 1010u);
    EXPECT_NE(std::find(log.begin() + static_cast<std::ptrdiff_t>(start), log.end(),
                        L"Lua: the script's further log lines in this run are dropped"),
              log.end());
    // Long lines and long error messages are cut.
    expectRuns("print(string.rep('x', 1000000))");
    EXPECT_LT(XApplication::Instance().LogLines().back().size(), 5000u);
    expectStopped("error(string.rep('y', 1000000))", XLuaScript::RuntimeError);
    EXPECT_LT(lua.LastError().size(), 5000u);
    // Few long lines: a run writes at most 256 KiB, then says the rest is dropped.
    const std::size_t before = XApplication::Instance().LogLines().size();
    expectRuns("for i = 1, 100 do print(string.rep('z', 4000)) velx.log(string.rep('w', 4000)) end");
    std::size_t written = 0;
    for (std::size_t i = before; i < log.size(); ++i) written += log[i].size();
    EXPECT_LE(written, 256u * 1024u + 200u);
    EXPECT_GT(written, 200u * 1024u);
    EXPECT_EQ(log.back(), L"Lua: the script's further log lines in this run are dropped");
}

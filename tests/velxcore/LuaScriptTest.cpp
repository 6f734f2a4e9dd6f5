// The Lua runtime: values held from C++, runs and their errors, calls into global tables, the
// velx module on a scene, scene scripts that roll back, and the examples of docs/scripting.md.

#include <velxcore/LuaObject.h>
#include <velxcore/XApplication.h>
#include <velxcore/XDemoScene.h>
#include <velxcore/XLuaScript.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneFile.h>
#include <velxcore/XScriptApi.h>
#include <velxcore/XScriptBase.h>

#include <veldatabase/Database.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

using namespace VelX;
using LuaPlus::LuaObject;

namespace {

std::wstring W(const std::string& s) { return std::wstring(s.begin(), s.end()); }

// Log lines written since it was made.
class LogWatch {
public:
    LogWatch() : m_start(XApplication::Instance().LogLines().size()) {}
    std::vector<std::wstring> lines() const {
        const auto& all = XApplication::Instance().LogLines();
        return std::vector<std::wstring>(all.begin() + static_cast<std::ptrdiff_t>(m_start), all.end());
    }
    int count(const std::wstring& part) const {
        int n = 0;
        for (const std::wstring& line : lines()) n += line.find(part) != std::wstring::npos;
        return n;
    }

private:
    std::size_t m_start;
};

// A trusted state working on a scene of its own.
struct ScriptedScene {
    XScene scene;
    XLuaScript lua;
    ScriptedScene() { lua.SetScene(&scene); }
    int run(const std::string& text) { return lua.RunScript(W(text), L"test"); }
    std::string json() { return XSceneFile::toJson(scene.Database().db()); }
};

}  // namespace

// ---- LuaObject ----------------------------------------------------------------------------------

TEST(LuaObject, ReadsNestedTablesStringsNumbersAndNil) {
    XLuaScript lua;
    ASSERT_EQ(lua.RunScript(LR"(
        Data = {}
        function Data.build()
          return { name = "Grüße", count = 3, ratio = 2.5, whole = 4.0, flag = false,
                   items = { 10, "x", { true }, 1e100 } }
        end)"), 0);
    LuaObject o = lua.CallFunction("Data", "build");
    ASSERT_TRUE(o.IsTable());
    EXPECT_EQ(o.GetTableCount(), 0);  // no sequence part
    EXPECT_EQ(o["name"].GetString(), "Grüße");
    EXPECT_EQ(o["name"].GetWString(), L"Grüße");
    EXPECT_TRUE(o["count"].IsInteger());
    EXPECT_EQ(o["count"].GetInteger(), 3);
    EXPECT_FALSE(o["ratio"].IsInteger());
    EXPECT_DOUBLE_EQ(o["ratio"].GetNumber(), 2.5);
    EXPECT_EQ(o["ratio"].GetInteger(), 2);
    EXPECT_EQ(o["whole"].ToString(), "4.0");  // a float keeps looking like one
    EXPECT_FALSE(o["flag"].GetBoolean());

    LuaObject items = o["items"];
    ASSERT_TRUE(items.IsTable());
    EXPECT_EQ(items.GetTableCount(), 4);
    EXPECT_EQ(items[1].GetInteger(), 10);
    EXPECT_EQ(items[1].GetString(), "10");  // numbers read as text, like Lua
    EXPECT_TRUE(items[3][1].GetBoolean());
    EXPECT_EQ(items[4].ToString(), "1e+100");
    EXPECT_EQ(items[4].GetInteger(), 0);  // out of range
    EXPECT_EQ(items.ToString().rfind("table: 0x", 0), 0u);

    // Missing keys, wrong kinds and out-of-range indexes read as nil, never fail.
    EXPECT_TRUE(o["missing"].IsNil());
    EXPECT_TRUE(items[0].IsNil());
    EXPECT_TRUE(items[99].IsNil());
    EXPECT_TRUE(items[2][1].IsNil());
    EXPECT_TRUE(o["name"]["x"].IsNil());
    EXPECT_EQ(LuaObject().ToString(), "nil");
}

TEST(LuaObject, OutlivesItsStateWithoutTouchingIt) {
    LuaObject table, copy, text;
    {
        XLuaScript lua;
        ASSERT_EQ(lua.RunScript(L"T = { make = function() return { 1, 2, 3, label = 'kept' } end }"), 0);
        table = lua.CallFunction("T", "make");
        copy = table;
        text = table["label"];
        ASSERT_EQ(copy.GetTableCount(), 3);
        EXPECT_TRUE(copy.IsStateAlive());
    }
    // The table is gone with its state; what was copied out stays readable.
    EXPECT_FALSE(table.IsStateAlive());
    EXPECT_TRUE(copy.IsTable());
    EXPECT_EQ(copy.GetTableCount(), 0);
    EXPECT_TRUE(copy[1].IsNil());
    EXPECT_TRUE(copy["label"].IsNil());
    EXPECT_EQ(copy.ToString(), "table: (nil)");
    EXPECT_EQ(text.GetString(), "kept");
    table = LuaObject();
    copy = LuaObject();  // the last copy goes: nothing to release any more
}

TEST(LuaObject, TheLastCopyReleasesTheValue) {
    XLuaScript lua;
    ASSERT_EQ(lua.RunScript(L"Big = { make = function() local t = {} for i = 1, 100000 do t[i] = i end return t end }"),
              0);
    lua.RunScript(L"collectgarbage() collectgarbage()");
    const std::size_t before = lua.MemoryUsed();
    {
        LuaObject held = lua.CallFunction("Big", "make");
        LuaObject second = held;
        ASSERT_EQ(held.GetTableCount(), 100000);
        lua.RunScript(L"collectgarbage() collectgarbage()");
        EXPECT_GT(lua.MemoryUsed(), before + 1000000);  // pinned while held
        held = LuaObject();
        lua.RunScript(L"collectgarbage() collectgarbage()");
        EXPECT_GT(lua.MemoryUsed(), before + 1000000);  // the copy still pins it
        EXPECT_EQ(second[100000].GetInteger(), 100000);
    }
    lua.RunScript(L"collectgarbage() collectgarbage()");
    EXPECT_LT(lua.MemoryUsed(), before + 100000);
}

// ---- Runs and calls -----------------------------------------------------------------------------

TEST(LuaRun, ErrorsNameTheScriptAndLine) {
    XLuaScript lua;
    LogWatch log;
    EXPECT_EQ(lua.RunScript(L"local a = 1\n\njump()\n", L"simulation start script"), XLuaScript::RuntimeError);
    EXPECT_EQ(lua.LastError(), L"simulation start script:3: attempt to call a nil value (global 'jump')");
    EXPECT_EQ(log.count(L"simulation start script:3: attempt to call a nil value"), 1);

    EXPECT_EQ(lua.RunScript(L"x = 1\ny = = 2", L"update"), XLuaScript::SyntaxError);
    EXPECT_EQ(lua.LastError().rfind(L"update:2:", 0), 0u);
    // Error objects that are not text still name the script.
    EXPECT_EQ(lua.RunScript(L"error({})", L"end script"), XLuaScript::RuntimeError);
    EXPECT_EQ(lua.LastError(), L"end script: (error object is a table value)");
    EXPECT_EQ(lua.RunScript(L"error('plain', 0)", L"end script"), XLuaScript::RuntimeError);
    EXPECT_EQ(lua.LastError(), L"end script: plain");
    // Text only, even for the trusted state.
    EXPECT_EQ(lua.RunScript(L"\x1bLua\x54\x00", L"blob"), XLuaScript::SyntaxError);
    EXPECT_NE(lua.LastError().find(L"binary"), std::wstring::npos);

    EXPECT_EQ(lua.RunScript(L"return 1"), XLuaScript::Ok);
    EXPECT_TRUE(lua.LastError().empty());
}

TEST(LuaRun, CallFunctionFailuresGiveNilAndAreLoggedOnce) {
    XLuaScript lua;
    ASSERT_EQ(lua.RunScript(LR"(
        Editor = { count = 0 }
        function Editor.fail(what) error("cannot describe " .. what) end
        function Editor.describe(path, depth) Editor.count = Editor.count + 1 return path .. "/" .. depth end
        NotATable = 5)"),
              0);
    LogWatch log;
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(lua.CallFunction("Missing", "describe", L"Hero").IsNil());
        EXPECT_TRUE(lua.CallFunction("NotATable", "describe", L"Hero").IsNil());
        EXPECT_TRUE(lua.CallFunction("Editor", "absent", L"Hero").IsNil());
        EXPECT_TRUE(lua.CallFunction("Editor", "fail", L"Hero").IsNil());
    }
    EXPECT_TRUE(lua.CallFunction("Editor", "fail", L"Hips").IsNil());  // another message
    EXPECT_EQ(log.count(L"Lua: Missing.describe: there is no table 'Missing'"), 1);
    EXPECT_EQ(log.count(L"Lua: NotATable.describe: there is no table 'NotATable'"), 1);
    EXPECT_EQ(log.count(L"Lua: Editor.absent: table 'Editor' has no function 'absent'"), 1);
    EXPECT_EQ(log.count(L"Lua: Editor.fail: script:3: cannot describe Hero"), 1);
    EXPECT_EQ(log.count(L"cannot describe Hips"), 1);
    EXPECT_EQ(log.lines().size(), 5u);

    LuaObject r = lua.CallFunction("Editor", "describe", L"Hero/Hips", 2);
    EXPECT_EQ(r.GetString(), "Hero/Hips/2");
    EXPECT_TRUE(lua.LastError().empty());
    EXPECT_TRUE(lua.CallFunction("Editor", "describe", std::string("a"), true).IsNil());  // concat of a boolean fails
    EXPECT_TRUE(lua.CallFunction(nullptr, "describe").IsNil());
}

TEST(LuaRun, EndlessLoopsOfTheApplicationScriptStopWithinTheBudget) {
    XLuaScript lua;
    lua.SetTimeBudget(0.2);
    ASSERT_EQ(lua.RunScript(L"Spin = { forever = function() while true do end end }"), 0);
    LogWatch log;
    EXPECT_EQ(lua.RunScript(L"local n = 0\nwhile true do n = n + 1 end", L"loop"), XLuaScript::TimeBudgetExceeded);
    EXPECT_EQ(lua.LastError(), L"loop:2: script stopped: it ran longer than 0.2 s (the time budget in the settings)");
    EXPECT_TRUE(lua.CallFunction("Spin", "forever").IsNil());
    EXPECT_EQ(log.count(L"Spin.forever: script:1: script stopped: it ran longer than 0.2 s"), 1);
    // The state is fine afterwards, with the full budget again.
    EXPECT_EQ(lua.RunScript(L"local s = 0 for i = 1, 1000 do s = s + i end assert(s == 500500)"), 0);
}

TEST(LuaRun, PatternFunctionsKeepLuasRulesAndResults) {
    XLuaScript lua;
    EXPECT_EQ(lua.RunScript(LR"LUA(
        local function same(a, b) assert(a == b, tostring(a) .. " ~= " .. tostring(b)) end
        local function pack(...) return {n = select('#', ...), ...} end
        -- find: plain, positions, captures, anchors, init, zeros in pattern and subject
        same(string.find("hello world", "o w"), 5)
        same(select(2, string.find("hello world", "o w")), 7)
        same(string.find("a.b", ".", 1, true), 2)
        same(string.find("abc", "b", -1), nil)
        same(string.find("abc", "", 10), nil)
        same(string.find("abc", "", 4), 4)
        local r = pack(string.find("key = value", "(%w+)%s*=%s*(%w+)"))
        same(r.n, 4) same(r[1], 1) same(r[3], "key") same(r[4], "value")
        same(string.find("a\0b", "\0", 1, true), 2)
        same(string.find("a\0b", "%z") or string.find("a\0b", "[\0]"), 2)
        same(string.find("xabc", "^abc"), nil)
        same(string.find("abc", "c$"), 3)
        -- match: classes, sets, ranges, negations, quantifiers, position captures, back references
        same(string.match("  trim me  ", "^%s*(.-)%s*$"), "trim me")
        same(string.match("2026-11-25", "(%d+)-(%d+)"), "2026")
        same(select(2, string.match("2026-11-25", "(%d+)-(%d+)")), "11")
        same(string.match("hello", "()ll()"), 3)
        same(string.match("x = 'quoted' y", "(['\"])(.-)%1"), "'")
        same(select(2, string.match("x = 'quoted' y", "(['\"])(.-)%1")), "quoted")
        same(string.match("THE (quick) fox", "%((%a+)%)"), "quick")
        same(string.match("f(a(b)c)d", "%b()"), "(a(b)c)")
        same(string.match("THE (quick) fox", "%f[%a]%a+", 5), "quick")
        same(string.match("abc123", "[^%d]+"), "abc")
        same(string.match("abc123", "[a-b]+"), "ab")
        same(string.match("aaa", "a-b"), nil)
        same(string.match("aaab", "a-b"), "aaab")
        same(string.match("ab", "a?b"), "ab")
        same(string.match("b", "a?b"), "b")
        same(string.match("Hello", "%u%l+"), "Hello")
        same(string.match("0x1F", "0x(%x+)"), "1F")
        -- gmatch with init, gsub with strings, tables, functions, limits and %0
        local words = {}
        for w in string.gmatch("one two three", "%a+") do words[#words + 1] = w end
        same(#words, 3) same(words[3], "three")
        local pairs_ = {}
        for k, v in ("a=1, b=2"):gmatch("(%w+)=(%w+)") do pairs_[k] = v end
        same(pairs_.b, "2")
        local from = {}
        for w in string.gmatch("one two", "%a+", 4) do from[#from + 1] = w end
        same(from[1], "two")
        same(string.gsub("hello world", "o", "0"), "hell0 w0rld")
        same(select(2, string.gsub("hello world", "o", "0")), 2)
        same(string.gsub("hello world", "(%w+)", "<%1>"), "<hello> <world>")
        same(string.gsub("hello", "", "-"), "-h-e-l-l-o-")
        same(string.gsub("abc", "%w", "%0%0"), "aabbcc")
        same(string.gsub("abc", "%w", "%%"), "%%%")
        same(string.gsub("$name is $age", "%$(%w+)", {name = "Ann", age = 7}), "Ann is 7")
        same(string.gsub("1 2 3", "%d", function(d) return d * 2 end), "2 4 6")
        same(string.gsub("keep", "%w", function() return nil end), "keep")
        same(string.gsub("aaa", "a", "b", 2), "bba")
        same(string.gsub("abc", "^a", "x"), "xbc")
        same(("x"):rep(3):gsub("x", "y"), "yyy")
        -- Lua's own error messages
        local function fails(f, message)
          local ok, e = pcall(f)
          assert(not ok and e:find(message, 1, true), message .. " was " .. tostring(e))
        end
        fails(function() string.find("a", "%") end, "malformed pattern (ends with '%')")
        fails(function() string.find("a", "[a") end, "malformed pattern (missing ']')")
        fails(function() string.find("a", "(a") end, "unfinished capture")
        fails(function() string.match("a", "a)") end, "invalid pattern capture")
        fails(function() string.find("a", "%1") end, "invalid capture index %1")
        fails(function() string.gsub("a", "a", "%2") end, "invalid capture index %2")
        fails(function() string.gsub("a", "a", "%x") end, "invalid use of '%' in replacement string")
        fails(function() string.gsub("a", "a", true) end, "string/function/table")
        fails(function() string.find(string.rep("a", 300), string.rep("(", 40) .. "a") end, "too many captures")
        fails(function() string.find("a", "%f") end, "missing '[' after '%f' in pattern")
    )LUA", L"patterns"),
              0)
        << std::string(lua.LastError().begin(), lua.LastError().end());
}

TEST(LuaRun, APatternThatBacktracksWithoutEndStopsWithinTheBudget) {
    const std::wstring stopped = L"script stopped: it ran longer than 0.2 s";
    for (const XLuaScript::Trust trust : {XLuaScript::Trust::Application, XLuaScript::Trust::Sandboxed}) {
        XLuaScript lua(trust);
        lua.SetTimeBudget(0.2);
        for (const wchar_t* call : {L"string.find(s, p)", L"string.match(s, p)", L"string.gsub(s, p, '')",
                                    L"for _ in string.gmatch(s, p) do end", L"pcall(string.find, s, p) while true do end"}) {
            const std::wstring text =
                L"local s = string.rep('a', 40) local p = string.rep('a*', 30) .. 'b'\n" + std::wstring(call);
            EXPECT_EQ(lua.RunScript(text, L"backtrack"), XLuaScript::TimeBudgetExceeded) << call;
            EXPECT_NE(lua.LastError().find(stopped), std::wstring::npos) << lua.LastError().c_str();
        }
        EXPECT_EQ(lua.RunScript(L"assert(string.find(string.rep('a', 40), 'a*b') == nil)"), 0);
    }
}

// ---- XScriptBase ---------------------------------------------------------------------------------

namespace {
class TestEditor : public XScriptBase {
public:
    LuaObject describe(const std::wstring& path) { return runLuaFunctionReturnObject("TestEditor", "describe", path); }
    LuaObject describe(const std::wstring& path, int depth) {
        return runLuaFunctionReturnObject("TestEditor", "describe", path, depth);
    }
};
}  // namespace

TEST(LuaScriptBase, EditorsCallTheApplicationScript) {
    XLuaScript& app = XApplication::Instance().LuaScript();
    EXPECT_EQ(&app, &XApplication::Instance().LuaScript());
    EXPECT_FALSE(app.IsSandboxed());
    ASSERT_EQ(app.RunScript(LR"lua(
        TestEditor = {}
        function TestEditor.describe(path, depth)
          if path == "none" then return nil end
          if depth == nil then return "just " .. path end
          return { path = path, depth = depth, parts = { path:match("(%w+)/(%w+)") } }
        end)lua"),
              0);
    TestEditor editor;
    EXPECT_EQ(editor.describe(L"Hero").GetString(), "just Hero");
    EXPECT_TRUE(editor.describe(L"none").IsNil());
    LuaObject t = editor.describe(L"Hero/Hips", 3);
    ASSERT_TRUE(t.IsTable());
    EXPECT_EQ(t["path"].GetWString(), L"Hero/Hips");
    EXPECT_EQ(t["depth"].GetInteger(), 3);
    EXPECT_EQ(t["parts"].GetTableCount(), 2);
    EXPECT_EQ(t["parts"][2].GetString(), "Hips");
}

// ---- The velx module ----------------------------------------------------------------------------

TEST(LuaVelx, CreateSetGetAndStructureRoundTrip) {
    ScriptedScene s;
    EXPECT_EQ(s.run(R"(
        local a = velx.create("Transform", "Arm")
        assert(a == "Arm")
        local b = velx.create("Joint", "Elbow", a)
        assert(b == "Arm/Elbow" and velx.type(b) == "Joint")
        assert(velx.create("Transform", "Arm") == "Arm1")     -- names are made unique
        assert(velx.exists("Arm/Elbow") and not velx.exists("Arm/Wrist") and not velx.exists(""))
        assert(velx.find("Arm/Elbow") == "Arm/Elbow" and velx.find("Nope") == nil)

        velx.set(b, "translateX", 2.5)
        assert(velx.get(b, "translateX") == 2.5)
        velx.set(b, "visibility", false)
        assert(velx.get(b, "visibility") == false)
        velx.set(b, "rotateOrder", "zyx")
        assert(velx.get(b, "rotateOrder") == "zyx")

        local m = velx.get(b, "worldMatrix")
        assert(#m == 16 and m[13] == 2.5 and m[16] == 1)        -- translation in the last row

        local kids = velx.children("Arm")
        assert(#kids == 1 and kids[1] == "Arm/Elbow")
        local joints = velx.find_by_type("Joint")
        assert(#joints == 1)
        assert(#velx.find_by_type("Transform", true) == 2)       -- not the joint
        assert(#velx.find_by_type("Transform") == 3)

        local moved = velx.reparent(b, nil)
        assert(moved == "Elbow")
        assert(velx.rename(moved, "Knee") == "Knee")
        velx.select({"Knee", "Arm"})
        local sel = velx.selection()
        assert(#sel == 2 and sel[1] == "Knee" and sel[2] == "Arm")
        velx.select("Arm1")
        assert(velx.selection()[1] == "Arm1")
        velx.select(nil)
        assert(#velx.selection() == 0)

        velx.connect("Arm.translateX", "Knee.translateY")
        velx.set("Arm", "translateX", 7)
        assert(velx.get("Knee", "translateY") == 7)
        velx.disconnect("Knee.translateY")
    )"),
              0)
        << std::string(s.lua.LastError().begin(), s.lua.LastError().end());
}

TEST(LuaVelx, KeysFramesBlocksAndUndo) {
    ScriptedScene s;
    ASSERT_EQ(s.run(R"(
        velx.create("Transform", "Ball")
        velx.set_key("Ball", "translateY", 1, 0)
        velx.set_key("Ball", "translateY", 11, 5)
        velx.set_frame(11)
        assert(velx.frame() == 11)
        assert(math.abs(velx.get("Ball", "translateY") - 5) < 1e-6)
        velx.set_frame(6)
        local y = velx.get("Ball", "translateY")
        assert(y > 0 and y < 5)
        velx.set_frame(11)
        velx.set_key("Ball", "translateY", nil, 3)               -- at the current frame
        assert(math.abs(velx.get("Ball", "translateY") - 3) < 1e-6)
        velx.set_key("Ball", "translateY", 6)                     -- the current value, at frame 6
        assert(velx.frame() == 11)
        velx.set_keys("Ball", "translateY", {21, 31}, {7, 8})
        velx.set_frame(31)
        assert(math.abs(velx.get("Ball", "translateY") - 8) < 1e-6)
        velx.clear_keys("Ball", "translateY")

        velx.begin_block()
        velx.create("Transform", "One")
        velx.begin_block()
        velx.create("Transform", "Two")
        velx.end_block()
        velx.end_block("Create Two")
        assert(velx.undo() == true)
        assert(not velx.exists("One") and not velx.exists("Two"))
        assert(velx.redo() == true)
        assert(velx.exists("One") and velx.exists("Two"))
        assert(velx.redo() == false)
    )"),
              0)
        << std::string(s.lua.LastError().begin(), s.lua.LastError().end());
    EXPECT_EQ(s.scene.Database().UndoName(), L"Create Two");
    EXPECT_EQ(s.scene.Database().db().blockDepth(), 0);
}

TEST(LuaVelx, MistakesAreLuaErrorsNamingTheFunction) {
    ScriptedScene s;
    const std::string before = s.json();
    ASSERT_EQ(s.run(R"(
        local function fails(pattern, f, ...)
          local ok, message = pcall(f, ...)
          assert(not ok, "expected a failure: " .. pattern)
          assert(message:find(pattern, 1, true), message)
        end
        fails("velx.get: no object at 'Nope'", velx.get, "Nope", "translateX")
        fails("velx.set: argument 2 (attribute) must be a string, not nil", velx.set, "SceneSettings")
        fails("velx.create: cannot create an object of type 'Object'", velx.create, "Object", "x")
        fails("velx.create: cannot create an object of type 'Banana'", velx.create, "Banana", "x")
        fails("velx.set: argument 3: a function cannot be passed to velx", velx.set, "SceneSettings", "notes", print)
        fails("only lists", velx.select, { a = 1 })
        fails("without holes", velx.select, { "SceneSettings", nil, "SceneSettings" })
        local loop = {} loop[1] = loop
        fails("nested more than 32 deep", velx.select, loop)
        fails("velx.end_block: end_block without begin_block", velx.end_block)
        fails("velx.set_frame: the frame must be a finite number", velx.set_frame, 0/0)
        fails("velx.call: velx has no function 'nothing'", velx.call, "nothing")
        assert(velx.nothing == nil)
    )"),
              0)
        << std::string(s.lua.LastError().begin(), s.lua.LastError().end());
    EXPECT_EQ(s.json(), before);

    // An uncaught one names the script and line of the call.
    EXPECT_EQ(s.run("local x = 1\nvelx.delete('Ghost')"), XLuaScript::RuntimeError);
    EXPECT_EQ(s.lua.LastError(), L"test:2: velx.delete: no object at 'Ghost'");
}

TEST(LuaVelx, PluginFunctionsAreFoundWhenUsed) {
    ScriptedScene s;
    XScriptFunctions& functions = XApplication::Instance().ScriptFunctions();
    ASSERT_EQ(s.run("early = velx.lua_test_twice"), 0);
    ASSERT_TRUE(functions.add(
        "lua_test_twice",
        [](const std::vector<db::Value>& a) -> db::Value {
            if (a.size() != 1 || a[0].is<std::string>()) throw XScriptError("give me one number");
            return db::Value(a[0].asDouble() * 2);
        },
        "lua-test"));
    ASSERT_TRUE(functions.add(
        "lua_test_crash", [](const std::vector<db::Value>&) -> db::Value { throw std::runtime_error("boom"); }, "lua-test"));
    ASSERT_TRUE(functions.add(
        "lua_test_echo", [](const std::vector<db::Value>& a) { return db::Value(db::ValueList(a)); }, "lua-test"));
    EXPECT_EQ(s.run(R"(
        assert(early == nil)
        assert(velx.lua_test_twice(21) == 42)
        assert(velx.call("lua_test_twice", 2) == 4)
        local ok, message = pcall(velx.lua_test_twice, "x")
        assert(not ok and message == "velx.lua_test_twice: give me one number", message)
        ok, message = pcall(velx.lua_test_crash)
        assert(not ok and message == "velx.lua_test_crash: internal error: boom", message)
        local e = velx.lua_test_echo(1, "two", {3, {4.5}}, true)
        assert(e[1] == 1 and e[2] == "two" and e[3][2][1] == 4.5 and e[4] == true)
        held = velx.lua_test_twice
    )"),
              0)
        << std::string(s.lua.LastError().begin(), s.lua.LastError().end());
    functions.removeOwnedBy("lua-test");
    EXPECT_EQ(s.run(R"(
        assert(velx.lua_test_twice == nil)
        local ok, message = pcall(held, 1)
        assert(not ok and message:find("velx has no function 'lua_test_twice'", 1, true), message)
    )"),
              0)
        << std::string(s.lua.LastError().begin(), s.lua.LastError().end());
}

TEST(LuaVelx, WorksOnTheActiveSceneWhenNotBound) {
    XLuaScript lua;
    XScene& active = XApplication::Instance().ActiveScene();
    EXPECT_EQ(&lua.Scene(), &active);
    ASSERT_EQ(lua.RunScript(L"LuaActiveProbe = velx.create('Transform', 'LuaActiveProbe')"), 0);
    EXPECT_TRUE(active.Database().Object(L"LuaActiveProbe").IsValid());
    ASSERT_EQ(lua.RunScript(L"velx.delete(LuaActiveProbe)"), 0);
}

TEST(LuaVelx, BlocksLeftOpenAreEndedAfterTheRun) {
    ScriptedScene s;
    LogWatch log;
    EXPECT_EQ(s.run("velx.begin_block() velx.begin_block() velx.create('Transform', 'Open') error('stop')"),
              XLuaScript::RuntimeError);
    EXPECT_EQ(s.scene.Database().db().blockDepth(), 0);
    EXPECT_EQ(log.count(L"test: the script left 2 change block(s) open"), 1);
    EXPECT_TRUE(s.scene.Database().Object(L"Open").IsValid());
    EXPECT_TRUE(s.scene.Database().Undo());
    EXPECT_FALSE(s.scene.Database().Object(L"Open").IsValid());
}

// ---- Scene scripts ------------------------------------------------------------------------------

TEST(LuaSceneScript, SuccessIsOneUndoStepAndFailureRevertsEverything) {
    XScene scene;
    XDemoScene::build(scene);
    XLuaScript lua(XLuaScript::Trust::Sandboxed);
    db::Database& d = scene.Database().db();
    const std::string before = XSceneFile::toJson(d);
    const std::size_t undoSteps = d.undoCount();

    EXPECT_EQ(lua.RunSceneScript(LR"(
        velx.create("Transform", "Prop")
        velx.set("Hero/Hips", "translateX", 4)
        velx.begin_block()
        velx.set_frame(20)
        velx.select("Prop")
        velx.end_block()
        velx.delete("HandTarget")
        velx.rename("MainCamera", "Cam")
        error("changed my mind"))",
                                 L"start script", scene),
              XLuaScript::RuntimeError);
    EXPECT_EQ(XSceneFile::toJson(d), before);
    EXPECT_EQ(d.undoCount(), undoSteps);
    EXPECT_EQ(d.blockDepth(), 0);

    EXPECT_EQ(lua.RunSceneScript(L"velx.create('Transform', 'Prop') velx.begin_block() velx.set('Prop', 'translateZ', 2)",
                                 L"start script", scene),
              XLuaScript::Ok);
    EXPECT_EQ(d.undoCount(), undoSteps + 1);
    EXPECT_EQ(scene.Database().UndoName(), L"start script");
    EXPECT_EQ(d.blockDepth(), 0);
    ASSERT_TRUE(scene.Database().Undo());
    EXPECT_EQ(XSceneFile::toJson(d), before);

    // An end_block of a block the script did not begin cannot close the run's own block.
    EXPECT_EQ(lua.RunSceneScript(L"velx.create('Transform', 'X') velx.end_block()", L"s", scene),
              XLuaScript::RuntimeError);
    EXPECT_EQ(XSceneFile::toJson(d), before);

    // Refused while the scene has a block open, which a failure would revert.
    d.beginChangeBlock();
    EXPECT_EQ(lua.RunSceneScript(L"velx.create('Transform', 'Y')", L"s", scene), XLuaScript::BlockOpen);
    d.endChangeBlock();
    EXPECT_EQ(XSceneFile::toJson(d), before);
}

// ---- docs/scripting.md --------------------------------------------------------------------------

namespace {
std::vector<std::string> luaExamples() {
    const std::string path = VELX_SOURCE_DIR "/docs/scripting.md";
    std::ifstream in(path);
    if (!in) throw std::runtime_error("cannot read " + path);
    std::vector<std::string> blocks;
    std::string line, block;
    bool inside = false;
    while (std::getline(in, line)) {
        if (!inside && line == "```lua") {
            inside = true;
            block.clear();
        } else if (inside && line == "```") {
            inside = false;
            blocks.push_back(block);
        } else if (inside) {
            block += line + "\n";
        }
    }
    return blocks;
}
}  // namespace

TEST(LuaDocs, EveryExampleRunsInTheDemoScene) {
    const std::vector<std::string> examples = luaExamples();
    ASSERT_GE(examples.size(), 8u);
    for (std::size_t i = 0; i < examples.size(); ++i) {
        for (XLuaScript::Trust trust : {XLuaScript::Trust::Application, XLuaScript::Trust::Sandboxed}) {
            XScene scene;
            XDemoScene::build(scene);
            XLuaScript lua(trust);
            lua.SetScene(&scene);
            EXPECT_EQ(lua.RunScript(W(examples[i]), L"example " + std::to_wstring(i + 1)), 0)
                << std::string(lua.LastError().begin(), lua.LastError().end()) << "\n" << examples[i];
        }
    }
}

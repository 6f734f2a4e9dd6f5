#include <velxcore/XActiveScene.h>
#include <velxcore/XLog.h>
#include <velxcore/XScriptFunctions.h>
#include <velxcore/XScriptLimits.h>
#include <velxcore/XLuaVelxModule.h>
#include <velxcore/XScene.h>
#include <velxcore/XScriptApi.h>
#include <velxcore/XScriptBudget.h>

#include <veldatabase/Database.h>
#include <velutils/StringUtils.h>

#include <lua.hpp>

#include <algorithm>
#include <cstdio>
#include <new>
#include <limits>
#include <string>
#include <vector>

namespace VelX {

using Velutils::StringUtils;

namespace {

using Args = std::vector<db::Value>;
using Operation = db::Value (*)(XLuaVelxModule&, const Args&);

constexpr int MaxNesting = 32;

const char* kindOf(const db::Value& v) {
    if (v.isNone()) return "nil";
    if (v.is<bool>()) return "boolean";
    if (v.is<std::string>()) return "string";
    if (v.is<db::ValueList>()) return "table";
    return "number";
}

XScriptError badArgument(const Args& a, std::size_t i, const char* what, const char* wanted) {
    return XScriptError("argument " + std::to_string(i + 1) + " (" + what + ") must be " + wanted + ", not " +
                        (i < a.size() ? kindOf(a[i]) : "nil"));
}

const std::string& text(const Args& a, std::size_t i, const char* what) {
    if (i >= a.size() || !a[i].is<std::string>()) throw badArgument(a, i, what, "a string");
    return a[i].get<std::string>();
}

std::string optionalText(const Args& a, std::size_t i, const char* what) {
    if (i >= a.size() || a[i].isNone()) return {};
    return text(a, i, what);
}

bool isNumber(const db::Value& v) { return v.is<std::int32_t>() || v.is<float>() || v.is<double>(); }

double number(const Args& a, std::size_t i, const char* what) {
    if (i >= a.size() || !isNumber(a[i])) throw badArgument(a, i, what, "a number");
    return a[i].asDouble();
}

db::Value optionalNumber(const Args& a, std::size_t i, const char* what) {
    if (i >= a.size() || a[i].isNone()) return {};
    return db::Value(number(a, i, what));
}

bool optionalFlag(const Args& a, std::size_t i, const char* what, bool otherwise) {
    if (i >= a.size() || a[i].isNone()) return otherwise;
    if (!a[i].is<bool>()) throw badArgument(a, i, what, "true or false");
    return a[i].get<bool>();
}

db::Value argument(const Args& a, std::size_t i) { return i < a.size() ? a[i] : db::Value(); }

db::Value list(const std::vector<std::string>& items) {
    db::ValueList out;
    out.reserve(items.size());
    for (const std::string& item : items) out.emplace_back(item);
    return db::Value(std::move(out));
}

std::vector<std::string> paths(const Args& a, std::size_t i) {
    if (i >= a.size() || a[i].isNone()) return {};
    if (a[i].is<std::string>()) return {a[i].get<std::string>()};
    const db::ValueList* items = a[i].tryGet<db::ValueList>();
    if (!items) throw badArgument(a, i, "paths", "a path or a list of paths");
    std::vector<std::string> out;
    for (const db::Value& item : *items) {
        if (!item.is<std::string>()) throw XScriptError("argument 1 (paths) must list only paths (strings)");
        out.push_back(item.get<std::string>());
    }
    return out;
}

XScriptApi api(XLuaVelxModule& m) { return XScriptApi(m.Scene(), m.Budget()); }

// The operations, in the order of kOperations below.
db::Value opFind(XLuaVelxModule& m, const Args& a) {
    const std::string& path = text(a, 0, "path");
    return api(m).exists(path) ? db::Value(path) : db::Value();
}
db::Value opExists(XLuaVelxModule& m, const Args& a) { return db::Value(api(m).exists(text(a, 0, "path"))); }
db::Value opFindByType(XLuaVelxModule& m, const Args& a) {
    return list(api(m).findByType(text(a, 0, "type"), optionalFlag(a, 1, "exact", false)));
}
db::Value opChildren(XLuaVelxModule& m, const Args& a) { return list(api(m).children(optionalText(a, 0, "path"))); }
db::Value opType(XLuaVelxModule& m, const Args& a) { return db::Value(api(m).typeOf(text(a, 0, "path"))); }
db::Value opCreate(XLuaVelxModule& m, const Args& a) {
    return db::Value(api(m).create(text(a, 0, "type"), text(a, 1, "name"), optionalText(a, 2, "parent")));
}
db::Value opDelete(XLuaVelxModule& m, const Args& a) {
    api(m).remove(text(a, 0, "path"));
    return {};
}
db::Value opReparent(XLuaVelxModule& m, const Args& a) {
    return db::Value(api(m).reparent(text(a, 0, "path"), optionalText(a, 1, "parent")));
}
db::Value opRename(XLuaVelxModule& m, const Args& a) {
    return db::Value(api(m).rename(text(a, 0, "path"), text(a, 1, "name")));
}
db::Value opSelect(XLuaVelxModule& m, const Args& a) {
    api(m).select(paths(a, 0));
    return {};
}
db::Value opSelection(XLuaVelxModule& m, const Args&) { return list(api(m).selection()); }
db::Value opGet(XLuaVelxModule& m, const Args& a) { return api(m).get(text(a, 0, "path"), text(a, 1, "attribute")); }
db::Value opSet(XLuaVelxModule& m, const Args& a) {
    api(m).set(text(a, 0, "path"), text(a, 1, "attribute"), argument(a, 2));
    return {};
}
db::Value opAttributes(XLuaVelxModule& m, const Args& a) { return list(api(m).attributes(text(a, 0, "path"))); }
db::Value opConnect(XLuaVelxModule& m, const Args& a) {
    api(m).connect(text(a, 0, "source"), text(a, 1, "destination"));
    return {};
}
db::Value opDisconnect(XLuaVelxModule& m, const Args& a) {
    api(m).disconnect(text(a, 0, "destination"));
    return {};
}
db::Value opSetKey(XLuaVelxModule& m, const Args& a) {
    api(m).setKey(text(a, 0, "path"), text(a, 1, "attribute"), optionalNumber(a, 2, "frame"), optionalNumber(a, 3, "value"));
    return {};
}
db::Value opSetKeys(XLuaVelxModule& m, const Args& a) {
    api(m).setKeys(text(a, 0, "path"), text(a, 1, "attribute"), argument(a, 2), argument(a, 3));
    return {};
}
db::Value opClearKeys(XLuaVelxModule& m, const Args& a) {
    api(m).clearKeys(text(a, 0, "path"), text(a, 1, "attribute"));
    return {};
}
db::Value opFrame(XLuaVelxModule& m, const Args&) { return db::Value(api(m).frame()); }
db::Value opSetFrame(XLuaVelxModule& m, const Args& a) {
    api(m).setFrame(number(a, 0, "frame"));
    return {};
}
db::Value opBeginBlock(XLuaVelxModule& m, const Args&) {
    m.BeginBlock();
    return {};
}
db::Value opEndBlock(XLuaVelxModule& m, const Args& a) {
    m.EndBlock(optionalText(a, 0, "name"));
    return {};
}
db::Value opUndo(XLuaVelxModule& m, const Args&) { return db::Value(api(m).undo()); }
db::Value opRedo(XLuaVelxModule& m, const Args&) { return db::Value(api(m).redo()); }
db::Value opLog(XLuaVelxModule& m, const Args& a) {
    m.Scene();  // refuses once the state closes
    m.Log(!a.empty() && isNumber(a[0]) ? StringUtils::formatNumber(a[0].asDouble(), 0, 14) : text(a, 0, "text"));
    return {};
}
db::Value opCall(XLuaVelxModule& m, const Args& a) {
    const std::string& name = text(a, 0, "name");
    m.Scene();  // refuses once the state closes
    return XScriptFunctions::Shared().call(name, Args(a.begin() + 1, a.end()));
}

struct Entry {
    const char* name;
    Operation operation;
};

const Entry kOperations[] = {
    {"find", opFind},           {"exists", opExists},         {"find_by_type", opFindByType},
    {"children", opChildren},   {"type", opType},             {"create", opCreate},
    {"delete", opDelete},       {"reparent", opReparent},     {"rename", opRename},
    {"select", opSelect},       {"selection", opSelection},   {"get", opGet},
    {"set", opSet},             {"attributes", opAttributes}, {"connect", opConnect},
    {"disconnect", opDisconnect}, {"set_key", opSetKey}, {"set_keys", opSetKeys},      {"clear_keys", opClearKeys},
    {"frame", opFrame},         {"set_frame", opSetFrame},    {"begin_block", opBeginBlock},
    {"end_block", opEndBlock},  {"undo", opUndo},             {"redo", opRedo},
    {"log", opLog},             {"call", opCall},
};
constexpr int OperationCount = static_cast<int>(sizeof(kOperations) / sizeof(kOperations[0]));
constexpr int PluginOperation = -1;

int pushResult(lua_State* L) {
    XLuaVelxModule::PushValue(L, *static_cast<const db::Value*>(lua_touserdata(L, 1)));
    return 1;
}

constexpr std::size_t MessageSize = 1024;

// Runs one velx operation. C++ objects live only inside the inner scope; a script mistake leaves
// it as a copied message and only then becomes a Lua error, so no Lua error skips a destructor.
int dispatch(lua_State* L) {
    auto* module = static_cast<XLuaVelxModule*>(lua_touserdata(L, lua_upvalueindex(1)));
    const int operation = static_cast<int>(lua_tointeger(L, lua_upvalueindex(2)));
    const char* plugin = operation == PluginOperation ? lua_tostring(L, lua_upvalueindex(3)) : nullptr;
    char message[MessageSize];
    message[0] = '\0';
    int status = LUA_OK;
    {
        const char* name = plugin ? plugin : kOperations[operation].name;
        try {
            // A loop of velx calls runs few Lua instructions between them: check the clock here.
            if (module->Budget()) module->Budget()->CheckTime();
            Args args;
            const int count = lua_gettop(L);
            args.reserve(static_cast<std::size_t>(count));
            for (int i = 1; i <= count; ++i) {
                try {
                    args.push_back(XLuaVelxModule::ToValue(L, i));
                } catch (const XScriptError& e) {
                    throw XScriptError("argument " + std::to_string(i) + ": " + e.what());
                }
            }
            db::Value result;
            if (plugin) {
                module->Scene();  // refuses once the state closes
                result = XScriptFunctions::Shared().call(plugin, args);
            } else {
                result = kOperations[operation].operation(*module, args);
            }
            lua_settop(L, 0);
            if (!lua_checkstack(L, 3)) throw XScriptError("out of stack space");
            lua_pushcfunction(L, pushResult);
            lua_pushlightuserdata(L, &result);
            status = lua_pcall(L, 1, 1, 0);  // on failure the error is left on the stack
        } catch (const XScriptError& e) {
            std::snprintf(message, MessageSize, "velx.%s: %s", name, e.what());
        } catch (const XScriptStop& e) {
            std::snprintf(message, MessageSize, "%s", e.what());
        } catch (const std::bad_alloc&) {
            std::snprintf(message, MessageSize, "velx.%s: not enough memory", name);
        } catch (const std::exception& e) {
            std::snprintf(message, MessageSize, "velx.%s: internal error: %s", name, e.what());
        } catch (...) {
            std::snprintf(message, MessageSize, "velx.%s: internal error", name);
        }
    }
    if (message[0]) return luaL_error(L, "%s", message);
    if (status != LUA_OK) return lua_error(L);
    return 1;
}

// __index of velx: plug-in functions, looked up when used so that later plug-ins appear.
int pluginIndex(lua_State* L) {
    if (lua_type(L, 2) != LUA_TSTRING) return 0;
    bool known = false;
    try {
        known = XScriptFunctions::Shared().has(lua_tostring(L, 2));
    } catch (...) {
    }
    if (!known) return 0;
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_pushinteger(L, PluginOperation);
    lua_pushvalue(L, 2);
    lua_pushcclosure(L, dispatch, 3);
    return 1;
}

db::Value toValue(lua_State* L, int index, int depth) {
    switch (lua_type(L, index)) {
    case LUA_TNONE:
    case LUA_TNIL: return {};
    case LUA_TBOOLEAN: return db::Value(lua_toboolean(L, index) != 0);
    case LUA_TNUMBER:
        if (lua_isinteger(L, index)) {
            const lua_Integer i = lua_tointeger(L, index);
            if (i >= std::numeric_limits<std::int32_t>::min() && i <= std::numeric_limits<std::int32_t>::max())
                return db::Value(static_cast<std::int32_t>(i));
            return db::Value(static_cast<double>(i));
        }
        return db::Value(static_cast<double>(lua_tonumber(L, index)));
    case LUA_TSTRING: {
        std::size_t length = 0;
        const char* s = lua_tolstring(L, index, &length);
        return db::Value(std::string(s, length));
    }
    case LUA_TTABLE: {
        if (depth >= MaxNesting)
            throw XScriptError("tables nested more than " + std::to_string(MaxNesting) + " deep (or a table inside itself)");
        if (!lua_checkstack(L, 3)) throw XScriptError("tables nested too deeply");
        index = lua_absindex(L, index);
        const lua_Unsigned length = lua_rawlen(L, index);
        lua_Unsigned keys = 0;
        lua_pushnil(L);
        while (lua_next(L, index)) {
            lua_pop(L, 1);
            const bool listKey = lua_isinteger(L, -1) && lua_tointeger(L, -1) >= 1 &&
                                 static_cast<lua_Unsigned>(lua_tointeger(L, -1)) <= length;
            if (!listKey) {
                lua_pop(L, 1);
                throw XScriptError("only lists (tables with keys 1..n) can be passed to velx");
            }
            ++keys;
        }
        if (keys != length) throw XScriptError("only lists without holes can be passed to velx");
        db::ValueList out;
        out.reserve(static_cast<std::size_t>(length));
        for (lua_Unsigned i = 1; i <= length; ++i) {
            lua_rawgeti(L, index, static_cast<lua_Integer>(i));
            try {
                out.push_back(toValue(L, -1, depth + 1));
            } catch (...) {
                lua_pop(L, 1);
                throw;
            }
            lua_pop(L, 1);
        }
        return db::Value(std::move(out));
    }
    default: throw XScriptError(std::string("a ") + luaL_typename(L, index) + " cannot be passed to velx");
    }
}

void pushNumbers(lua_State* L, const float* numbers, int count) {
    lua_createtable(L, count, 0);
    for (int i = 0; i < count; ++i) {
        lua_pushnumber(L, static_cast<lua_Number>(numbers[i]));
        lua_rawseti(L, -2, i + 1);
    }
}

}  // namespace

XScene& XLuaVelxModule::Scene() const {
    if (m_closed) throw XScriptError("velx is not available while the script state closes");
    return m_scene ? *m_scene : XActiveScene::Get();
}

void XLuaVelxModule::BeginBlock() {
    XScene& scene = Scene();
    if (m_openBlocks > 0 && m_blockScene != &scene) throw XScriptError("a change block is open in another scene");
    XScriptApi(scene).beginBlock();
    m_blockScene = &scene;
    ++m_openBlocks;
}

void XLuaVelxModule::EndBlock(const std::string& description) {
    if (m_openBlocks == 0 || !m_blockScene) throw XScriptError("end_block without begin_block");
    XScriptApi(*m_blockScene).endBlock(description);
    if (--m_openBlocks == 0) m_blockScene = nullptr;
}

int XLuaVelxModule::CloseOpenBlocks() {
    const int count = m_openBlocks;
    for (; m_openBlocks > 0 && m_blockScene; --m_openBlocks) {
        if (m_blockScene->Database().db().blockDepth() > 0) m_blockScene->Database().EndChangeBlock();
    }
    ForgetOpenBlocks();
    return count;
}

void XLuaVelxModule::ForgetOpenBlocks() {
    m_openBlocks = 0;
    m_blockScene = nullptr;
}

void XLuaVelxModule::Log(const std::string& text) {
    if (m_log.IsUsedUp()) return;
    if (m_budget) m_budget->Charge(text.size());
    m_log.Write(text);
}

void XLuaVelxModule::Install(lua_State* L) {
    lua_createtable(L, 0, OperationCount);
    for (int i = 0; i < OperationCount; ++i) {
        lua_pushlightuserdata(L, this);
        lua_pushinteger(L, i);
        lua_pushcclosure(L, dispatch, 2);
        lua_setfield(L, -2, kOperations[i].name);
    }
    lua_createtable(L, 0, 1);
    lua_pushlightuserdata(L, this);
    lua_pushcclosure(L, pluginIndex, 1);
    lua_setfield(L, -2, "__index");
    lua_setmetatable(L, -2);
    lua_setglobal(L, "velx");
}

db::Value XLuaVelxModule::ToValue(lua_State* L, int index) { return toValue(L, index, 0); }

void XLuaVelxModule::PushValue(lua_State* L, const db::Value& value) {
    luaL_checkstack(L, 4, "value nested too deeply");
    if (value.isNone()) {
        lua_pushnil(L);
    } else if (const bool* b = value.tryGet<bool>()) {
        lua_pushboolean(L, *b);
    } else if (const std::int32_t* i = value.tryGet<std::int32_t>()) {
        lua_pushinteger(L, *i);
    } else if (const float* f = value.tryGet<float>()) {
        lua_pushnumber(L, static_cast<lua_Number>(*f));
    } else if (const double* d = value.tryGet<double>()) {
        lua_pushnumber(L, static_cast<lua_Number>(*d));
    } else if (const std::string* s = value.tryGet<std::string>()) {
        lua_pushlstring(L, s->data(), s->size());
    } else if (const Velutils::Vec3* v = value.tryGet<Velutils::Vec3>()) {
        const float numbers[3] = {v->x, v->y, v->z};
        pushNumbers(L, numbers, 3);
    } else if (const Velutils::Quat* q = value.tryGet<Velutils::Quat>()) {
        const float numbers[4] = {q->x, q->y, q->z, q->w};
        pushNumbers(L, numbers, 4);
    } else if (const Velutils::Matrix4* m = value.tryGet<Velutils::Matrix4>()) {
        pushNumbers(L, &m->m[0][0], 16);
    } else if (const db::ValueList* items = value.tryGet<db::ValueList>()) {
        lua_createtable(L, static_cast<int>(items->size()), 0);
        lua_Integer n = 0;
        for (const db::Value& item : *items) {
            PushValue(L, item);
            lua_rawseti(L, -2, ++n);
        }
    } else {
        lua_pushnil(L);
    }
}

}  // namespace VelX

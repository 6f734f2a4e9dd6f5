#include <velxcore/LuaObject.h>

#include <velutils/StringUtils.h>

#include <lua.hpp>

#include <cmath>
#include <cstdio>
#include <cstring>

namespace LuaPlus {

static_assert(LUA_EXTRASPACE >= sizeof(void*), "the state's extra space must hold a pointer");

struct LuaObject::Data {
    int type = LUA_TNIL;
    bool boolean = false;
    bool isInteger = false;
    lua_Integer integer = 0;
    lua_Number number = 0;
    std::string text;
    // Reference values: the main thread, the registry slot and the state's life token.
    lua_State* state = nullptr;
    int ref = LUA_NOREF;
    std::shared_ptr<bool> alive;

    bool reachable() const { return state && ref != LUA_NOREF && (!alive || *alive); }

    ~Data() {
        if (reachable() && lua_checkstack(state, 2)) luaL_unref(state, LUA_REGISTRYINDEX, ref);
    }
};

namespace {

// Allocating steps run in protected mode so that a refused allocation is an error, never a panic.
int refTop(lua_State* L) {
    int* out = static_cast<int*>(lua_touserdata(L, 1));
    lua_settop(L, 2);
    *out = luaL_ref(L, LUA_REGISTRYINDEX);
    return 0;
}

int rawGetString(lua_State* L) {
    const char* key = static_cast<const char*>(lua_touserdata(L, 2));
    lua_pushstring(L, key);
    lua_rawget(L, 1);
    return 1;
}

int pushText(lua_State* L) {
    const std::string* text = static_cast<const std::string*>(lua_touserdata(L, 1));
    lua_pushlstring(L, text->data(), text->size());
    return 1;
}

lua_State* mainThread(lua_State* L) {
    lua_rawgeti(L, LUA_REGISTRYINDEX, LUA_RIDX_MAINTHREAD);
    lua_State* main = lua_tothread(L, -1);
    lua_pop(L, 1);
    return main;
}

// Lua's own number format: integers plainly, floats with "%.14g" and ".0" when they look integral.
std::string numberText(bool isInteger, lua_Integer integer, lua_Number number) {
    char buffer[64];
    if (isInteger) {
        std::snprintf(buffer, sizeof buffer, LUA_INTEGER_FMT, integer);
        return buffer;
    }
    std::snprintf(buffer, sizeof buffer, LUA_NUMBER_FMT, number);
    if (std::strspn(buffer, "-0123456789") == std::strlen(buffer)) std::strcat(buffer, ".0");
    return buffer;
}

}  // namespace

void LuaObject::Anchor(lua_State* L, StateAnchor* anchor) {
    std::memcpy(lua_getextraspace(L), &anchor, sizeof anchor);
}

LuaObject::StateAnchor* LuaObject::AnchorOf(lua_State* L) {
    StateAnchor* anchor = nullptr;
    std::memcpy(&anchor, lua_getextraspace(L), sizeof anchor);
    return anchor;
}

LuaObject::LuaObject(lua_State* L, int index) {
    if (!L) return;
    const int type = lua_type(L, index);
    if (type == LUA_TNIL || type == LUA_TNONE) return;
    auto data = std::make_shared<Data>();
    data->type = type;
    switch (type) {
    case LUA_TBOOLEAN: data->boolean = lua_toboolean(L, index) != 0; break;
    case LUA_TNUMBER:
        data->isInteger = lua_isinteger(L, index) != 0;
        data->integer = lua_tointeger(L, index);
        data->number = lua_tonumber(L, index);
        break;
    case LUA_TSTRING: {
        std::size_t length = 0;
        const char* text = lua_tolstring(L, index, &length);
        data->text.assign(text, length);
        break;
    }
    default: {
        if (!lua_checkstack(L, 3)) return;  // no room: nil
        index = lua_absindex(L, index);
        int ref = LUA_NOREF;
        lua_pushcfunction(L, refTop);
        lua_pushlightuserdata(L, &ref);
        lua_pushvalue(L, index);
        if (lua_pcall(L, 2, 0, 0) != LUA_OK) {
            lua_pop(L, 1);
            return;
        }
        data->state = mainThread(L);
        data->ref = ref;
        if (StateAnchor* anchor = AnchorOf(data->state)) data->alive = anchor->alive;
        break;
    }
    }
    m_data = std::move(data);
}

bool LuaObject::IsNil() const { return !m_data; }
bool LuaObject::IsBoolean() const { return m_data && m_data->type == LUA_TBOOLEAN; }
bool LuaObject::IsNumber() const { return m_data && m_data->type == LUA_TNUMBER; }
bool LuaObject::IsInteger() const {
    if (!IsNumber()) return false;
    return m_data->isInteger || (std::isfinite(m_data->number) && std::floor(m_data->number) == m_data->number);
}
bool LuaObject::IsString() const { return m_data && m_data->type == LUA_TSTRING; }
bool LuaObject::IsTable() const { return m_data && m_data->type == LUA_TTABLE; }
bool LuaObject::IsFunction() const { return m_data && m_data->type == LUA_TFUNCTION; }
int LuaObject::Type() const { return m_data ? m_data->type : LUA_TNIL; }

const char* LuaObject::TypeName() const {
    switch (Type()) {
    case LUA_TNIL: return "nil";
    case LUA_TBOOLEAN: return "boolean";
    case LUA_TNUMBER: return "number";
    case LUA_TSTRING: return "string";
    case LUA_TTABLE: return "table";
    case LUA_TFUNCTION: return "function";
    case LUA_TTHREAD: return "thread";
    default: return "userdata";
    }
}

bool LuaObject::IsStateAlive() const { return !m_data || m_data->ref == LUA_NOREF || m_data->reachable(); }

int LuaObject::GetTableCount() const {
    if (!IsTable() || !m_data->reachable() || !lua_checkstack(m_data->state, 1)) return 0;
    lua_State* L = m_data->state;
    lua_rawgeti(L, LUA_REGISTRYINDEX, m_data->ref);
    const lua_Unsigned length = lua_rawlen(L, -1);
    lua_pop(L, 1);
    return length > 0x7fffffff ? 0x7fffffff : static_cast<int>(length);
}

LuaObject LuaObject::operator[](int index) const {
    if (!IsTable() || !m_data->reachable() || !lua_checkstack(m_data->state, 2)) return {};
    lua_State* L = m_data->state;
    lua_rawgeti(L, LUA_REGISTRYINDEX, m_data->ref);
    lua_rawgeti(L, -1, index);
    LuaObject element(L, -1);
    lua_pop(L, 2);
    return element;
}

LuaObject LuaObject::operator[](const char* key) const {
    if (!key || !IsTable() || !m_data->reachable() || !lua_checkstack(m_data->state, 4)) return {};
    lua_State* L = m_data->state;
    lua_pushcfunction(L, rawGetString);
    lua_rawgeti(L, LUA_REGISTRYINDEX, m_data->ref);
    lua_pushlightuserdata(L, const_cast<char*>(key));
    if (lua_pcall(L, 2, 1, 0) != LUA_OK) {
        lua_pop(L, 1);
        return {};
    }
    LuaObject element(L, -1);
    lua_pop(L, 1);
    return element;
}

std::string LuaObject::GetString() const {
    if (IsString()) return m_data->text;
    if (IsNumber()) return numberText(m_data->isInteger, m_data->integer, m_data->number);
    return {};
}

std::wstring LuaObject::GetWString() const { return Velutils::StringUtils::toWide(GetString()); }

std::int64_t LuaObject::GetInteger() const {
    if (!IsNumber()) return 0;
    if (m_data->isInteger) return m_data->integer;
    const double n = m_data->number;
    if (!std::isfinite(n) || n >= 9.2233720368547758e18 || n < -9.2233720368547758e18) return 0;
    return static_cast<std::int64_t>(n);
}

double LuaObject::GetNumber() const {
    if (!IsNumber()) return 0.0;
    return m_data->isInteger ? static_cast<double>(m_data->integer) : m_data->number;
}

bool LuaObject::GetBoolean() const {
    if (!m_data) return false;
    return m_data->type != LUA_TBOOLEAN || m_data->boolean;
}

std::string LuaObject::ToString() const {
    switch (Type()) {
    case LUA_TNIL: return "nil";
    case LUA_TBOOLEAN: return m_data->boolean ? "true" : "false";
    case LUA_TNUMBER: return numberText(m_data->isInteger, m_data->integer, m_data->number);
    case LUA_TSTRING: return m_data->text;
    default: break;
    }
    const void* address = nullptr;
    if (m_data->reachable() && lua_checkstack(m_data->state, 1)) {
        lua_rawgeti(m_data->state, LUA_REGISTRYINDEX, m_data->ref);
        address = lua_topointer(m_data->state, -1);
        lua_pop(m_data->state, 1);
    }
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%s: %p", TypeName(), address);
    return buffer;
}

bool LuaObject::Push(lua_State* L) const {
    if (!L || !lua_checkstack(L, 3)) return false;
    switch (Type()) {
    case LUA_TNIL: lua_pushnil(L); return true;
    case LUA_TBOOLEAN: lua_pushboolean(L, m_data->boolean); return true;
    case LUA_TNUMBER:
        if (m_data->isInteger) lua_pushinteger(L, m_data->integer);
        else lua_pushnumber(L, m_data->number);
        return true;
    case LUA_TSTRING:
        lua_pushcfunction(L, pushText);
        lua_pushlightuserdata(L, const_cast<std::string*>(&m_data->text));
        if (lua_pcall(L, 1, 1, 0) == LUA_OK) return true;
        lua_pop(L, 1);
        return false;
    default:
        if (!m_data->reachable() || mainThread(L) != m_data->state) return false;
        lua_rawgeti(L, LUA_REGISTRYINDEX, m_data->ref);
        return true;
    }
}

}  // namespace LuaPlus

// The pattern functions of Lua's string library, with the same matching rules, results and
// messages, and a step count that lets the time budget stop a match that backtracks without end.
// Lua errors leave these functions by a long jump: nothing here owns a resource or has a
// destructor to run.
#include "LuaPatternFunctions.h"

#include <lua.hpp>

#include <cctype>
#include <cstddef>
#include <cstring>

namespace VelX {

namespace {

constexpr int MaxCaptures = 32;          // LUA_MAXCAPTURES
constexpr int MaxMatchDepth = 200;       // nested match calls before "pattern too complex"
constexpr unsigned StepsPerCheck = 1u << 14;
constexpr std::ptrdiff_t CaptureUnfinished = -1;
constexpr std::ptrdiff_t CapturePosition = -2;
constexpr char Escape = '%';
const char* const Specials = "^$*+?.([%-";

LuaPatternFunctions::StepCheck s_check = nullptr;

struct MatchState {
    const char* sourceStart;
    const char* sourceEnd;
    const char* patternEnd;
    lua_State* L;
    int depth;  // match calls still allowed to nest
    unsigned char level;
    unsigned steps;
    struct {
        const char* start;
        std::ptrdiff_t length;
    } capture[MaxCaptures];
};

unsigned char uchar(char c) { return static_cast<unsigned char>(c); }

// Every StepsPerCheck steps the run's budget gets a say.
void step(MatchState* ms, unsigned count = 1) {
    const unsigned before = ms->steps;
    ms->steps += count;
    if (s_check && (before / StepsPerCheck != ms->steps / StepsPerCheck || count >= StepsPerCheck)) s_check(ms->L);
}

const char* match(MatchState* ms, const char* s, const char* p);

int checkCapture(MatchState* ms, int l) {
    l -= '1';
    if (l < 0 || l >= ms->level || ms->capture[l].length == CaptureUnfinished)
        return luaL_error(ms->L, "invalid capture index %%%d", l + 1);
    return l;
}

int captureToClose(MatchState* ms) {
    int level = ms->level;
    for (level--; level >= 0; level--)
        if (ms->capture[level].length == CaptureUnfinished) return level;
    return luaL_error(ms->L, "invalid pattern capture");
}

const char* classEnd(MatchState* ms, const char* p) {
    switch (*p++) {
    case Escape:
        if (p == ms->patternEnd) luaL_error(ms->L, "malformed pattern (ends with '%%')");
        return p + 1;
    case '[':
        if (*p == '^') p++;
        do {
            if (p == ms->patternEnd) luaL_error(ms->L, "malformed pattern (missing ']')");
            if (*(p++) == Escape && p < ms->patternEnd) p++;
        } while (*p != ']');
        return p + 1;
    default: return p;
    }
}

bool matchClass(int c, int cl) {
    bool result;
    switch (std::tolower(cl)) {
    case 'a': result = std::isalpha(c); break;
    case 'c': result = std::iscntrl(c); break;
    case 'd': result = std::isdigit(c); break;
    case 'g': result = std::isgraph(c); break;
    case 'l': result = std::islower(c); break;
    case 'p': result = std::ispunct(c); break;
    case 's': result = std::isspace(c); break;
    case 'u': result = std::isupper(c); break;
    case 'w': result = std::isalnum(c); break;
    case 'x': result = std::isxdigit(c); break;
    default: return cl == c;
    }
    return std::isupper(cl) ? !result : result;
}

bool matchBracketClass(int c, const char* p, const char* ec) {
    bool inside = true;
    if (*(p + 1) == '^') {
        inside = false;
        p++;
    }
    while (++p < ec) {
        if (*p == Escape) {
            p++;
            if (matchClass(c, uchar(*p))) return inside;
        } else if (*(p + 1) == '-' && p + 2 < ec) {
            p += 2;
            if (uchar(*(p - 2)) <= c && c <= uchar(*p)) return inside;
        } else if (uchar(*p) == c) {
            return inside;
        }
    }
    return !inside;
}

bool singleMatch(MatchState* ms, const char* s, const char* p, const char* ep) {
    if (s >= ms->sourceEnd) return false;
    const int c = uchar(*s);
    switch (*p) {
    case '.': return true;
    case Escape: return matchClass(c, uchar(*(p + 1)));
    case '[': return matchBracketClass(c, p, ep - 1);
    default: return uchar(*p) == c;
    }
}

const char* matchBalance(MatchState* ms, const char* s, const char* p) {
    if (p >= ms->patternEnd - 1) luaL_error(ms->L, "malformed pattern (missing arguments to '%%b')");
    if (s >= ms->sourceEnd || *s != *p) return nullptr;
    const char open = *p, close = *(p + 1);
    int depth = 1;
    while (++s < ms->sourceEnd) {
        step(ms);
        if (*s == close) {
            if (--depth == 0) return s + 1;
        } else if (*s == open) {
            depth++;
        }
    }
    return nullptr;
}

const char* maxExpand(MatchState* ms, const char* s, const char* p, const char* ep) {
    std::ptrdiff_t i = 0;
    while (singleMatch(ms, s + i, p, ep)) {
        step(ms);
        i++;
    }
    for (; i >= 0; i--) {
        if (const char* result = match(ms, s + i, ep + 1)) return result;
    }
    return nullptr;
}

const char* minExpand(MatchState* ms, const char* s, const char* p, const char* ep) {
    for (;;) {
        if (const char* result = match(ms, s, ep + 1)) return result;
        if (!singleMatch(ms, s, p, ep)) return nullptr;
        s++;
    }
}

const char* startCapture(MatchState* ms, const char* s, const char* p, std::ptrdiff_t what) {
    const int level = ms->level;
    if (level >= MaxCaptures) luaL_error(ms->L, "too many captures");
    ms->capture[level].start = s;
    ms->capture[level].length = what;
    ms->level = static_cast<unsigned char>(level + 1);
    const char* result = match(ms, s, p);
    if (!result) ms->level--;
    return result;
}

const char* endCapture(MatchState* ms, const char* s, const char* p) {
    const int l = captureToClose(ms);
    ms->capture[l].length = s - ms->capture[l].start;
    const char* result = match(ms, s, p);
    if (!result) ms->capture[l].length = CaptureUnfinished;
    return result;
}

const char* matchCapture(MatchState* ms, const char* s, int l) {
    l = checkCapture(ms, l);
    const std::size_t length = static_cast<std::size_t>(ms->capture[l].length);
    if (static_cast<std::size_t>(ms->sourceEnd - s) >= length && std::memcmp(ms->capture[l].start, s, length) == 0)
        return s + length;
    return nullptr;
}

const char* match(MatchState* ms, const char* s, const char* p) {
    if (ms->depth-- == 0) luaL_error(ms->L, "pattern too complex");
    step(ms);
    while (p != ms->patternEnd) {
        bool again = false;  // go on with the next pattern item at the new s and p
        bool ordinary = false;
        switch (*p) {
        case '(':
            s = *(p + 1) == ')' ? startCapture(ms, s, p + 2, CapturePosition) : startCapture(ms, s, p + 1, CaptureUnfinished);
            break;
        case ')': s = endCapture(ms, s, p + 1); break;
        case '$':
            if (p + 1 != ms->patternEnd) {
                ordinary = true;
                break;
            }
            s = s == ms->sourceEnd ? s : nullptr;
            break;
        case Escape:
            switch (*(p + 1)) {
            case 'b':
                s = matchBalance(ms, s, p + 2);
                if (s) {
                    p += 4;
                    again = true;
                }
                break;
            case 'f': {
                p += 2;
                if (*p != '[') luaL_error(ms->L, "missing '[' after '%%f' in pattern");
                const char* ep = classEnd(ms, p);
                const char previous = s == ms->sourceStart ? '\0' : *(s - 1);
                const char current = s < ms->sourceEnd ? *s : '\0';
                if (!matchBracketClass(uchar(previous), p, ep - 1) && matchBracketClass(uchar(current), p, ep - 1)) {
                    p = ep;
                    again = true;
                } else {
                    s = nullptr;
                }
                break;
            }
            case '0': case '1': case '2': case '3': case '4':
            case '5': case '6': case '7': case '8': case '9':
                s = matchCapture(ms, s, uchar(*(p + 1)));
                if (s) {
                    p += 2;
                    again = true;
                }
                break;
            default: ordinary = true;
            }
            break;
        default: ordinary = true;
        }
        if (ordinary) {
            const char* ep = classEnd(ms, p);
            if (!singleMatch(ms, s, p, ep)) {
                if (*ep == '*' || *ep == '?' || *ep == '-') {
                    p = ep + 1;
                    again = true;
                } else {
                    s = nullptr;
                }
            } else {
                switch (*ep) {
                case '?':
                    if (const char* result = match(ms, s + 1, ep + 1)) {
                        s = result;
                    } else {
                        p = ep + 1;
                        again = true;
                    }
                    break;
                case '+': s = maxExpand(ms, s + 1, p, ep); break;
                case '*': s = maxExpand(ms, s, p, ep); break;
                case '-': s = minExpand(ms, s, p, ep); break;
                default:
                    s++;
                    p = ep;
                    again = true;
                }
            }
        }
        if (!again) break;
        step(ms);
    }
    ms->depth++;
    return s;
}

// The capture's text (or, for a position capture, pushes the position and returns CapturePosition).
std::ptrdiff_t getCapture(MatchState* ms, int i, const char* s, const char* e, const char** capture) {
    if (i >= ms->level) {
        if (i != 0) luaL_error(ms->L, "invalid capture index %%%d", i + 1);
        *capture = s;
        return e - s;
    }
    const std::ptrdiff_t length = ms->capture[i].length;
    *capture = ms->capture[i].start;
    if (length == CaptureUnfinished) luaL_error(ms->L, "unfinished capture");
    else if (length == CapturePosition) lua_pushinteger(ms->L, (ms->capture[i].start - ms->sourceStart) + 1);
    return length;
}

void pushCapture(MatchState* ms, int i, const char* s, const char* e) {
    const char* capture;
    const std::ptrdiff_t length = getCapture(ms, i, s, e, &capture);
    if (length != CapturePosition) lua_pushlstring(ms->L, capture, static_cast<std::size_t>(length));
}

int pushCaptures(MatchState* ms, const char* s, const char* e) {
    const int levels = ms->level == 0 && s ? 1 : ms->level;
    luaL_checkstack(ms->L, levels, "too many captures");
    for (int i = 0; i < levels; i++) pushCapture(ms, i, s, e);
    return levels;
}

bool noSpecials(const char* p, std::size_t length) {
    std::size_t upto = 0;
    do {
        if (std::strpbrk(p + upto, Specials)) return false;
        upto += std::strlen(p + upto) + 1;  // a pattern may hold zeros
    } while (upto <= length);
    return true;
}

const char* findPlain(const char* s1, std::size_t l1, const char* s2, std::size_t l2) {
    if (l2 == 0) return s1;
    if (l2 > l1) return nullptr;
    l2--;
    l1 -= l2;
    const char* start;
    while (l1 > 0 && (start = static_cast<const char*>(std::memchr(s1, *s2, l1))) != nullptr) {
        start++;
        if (std::memcmp(start, s2 + 1, l2) == 0) return start - 1;
        l1 -= static_cast<std::size_t>(start - s1);
        s1 = start;
    }
    return nullptr;
}

std::size_t startPosition(lua_Integer position, std::size_t length) {
    if (position > 0) return static_cast<std::size_t>(position);
    if (position == 0 || position < -static_cast<lua_Integer>(length)) return 1;
    return length + static_cast<std::size_t>(position) + 1;
}

void prepare(MatchState* ms, lua_State* L, const char* s, std::size_t ls, const char* p, std::size_t lp) {
    ms->L = L;
    ms->depth = MaxMatchDepth;
    ms->sourceStart = s;
    ms->sourceEnd = s + ls;
    ms->patternEnd = p + lp;
    ms->steps = 0;
}

void restart(MatchState* ms) { ms->level = 0; }

int findOrMatch(lua_State* L, bool find) {
    std::size_t ls, lp;
    const char* s = luaL_checklstring(L, 1, &ls);
    const char* p = luaL_checklstring(L, 2, &lp);
    const std::size_t init = startPosition(luaL_optinteger(L, 3, 1), ls) - 1;
    if (init > ls) {
        luaL_pushfail(L);
        return 1;
    }
    if (find && (lua_toboolean(L, 4) || noSpecials(p, lp))) {
        if (const char* found = findPlain(s + init, ls - init, p, lp)) {
            lua_pushinteger(L, (found - s) + 1);
            lua_pushinteger(L, static_cast<lua_Integer>((found - s) + static_cast<std::ptrdiff_t>(lp)));
            return 2;
        }
    } else {
        MatchState ms;
        const char* s1 = s + init;
        const bool anchor = *p == '^';
        if (anchor) {
            p++;
            lp--;
        }
        prepare(&ms, L, s, ls, p, lp);
        do {
            restart(&ms);
            if (const char* end = match(&ms, s1, p)) {
                if (find) {
                    lua_pushinteger(L, (s1 - s) + 1);
                    lua_pushinteger(L, end - s);
                    return pushCaptures(&ms, nullptr, nullptr) + 2;
                }
                return pushCaptures(&ms, s1, end);
            }
        } while (s1++ < ms.sourceEnd && !anchor);
    }
    luaL_pushfail(L);
    return 1;
}

int stringFind(lua_State* L) { return findOrMatch(L, true); }
int stringMatch(lua_State* L) { return findOrMatch(L, false); }

struct GMatchState {
    const char* source;
    const char* pattern;
    const char* lastMatch;
    MatchState ms;
};

int gmatchNext(lua_State* L) {
    auto* gm = static_cast<GMatchState*>(lua_touserdata(L, lua_upvalueindex(3)));
    gm->ms.L = L;
    gm->ms.steps = 0;
    for (const char* source = gm->source; source <= gm->ms.sourceEnd; source++) {
        restart(&gm->ms);
        const char* end = match(&gm->ms, source, gm->pattern);
        if (end && end != gm->lastMatch) {
            gm->source = gm->lastMatch = end;
            return pushCaptures(&gm->ms, source, end);
        }
    }
    return 0;
}

int stringGmatch(lua_State* L) {
    std::size_t ls, lp;
    const char* s = luaL_checklstring(L, 1, &ls);
    const char* p = luaL_checklstring(L, 2, &lp);
    std::size_t init = startPosition(luaL_optinteger(L, 3, 1), ls) - 1;
    lua_settop(L, 2);  // the subject and pattern stay alive as upvalues
    auto* gm = static_cast<GMatchState*>(lua_newuserdatauv(L, sizeof(GMatchState), 0));
    if (init > ls) init = ls + 1;
    prepare(&gm->ms, L, s, ls, p, lp);
    gm->source = s + init;
    gm->pattern = p;
    gm->lastMatch = nullptr;
    lua_pushcclosure(L, gmatchNext, 3);
    return 1;
}

void addString(MatchState* ms, luaL_Buffer* b, const char* s, const char* e) {
    lua_State* L = ms->L;
    std::size_t l;
    const char* replacement = lua_tolstring(L, 3, &l);
    const char* p;
    while ((p = static_cast<const char*>(std::memchr(replacement, Escape, l))) != nullptr) {
        luaL_addlstring(b, replacement, static_cast<std::size_t>(p - replacement));
        p++;
        if (*p == Escape) {
            luaL_addchar(b, *p);
        } else if (*p == '0') {
            luaL_addlstring(b, s, static_cast<std::size_t>(e - s));
        } else if (std::isdigit(uchar(*p))) {
            const char* capture;
            const std::ptrdiff_t length = getCapture(ms, *p - '1', s, e, &capture);
            if (length == CapturePosition) luaL_addvalue(b);
            else luaL_addlstring(b, capture, static_cast<std::size_t>(length));
        } else {
            luaL_error(L, "invalid use of '%c' in replacement string", Escape);
        }
        l -= static_cast<std::size_t>(p + 1 - replacement);
        replacement = p + 1;
    }
    luaL_addlstring(b, replacement, l);
}

bool addValue(MatchState* ms, luaL_Buffer* b, const char* s, const char* e, int kind) {
    lua_State* L = ms->L;
    switch (kind) {
    case LUA_TFUNCTION: {
        lua_pushvalue(L, 3);
        const int count = pushCaptures(ms, s, e);
        lua_call(L, count, 1);
        break;
    }
    case LUA_TTABLE:
        pushCapture(ms, 0, s, e);
        lua_gettable(L, 3);
        break;
    default: addString(ms, b, s, e); return true;
    }
    if (!lua_toboolean(L, -1)) {
        lua_pop(L, 1);
        luaL_addlstring(b, s, static_cast<std::size_t>(e - s));
        return false;
    }
    if (!lua_isstring(L, -1)) luaL_error(L, "invalid replacement value (a %s)", luaL_typename(L, -1));
    luaL_addvalue(b);
    return true;
}

int stringGsub(lua_State* L) {
    std::size_t sourceLength, lp;
    const char* source = luaL_checklstring(L, 1, &sourceLength);
    const char* p = luaL_checklstring(L, 2, &lp);
    const char* lastMatch = nullptr;
    const int kind = lua_type(L, 3);
    const lua_Integer most = luaL_optinteger(L, 4, static_cast<lua_Integer>(sourceLength) + 1);
    const bool anchor = *p == '^';
    lua_Integer count = 0;
    bool changed = false;
    MatchState ms;
    luaL_Buffer b;
    luaL_argexpected(L, kind == LUA_TNUMBER || kind == LUA_TSTRING || kind == LUA_TFUNCTION || kind == LUA_TTABLE, 3,
                     "string/function/table");
    luaL_buffinit(L, &b);
    if (anchor) {
        p++;
        lp--;
    }
    prepare(&ms, L, source, sourceLength, p, lp);
    while (count < most) {
        restart(&ms);
        const char* end = match(&ms, source, p);
        if (end && end != lastMatch) {
            count++;
            changed = addValue(&ms, &b, source, end, kind) || changed;
            source = lastMatch = end;
        } else if (source < ms.sourceEnd) {
            luaL_addchar(&b, *source++);
        } else {
            break;
        }
        if (anchor) break;
    }
    if (!changed) {
        lua_pushvalue(L, 1);
    } else {
        luaL_addlstring(&b, source, static_cast<std::size_t>(ms.sourceEnd - source));
        luaL_pushresult(&b);
    }
    lua_pushinteger(L, count);
    return 2;
}

}  // namespace

void LuaPatternFunctions::Install(lua_State* L, StepCheck check) {
    s_check = check;
    const luaL_Reg functions[] = {
        {"find", stringFind}, {"match", stringMatch}, {"gmatch", stringGmatch}, {"gsub", stringGsub}, {nullptr, nullptr}};
    lua_getglobal(L, LUA_STRLIBNAME);
    if (lua_istable(L, -1)) luaL_setfuncs(L, functions, 0);
    lua_pop(L, 1);
}

}  // namespace VelX

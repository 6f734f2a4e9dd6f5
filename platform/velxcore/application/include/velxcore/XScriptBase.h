#pragma once

#include <velxcore/LuaObject.h>

#include <string>

namespace VelX {

// Base of the editors that keep part of their logic in the application's Lua script: they call a
// function of a global Lua table and read back a table, a string or nil.
class XScriptBase {
public:
    virtual ~XScriptBase();

protected:
    // table.function(argument[, number]) in the application's script; nil when missing or failed
    // (the failure is logged once).
    LuaPlus::LuaObject runLuaFunctionReturnObject(const char* table, const char* function, const std::wstring& argument);
    LuaPlus::LuaObject runLuaFunctionReturnObject(const char* table, const char* function, const std::wstring& argument,
                                                  int number);
};

}  // namespace VelX

#include <velxcore/XApplication.h>
#include <velxcore/XLuaScript.h>
#include <velxcore/XScriptBase.h>

namespace VelX {

XScriptBase::~XScriptBase() = default;

LuaPlus::LuaObject XScriptBase::runLuaFunctionReturnObject(const char* table, const char* function,
                                                           const std::wstring& argument) {
    return XApplication::Instance().LuaScript().CallFunction(table, function, argument);
}

LuaPlus::LuaObject XScriptBase::runLuaFunctionReturnObject(const char* table, const char* function,
                                                           const std::wstring& argument, int number) {
    return XApplication::Instance().LuaScript().CallFunction(table, function, argument, number);
}

}  // namespace VelX

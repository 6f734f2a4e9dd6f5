#pragma once

#include <velxcore/VelXPluginApi.h>
#include <velxcore/XScriptFunctions.h>

#include <string>

namespace db {
class Database;
}

namespace VelX {

// The C functions the host hands a plug-in (VelXPluginHost) and the wrapping of a plug-in's script
// functions. Nothing a plug-in passes in is trusted: names, kinds, counts and defaults are checked,
// refusals are logged with the plug-in's file and the reason, and no exception crosses into C.
class XPluginHostApi {
public:
    static void Log(const char* message);
    static int RegisterFunction(void* session, const char* name, VelXScriptFunction callback);
    static int RegisterType(void* session, const char* typeName, const char* baseTypeName,
                            const VelXAttributeSpec* attributes, int count);

    // A script function that converts values to and from C and turns a failure into a script error.
    static XScriptFunctions::Function Wrap(VelXScriptFunction callback, const std::string& name, const std::string& owner);

    // Runs plug-in code with its log lines named after it. The call must not throw.
    template <class Call> static void RunAs(const std::string& filename, Call&& call) {
        const std::string* saved = current();
        current() = &filename;
        call();
        current() = saved;
    }

    // Plug-in types are made in, and checked against, the active scene's database.
    static db::Database& SceneDatabase();

private:
    static const std::string*& current();  // the plug-in whose code runs on this thread
};

}  // namespace VelX

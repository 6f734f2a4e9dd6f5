#pragma once

#include <veldatabase/Value.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace VelX {

// Functions that plug-ins (or the application) add to the `velx` script module. Both the Lua and
// the Python bindings offer each one as velx.<name>(...) and through velx.call(name, ...).
class XScriptFunctions {
public:
    // The functions of the running program.
    static XScriptFunctions& Shared();

    using Function = std::function<db::Value(const std::vector<db::Value>& arguments)>;

    // Returns false when the name is taken or empty.
    bool add(const std::string& name, Function function, const std::string& owner = {});
    // Removes every function an owner (a plug-in's file name) added.
    void removeOwnedBy(const std::string& owner);
    bool has(const std::string& name) const { return m_functions.count(name) != 0; }
    // Calls a function; throws XScriptError when there is none of that name.
    db::Value call(const std::string& name, const std::vector<db::Value>& arguments) const;
    std::vector<std::string> names() const;

private:
    struct Entry {
        Function function;
        std::string owner;
    };
    std::map<std::string, Entry> m_functions;
};

}  // namespace VelX

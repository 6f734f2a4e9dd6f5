#include <velxcore/XScriptApi.h>
#include <velxcore/XScriptFunctions.h>

namespace VelX {

XScriptFunctions& XScriptFunctions::Shared() {
    static XScriptFunctions functions;
    return functions;
}

bool XScriptFunctions::add(const std::string& name, Function function, const std::string& owner) {
    if (name.empty() || !function || m_functions.count(name)) return false;
    m_functions.emplace(name, Entry{std::move(function), owner});
    return true;
}

void XScriptFunctions::removeOwnedBy(const std::string& owner) {
    for (auto it = m_functions.begin(); it != m_functions.end();)
        it = it->second.owner == owner ? m_functions.erase(it) : std::next(it);
}

db::Value XScriptFunctions::call(const std::string& name, const std::vector<db::Value>& arguments) const {
    auto it = m_functions.find(name);
    if (it == m_functions.end()) throw XScriptError("velx has no function '" + name + "'");
    return it->second.function(arguments);
}

std::vector<std::string> XScriptFunctions::names() const {
    std::vector<std::string> out;
    for (const auto& entry : m_functions) out.push_back(entry.first);
    return out;
}

}  // namespace VelX

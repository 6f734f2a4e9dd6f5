#include <velxcore/XObjectDef.h>
#include <velxcore/XObjectDefRegistry.h>

#include <velscenegraph/SceneGraphNodes.h>
#include <velutils/StringUtils.h>

#include <algorithm>

namespace VelX {

XObjectDefRegistry::XObjectDefRegistry() {
    for (const db::NodeDef* def : sg::allNodeDefs()) {
        if (def->hasFlag(db::Abstract)) continue;
        std::wstring name = Velutils::StringUtils::toWide(def->typeName());
        m_builtIn.push_back(std::make_unique<XObjectDef>(name, name));
        m_definitions.push_back(m_builtIn.back().get());
    }
}

XObjectDefRegistry::~XObjectDefRegistry() = default;

XObjectDefRegistry& XObjectDefRegistry::Shared() {
    static XObjectDefRegistry registry;
    return registry;
}

void XObjectDefRegistry::Register(XObjectDef* definition) {
    if (!definition) return;
    for (XObjectDef*& existing : m_definitions) {
        if (existing->ObjectType() == definition->ObjectType()) {
            existing = definition;
            return;
        }
    }
    m_definitions.push_back(definition);
}

bool XObjectDefRegistry::Unregister(XObjectDef* definition) {
    auto it = std::find(m_definitions.begin(), m_definitions.end(), definition);
    if (it == m_definitions.end() || !definition->CanUnregister()) return false;
    for (const auto& builtIn : m_builtIn) {
        if (builtIn->ObjectType() == definition->ObjectType()) {
            *it = builtIn.get();
            return true;
        }
    }
    m_definitions.erase(it);
    return true;
}

XObjectDef* XObjectDefRegistry::Find(const std::wstring& typeId) const {
    for (XObjectDef* def : m_definitions)
        if (def->ObjectType() == typeId) return def;
    return nullptr;
}

}  // namespace VelX

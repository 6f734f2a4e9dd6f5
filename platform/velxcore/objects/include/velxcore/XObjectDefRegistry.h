#pragma once

#include <memory>
#include <string>
#include <vector>

namespace VelX {

class XObjectDef;

// The object types known to the scenes that share this registry: one definition per node type of
// the scene graph, in place of which a library may register its own (a typed wrapper over a
// settings node, say). Scene databases resolve XObject::definition() here.
class XObjectDefRegistry {
public:
    XObjectDefRegistry();
    ~XObjectDefRegistry();
    XObjectDefRegistry(const XObjectDefRegistry&) = delete;
    XObjectDefRegistry& operator=(const XObjectDefRegistry&) = delete;

    // The registry of the running program, which its scenes use unless they are given another.
    static XObjectDefRegistry& Shared();

    // A definition for a type already known takes that type's place.
    void Register(XObjectDef* definition);
    // Gives a replaced type its built-in definition back; false when the definition is not
    // registered or refuses (CanUnregister).
    bool Unregister(XObjectDef* definition);
    XObjectDef* Find(const std::wstring& typeId) const;
    const std::vector<XObjectDef*>& All() const { return m_definitions; }

private:
    std::vector<XObjectDef*> m_definitions;
    std::vector<std::unique_ptr<XObjectDef>> m_builtIn;
};

}  // namespace VelX

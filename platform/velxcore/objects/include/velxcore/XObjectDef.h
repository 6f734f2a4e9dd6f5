#pragma once

#include <string>

namespace db {
class NodeDef;
}

namespace VelX {

class XDatabase;
class XObject;

// The definition of an object type: its type name and the node type that stores its objects.
// Libraries may register their own (typed wrappers over settings nodes, for example).
class XObjectDef {
public:
    XObjectDef(std::wstring objectType, std::wstring classId);
    virtual ~XObjectDef() = default;

    const std::wstring& ObjectType() const { return m_objectType; }
    const std::wstring& ClassID() const { return m_classId; }
    virtual bool IsTranslator() const { return false; }
    // A new wrapper of the object with this id, owned by the caller.
    virtual XObject* CreateObject(XDatabase& database, int id);
    virtual bool CanUnregister() const { return true; }
    // The node type behind this definition (null when the class id names no known node type).
    const db::NodeDef* nodeDef() const;

private:
    std::wstring m_objectType;
    std::wstring m_classId;
};

}  // namespace VelX

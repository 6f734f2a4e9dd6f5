#pragma once

#include <velxcore/XComparisonMode.h>

#include <velutils/Vector.h>

#include <string>

namespace db {
class Node;
}

namespace VelX {

class XAttribute;
class XDatabase;
class XObjectDef;

// A cheap value handle to one object of a scene database. It stays valid while the object exists;
// ids are never reused, so a handle to a deleted object answers IsValid() false for good.
class XObject {
public:
    static const XObject Undefined;

    XObject() = default;
    XObject(XDatabase* database, int id);
    XObject(const XObject& other);
    XObject& operator=(const XObject& other);
    virtual ~XObject();

    // Identity.
    bool IsValid() const;
    int ObjectID() const;
    int HandleID() const { return m_id; }  // the id this handle names, even after deletion
    std::wstring Name() const;
    std::wstring DisplayName() const;
    std::wstring Path() const;
    std::wstring ObjectType() const;
    std::wstring ObjectDisplayType() const;
    bool operator==(const XObject& o) const { return m_database == o.m_database && m_id == o.m_id; }
    bool operator!=(const XObject& o) const { return !(*this == o); }
    bool operator<(const XObject& o) const {
        return m_database != o.m_database ? m_database < o.m_database : m_id < o.m_id;
    }

    // Typing: IsType is the exact type; SupportsType includes derived types.
    bool IsType(const std::wstring& typeId) const;
    bool SupportsType(const std::wstring& typeId) const;

    // Hierarchy. Top-level objects have the scene's root object (id 0) as their parent.
    XObject Parent() const;
    bool HasParent() const;
    XObject Child(int index) const;
    int ChildCount() const;
    void ChildObjects(Velutils::Vector<XObject>& out) const;
    bool HasChildObjects() const;
    bool IsChildOf(const XObject& parent) const;   // direct child
    bool IsParentOf(const XObject& child) const;   // direct parent
    XObject FindAncestor(const std::wstring& typeId, XComparisonMode mode) const;
    bool SetParent(const XObject& parent);
    // Under the parent at this place among its children (-1: last).
    bool SetParent(const XObject& parent, int index);
    bool Unparent();

    // Capabilities.
    bool SupportsChildObjects() const;
    bool SupportsDeletion() const;
    bool SupportsReparenting() const;

    // Attributes.
    XAttribute Attribute(int index) const;
    XAttribute Attribute(const std::wstring& name) const;
    int AttributeCount() const;
    void Attributes(Velutils::Vector<XAttribute>& out) const;
    void CustomAttributes(Velutils::Vector<XAttribute>& out) const;
    bool HasCustomAttributes() const;
    XAttribute AddCustomAttribute(const std::wstring& name, int typeCode, bool isArray = false);
    bool RemoveCustomAttribute(const XAttribute& attribute);

    // Connections: objects whose attributes feed, or are fed by, this object's attributes.
    void InputObjects(Velutils::Vector<XObject>& out) const;
    void OutputObjects(Velutils::Vector<XObject>& out) const;

    // Edits. SetName returns the name the object got (the core may change what was asked).
    std::wstring SetName(const std::wstring& name);
    bool Delete();
    XDatabase& Database() const { return *m_database; }
    XDatabase* DatabasePointer() const { return m_database; }

    // Wrapper support for types registered from outside the core.
    const db::Node* getNode() const;
    virtual const XObjectDef* definition() const;
    virtual bool isValid() const;
    virtual void onInitialize();

protected:
    virtual void onConstruct() {}
    virtual void onDestruct() {}
    bool SupportsRenaming() const;

    XDatabase* m_database = nullptr;
    int m_id = -1;
};

}  // namespace VelX

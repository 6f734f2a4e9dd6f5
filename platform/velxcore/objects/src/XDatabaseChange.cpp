#include <velxcore/XDatabase.h>
#include <velxcore/XDatabaseChange.h>
#include <velxcore/XObjectDef.h>

#include <veldatabase/Database.h>
#include <veldatabase/DatabaseChange.h>
#include <velutils/StringUtils.h>

namespace VelX {

bool XDatabaseChange::IsObjectCreated() const { return m_change->isObjectCreated(); }
bool XDatabaseChange::IsObjectDeleted() const { return m_change->isObjectDeleted(); }
bool XDatabaseChange::IsObjectReparented() const { return m_change->isObjectReparented(); }
bool XDatabaseChange::IsObjectRenamed() const { return m_change->isObjectRenamed(); }
bool XDatabaseChange::IsConnectionCreated() const { return m_change->isConnectionCreated(); }
bool XDatabaseChange::IsConnectionDeleted() const { return m_change->isConnectionDeleted(); }
bool XDatabaseChange::IsAttributeReferenceChanged() const { return m_change->isAttributeReferenceChanged(); }
bool XDatabaseChange::IsSelectionChanged() const { return m_change->isSelectionChanged(); }
bool XDatabaseChange::IsPlaybackChange() const { return m_change->isPlayback(); }
bool XDatabaseChange::HasEdits() const { return m_change->hasEdits(); }
bool XDatabaseChange::IsAttributeNameChanged(const std::wstring& name) const {
    return m_change->isAttributeNameChanged(Velutils::StringUtils::toUtf8(name));
}

bool XDatabaseChange::IsObjectChanged(const XObject& object) const {
    return object.DatabasePointer() == m_database && m_change->isObjectChanged(object.HandleID());
}

bool XDatabaseChange::IsObjectChanged(const Velutils::Vector<XObject>& objects) const {
    for (const XObject& o : objects)
        if (o.DatabasePointer() == m_database && m_change->isObjectChanged(o.HandleID())) return true;
    return false;
}

bool XDatabaseChange::IsNameChanged(const Velutils::Vector<XObject>& objects) const {
    for (const XObject& o : objects)
        if (o.DatabasePointer() == m_database && m_change->isNameChanged(o.HandleID())) return true;
    return false;
}

bool XDatabaseChange::IsAttributeChanged(const XAttribute& attribute) const {
    return attribute.DatabasePointer() == m_database && m_change->isAttributeChanged(attribute.key());
}

bool XDatabaseChange::IsAttributeChangedOnItsType(const XAttribute& attribute) const {
    if (attribute.DatabasePointer() != m_database || !m_database) return false;
    const db::Node* node = m_database->db().node(attribute.key().node);
    if (!node) return m_change->isAttributeChanged(attribute.key());
    return m_change->isSlotChanged(node->def(), attribute.key().slot);
}

bool XDatabaseChange::IsAttributeTypeChanged(unsigned typeCode) const {
    return typeCode < static_cast<unsigned>(db::ValueTypeCount) &&
           m_change->isValueTypeChanged(static_cast<db::ValueType>(typeCode));
}

bool XDatabaseChange::IsTypeChanged(XObjectDef* definition) const {
    const db::NodeDef* def = definition ? definition->nodeDef() : nullptr;
    return def && m_change->isTypeChanged(*def);
}

void XDatabaseChange::CreatedObjects(Velutils::Vector<XObject>& out) const {
    for (int id : m_change->created()) out.emplace_back(m_database, id);
}
void XDatabaseChange::DeletedObjects(Velutils::Vector<XObject>& out) const {
    for (int id : m_change->deleted()) out.emplace_back(m_database, id);
}
void XDatabaseChange::RenamedObjects(Velutils::Vector<XObject>& out) const {
    for (int id : m_change->renamed()) out.emplace_back(m_database, id);
}
void XDatabaseChange::ReparentedObjects(Velutils::Vector<XObject>& out) const {
    for (int id : m_change->reparented()) out.emplace_back(m_database, id);
}

std::wstring XDatabaseChange::Description() const { return Velutils::StringUtils::toWide(m_change->description()); }

}  // namespace VelX

#pragma once

#include <velxcore/XAttribute.h>
#include <velxcore/XObject.h>

#include <memory>

namespace db {
class DatabaseChange;
}

namespace VelX {

class XObjectDef;

// What one outermost change block did. Every question is a hash look-up, so asking about a long
// list of objects costs one look-up per object.
class XDatabaseChange {
public:
    XDatabaseChange(XDatabase* database, std::shared_ptr<const db::DatabaseChange> change)
        : m_database(database), m_change(std::move(change)) {}

    bool IsObjectCreated() const;
    bool IsObjectDeleted() const;
    bool IsObjectReparented() const;
    bool IsObjectRenamed() const;
    bool IsConnectionCreated() const;
    bool IsConnectionDeleted() const;
    bool IsAttributeReferenceChanged() const;
    bool IsSelectionChanged() const;
    // Made by simulation playback or by reverting it on Stop: not an edit of the user's.
    bool IsPlaybackChange() const;
    // Anything besides the selection changed.
    bool HasEdits() const;
    bool IsObjectChanged(const XObject& object) const;
    bool IsObjectChanged(const Velutils::Vector<XObject>& objects) const;
    bool IsNameChanged(const Velutils::Vector<XObject>& objects) const;
    bool IsAttributeChanged(const XAttribute& attribute) const;
    // Whether the attribute changed on any object of its object's type: never no when it changed
    // on this object, so a panel showing the attribute over many objects asks this first and asks
    // each object only when the answer is yes.
    bool IsAttributeChangedOnItsType(const XAttribute& attribute) const;
    // Whether an attribute of this name changed on any object, whatever its type.
    bool IsAttributeNameChanged(const std::wstring& name) const;
    bool IsAttributeTypeChanged(unsigned typeCode) const;
    bool IsTypeChanged(XObjectDef* definition) const;
    void CreatedObjects(Velutils::Vector<XObject>& out) const;
    void DeletedObjects(Velutils::Vector<XObject>& out) const;  // handles to objects that no longer exist
    void RenamedObjects(Velutils::Vector<XObject>& out) const;
    void ReparentedObjects(Velutils::Vector<XObject>& out) const;
    std::wstring Description() const;

    const db::DatabaseChange& raw() const { return *m_change; }

private:
    XDatabase* m_database;
    std::shared_ptr<const db::DatabaseChange> m_change;
};

}  // namespace VelX

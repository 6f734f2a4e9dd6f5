#pragma once

#include <velxcore/XAttribute.h>
#include <velxcore/XObject.h>

#include <memory>
#include <cstdint>
#include <string>

namespace db {
class Database;
}

namespace VelX {

class XObjectDef;
class XObjectDefRegistry;
class XScene;
struct XDisplayUnits;

// The scene database as the editors see it: objects by id or path, attributes by id, change
// blocks, undo and redo. Handles resolve object types and display units through it.
class XDatabase {
public:
    // The scene owning the database may be null (the settings' own database); types and units
    // default to the running program's shared ones.
    explicit XDatabase(XScene* scene);
    XDatabase(XScene* scene, XObjectDefRegistry& types, XDisplayUnits& units);
    ~XDatabase();
    XDatabase(const XDatabase&) = delete;
    XDatabase& operator=(const XDatabase&) = delete;

    XObject Object(int objectId);
    XObject Object(const std::wstring& path);
    XObject RootObject();
    XAttribute Attribute(int attributeId);
    XAttribute Attribute(const std::wstring& path);
    XObjectDef* ObjectDefinition(const std::wstring& typeId) const;
    // A new object of a registered type under the parent (the root when invalid).
    XObject CreateObject(const std::wstring& typeId, const std::wstring& name, const XObject& parent = XObject());
    std::size_t ObjectCount() const;

    void BeginChangeBlock();
    void BeginChangeBlock(bool transient);
    void EndChangeBlock();
    void EndChangeBlock(const std::wstring& description);
    void CommitTransient();

    // Deletes the object at the path with everything below it.
    bool DeleteObjects(const std::wstring& path);
    // Deletes the object at the path; its children move up to its parent.
    bool RemoveObjects(const std::wstring& path);
    bool DeleteObjects(const Velutils::Vector<XObject>& objects);
    bool RemoveObjects(const Velutils::Vector<XObject>& objects);

    bool CanUndo() const;
    bool CanRedo() const;
    std::wstring UndoName() const;
    std::wstring RedoName() const;
    // The name the core gives an object asked to be called `wanted` (before making it unique).
    static std::wstring ValidName(const std::wstring& wanted);
    // The same number means the same done steps: a saved state is reached again by undo or redo.
    std::uint64_t HistoryPosition() const;
    bool Undo();
    bool Redo();

    XScene* Scene() const { return m_scene; }
    XObjectDefRegistry& ObjectTypes() const { return *m_types; }
    XDisplayUnits& DisplayUnits() const { return *m_units; }
    db::Database& db() { return *m_db; }
    const db::Database& db() const { return *m_db; }

private:
    XScene* m_scene;
    XObjectDefRegistry* m_types;
    XDisplayUnits* m_units;
    std::unique_ptr<db::Database> m_db;
};

}  // namespace VelX

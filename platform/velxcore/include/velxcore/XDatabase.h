#pragma once

#include <velxcore/XAttribute.h>
#include <velxcore/XObject.h>

#include <memory>
#include <string>

namespace db {
class Database;
}

namespace VelX {

class XObjectDef;
class XScene;

// The scene database as the editors see it: objects by id or path, attributes by id, change
// blocks, undo and redo.
class XDatabase {
public:
    explicit XDatabase(XScene* scene);
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
    bool Undo();
    bool Redo();

    XScene* Scene() const { return m_scene; }
    db::Database& db() { return *m_db; }
    const db::Database& db() const { return *m_db; }

private:
    XScene* m_scene;
    std::unique_ptr<db::Database> m_db;
};

}  // namespace VelX

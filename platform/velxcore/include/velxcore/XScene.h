#pragma once

#include <velxcore/XDatabase.h>
#include <velxcore/XSceneSettings.h>
#include <velxcore/XSelection.h>

#include <veldatabase/DatabaseObserver.h>

#include <memory>
#include <string>

namespace VelX {

class XObjectController;

// One open scene: its database, selection and fixed objects. It turns database change rounds into
// scene notifications: the change, then the selection, then the time, once per outermost block.
class XScene : private db::DatabaseObserver {
public:
    XScene();
    ~XScene() override;
    XScene(const XScene&) = delete;
    XScene& operator=(const XScene&) = delete;

    XDatabase& Database() { return m_database; }
    XSelection& Selection() { return m_selection; }
    XObject RootObject();
    XSceneSettings SceneSettings();

    // Empties the scene and gives it fresh settings objects; observers hear OnSceneCreated.
    void New();
    // Saves atomically; false with a message naming the file and the problem.
    bool Save(const std::wstring& fileName, std::wstring* error = nullptr);
    // Loads a scene file; on failure the open scene is untouched and the message says why.
    bool Load(const std::wstring& fileName, std::wstring* error = nullptr);
    const std::wstring& FileName() const { return m_fileName; }

    int ActiveToolIndex() const { return m_activeTool; }
    void SetActiveToolIndex(int index) { m_activeTool = index; }
    XObjectController* FindObjectController(const XObject& object);
    XScene& DeleteSelection();
    XScene& ReparentSelection(const std::wstring& parentPath);
    XScene& Stop();

    // Makes sure the scene has exactly one object of every registered settings type.
    void ensureSettingsObjects();

private:
    void onDatabaseChanged(db::Database& database, const std::shared_ptr<const db::DatabaseChange>& change) override;

    XDatabase m_database;
    XSelection m_selection;
    std::wstring m_fileName;
    int m_activeTool = 0;
};

}  // namespace VelX

#pragma once

#include <velxcore/XCollisionGroup.h>
#include <velxcore/XCommand.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XDisplayGroup.h>
#include <velxcore/XObjectController.h>
#include <velxcore/XSceneFile.h>
#include <velxcore/XSceneSettings.h>
#include <velxcore/XSelection.h>
#include <velxcore/XSelectionGroup.h>
#include <velxcore/XSimulation.h>
#include <velxcore/XTool.h>

#include <veldatabase/DatabaseObserver.h>

#include <memory>
#include <string>
#include <unordered_map>

namespace VelX {

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
    // The same, telling the progress of a long load (see XSceneFile::Progress).
    bool Load(const std::wstring& fileName, std::wstring* error, const XSceneFile::Progress& progress);
    const std::wstring& FileName() const { return m_fileName; }
    // Names the file the scene belongs to without saving (a recovered copy of a file's scene).
    void SetFileName(const std::wstring& fileName) { m_fileName = fileName; }

    int ActiveToolIndex() const { return m_activeTool; }
    void SetActiveToolIndex(int index) {  // indices outside 0..6 are ignored
        if (index >= 0 && index <= XTool::LastBuiltInIndex) m_activeTool = index;
    }
    // The built-in tool with this index (3 translate, 4 rotate, 5 scale, 6 IK drag); invalid otherwise.
    XTool ToolObject(int index);
    // The scene's built-in command of this type; invalid for other types.
    XCommand CommandObject(const std::wstring& typeId);
    // The root group of each kind: built-in, hidden from the explorer, never deleted or moved.
    XSelectionGroup SelectionGroups();
    XDisplayGroup DisplayGroups();
    XCollisionGroup CollisionGroups();
    // Whether a render object shows: its own visibility and that of its display groups.
    static bool IsDisplayed(const XObject& object);
    // The enabled controller with the greatest weight driving the object, or null. The scene keeps
    // the controller; the pointer holds until the next call for the same object or New/Load.
    XObjectController* FindObjectController(const XObject& object);
    XScene& DeleteSelection();
    XScene& ReparentSelection(const std::wstring& parentPath);
    // Simulation playback: start script, update script once per frame, end script on Stop.
    XSimulation& Simulation() { return *m_simulation; }
    XScene& Stop();

    // Makes sure the scene has exactly one object of every registered settings type.
    void ensureSettingsObjects();

private:
    void onDatabaseChanged(db::Database& database, const std::shared_ptr<const db::DatabaseChange>& change) override;

    XDatabase m_database;
    XSelection m_selection;
    std::wstring m_fileName;
    int m_activeTool = 0;
    std::unordered_map<int, XObjectController> m_controllers;  // by driven object id
    std::unique_ptr<XSimulation> m_simulation;
};

}  // namespace VelX

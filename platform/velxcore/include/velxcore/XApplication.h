#pragma once

#include <velxcore/XScriptFunctions.h>
#include <velxcore/XUnits.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace VelX {

class XObjectDef;

// Limits that every script run obeys (the application settings keep the user's choice).
struct XScriptLimits {
    double timeBudgetSeconds = 10.0;
    std::size_t memoryBudgetBytes = 64u * 1024u * 1024u;  // for untrusted (sandboxed) Lua
};

class XScene;
class XSceneObserver;

// The application singleton: the active scene, scene observers, registered object types, the
// user's display units and the application log.
class XApplication {
public:
    static XApplication& Instance();

    XScene& ActiveScene();
    void AddSceneObserver(XSceneObserver* observer);
    void RemoveSceneObserver(XSceneObserver* observer);
    bool IsSceneObserver(XSceneObserver* observer) const;
    std::vector<XSceneObserver*> SceneObservers() const { return m_sceneObservers; }

    // Object types. The core registers its own; libraries may add theirs.
    void RegisterObjectDef(XObjectDef* definition);
    bool UnregisterObjectDef(XObjectDef* definition);
    XObjectDef* ObjectDefinition(const std::wstring& typeId) const;
    const std::vector<XObjectDef*>& ObjectDefinitions() const { return m_definitions; }

    XDisplayUnits& DisplayUnits() { return m_units; }
    XScriptLimits& ScriptLimits() { return m_scriptLimits; }
    XScriptFunctions& ScriptFunctions() { return m_scriptFunctions; }

    void LogInformation(const wchar_t* text);
    const std::vector<std::wstring>& LogLines() const { return m_log; }
    void SetLogSink(std::function<void(const std::wstring&)> sink) { m_sink = std::move(sink); }

private:
    XApplication();
    ~XApplication();

    std::unique_ptr<XScene> m_scene;
    std::vector<XSceneObserver*> m_sceneObservers;
    std::vector<XObjectDef*> m_definitions;
    std::vector<std::unique_ptr<XObjectDef>> m_builtInDefinitions;
    XDisplayUnits m_units;
    XScriptLimits m_scriptLimits;
    XScriptFunctions m_scriptFunctions;
    std::vector<std::wstring> m_log;
    std::function<void(const std::wstring&)> m_sink;
};

}  // namespace VelX

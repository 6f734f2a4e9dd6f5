#pragma once

#include <velxcore/XCommand.h>
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
class XLuaScript;
class XSettings;
class XSettingsObserver;
class XPluginManager;

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

    // The command whose parameters the editors show: an object of the active scene (invalid when
    // none). A built-in command stays active across New and Load: its type names it.
    XCommand ActiveCommand() const;
    std::wstring ActiveCommandName() const;
    bool SetActiveCommand(const XObject& command);
    void ClearActiveCommand();
    // Makes the active scene's built-in command of this type active and returns it.
    XCommand StartCommand(const std::wstring& typeId);

    XDisplayUnits& DisplayUnits() { return m_units; }
    XScriptLimits& ScriptLimits() { return m_scriptLimits; }
    XScriptFunctions& ScriptFunctions() { return m_scriptFunctions; }
    // The application's trusted Lua script state, made on first use.
    XLuaScript& LuaScript();

    void LogInformation(const wchar_t* text);
    const std::vector<std::wstring>& LogLines() const { return m_log; }
    void SetLogSink(std::function<void(const std::wstring&)> sink) { m_sink = std::move(sink); }

    // The application settings, made and loaded from disk on first use. An observer added while
    // they exist hears OnSettingsRegistered at once.
    XSettings& Settings();
    void AddSettingsObserver(XSettingsObserver* observer);
    void RemoveSettingsObserver(XSettingsObserver* observer);
    bool IsSettingsObserver(XSettingsObserver* observer) const;
    std::vector<XSettingsObserver*> SettingsObservers() const { return m_settingsObservers; }
    // The plug-ins, made on first use.
    XPluginManager& PluginManager();

private:
    XApplication();
    ~XApplication();

    std::unique_ptr<XScene> m_scene;
    std::vector<XSceneObserver*> m_sceneObservers;
    std::vector<XObjectDef*> m_definitions;
    std::vector<std::unique_ptr<XObjectDef>> m_builtInDefinitions;
    int m_activeCommandId = -1;
    std::wstring m_activeCommandType;
    XDisplayUnits m_units;
    XScriptLimits m_scriptLimits;
    XScriptFunctions m_scriptFunctions;
    std::vector<std::wstring> m_log;
    std::function<void(const std::wstring&)> m_sink;
    // Last, so that they go first: the plug-in manager, then the settings.
    std::vector<XSettingsObserver*> m_settingsObservers;
    std::unique_ptr<XSettings> m_settings;
    std::unique_ptr<XPluginManager> m_pluginManager;
    std::unique_ptr<XLuaScript> m_luaScript;  // last: its state closes before anything it may use
};

}  // namespace VelX

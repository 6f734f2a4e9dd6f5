#pragma once

#include <velxcore/XLog.h>

#include <velxcore/XCommand.h>
#include <velxcore/XScriptFunctions.h>
#include <velxcore/XScriptLimits.h>
#include <velxcore/XSimulationHost.h>
#include <velxcore/XUnits.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace VelX {

class XObjectDef;

class XScene;
class XSceneObserver;
class XLuaScript;
class XSettings;
class XSettingsObserver;
class XPluginManager;

// The application singleton: the active scene and the one place that ties the services together.
// Object types, display units, script limits and functions, observers and the log are the
// services' own (their Shared() instances); the application hands them out under the names the
// editors know, and it is the simulation host that gives scene scripts the settings' trust store
// and interpreters.
class XApplication : private XSimulationHost {
public:
    static XApplication& Instance();

    XScene& ActiveScene();
    void AddSceneObserver(XSceneObserver* observer);
    void RemoveSceneObserver(XSceneObserver* observer);
    bool IsSceneObserver(XSceneObserver* observer) const;
    std::vector<XSceneObserver*> SceneObservers() const;

    // Object types. The core registers its own; libraries may add theirs.
    void RegisterObjectDef(XObjectDef* definition);
    bool UnregisterObjectDef(XObjectDef* definition);
    XObjectDef* ObjectDefinition(const std::wstring& typeId) const;
    const std::vector<XObjectDef*>& ObjectDefinitions() const;

    // The command whose parameters the editors show: an object of the active scene (invalid when
    // none). A built-in command stays active across New and Load: its type names it.
    XCommand ActiveCommand() const;
    std::wstring ActiveCommandName() const;
    bool SetActiveCommand(const XObject& command);
    void ClearActiveCommand();
    // Makes the active scene's built-in command of this type active and returns it.
    XCommand StartCommand(const std::wstring& typeId);

    XDisplayUnits& DisplayUnits() { return XDisplayUnits::Shared(); }
    XScriptLimits& ScriptLimits() { return XScriptLimits::Shared(); }
    XScriptFunctions& ScriptFunctions() { return XScriptFunctions::Shared(); }
    // The application's trusted Lua script state, made on first use.
    XLuaScript& LuaScript();

    void LogInformation(const wchar_t* text);
    const std::vector<std::wstring>& LogLines() const;
    void SetLogSink(XLog::Sink sink);

    // The application settings, made and loaded from disk on first use. An observer added while
    // they exist hears OnSettingsRegistered at once.
    XSettings& Settings();
    void AddSettingsObserver(XSettingsObserver* observer);
    void RemoveSettingsObserver(XSettingsObserver* observer);
    bool IsSettingsObserver(XSettingsObserver* observer) const;
    std::vector<XSettingsObserver*> SettingsObservers() const;
    // The plug-ins, made on first use.
    XPluginManager& PluginManager();
    // What scene simulations ask for trust and interpreters; installed when the application is made.
    XSimulationHost& SimulationHost() { return *this; }

private:
    XApplication();
    ~XApplication() override;

    bool IsTrusted(const std::wstring& fileName, const std::wstring& scriptsHash) override;
    void Trust(const std::wstring& fileName, const std::wstring& scriptsHash) override;
    std::unique_ptr<XSceneScriptRunner> CreateRunner(XScene& scene) override;

    std::unique_ptr<XScene> m_scene;
    int m_activeCommandId = -1;
    std::wstring m_activeCommandType;
    // Last, so that they go first: the plug-in manager, then the settings.
    std::unique_ptr<XSettings> m_settings;
    std::unique_ptr<XPluginManager> m_pluginManager;
    std::unique_ptr<XLuaScript> m_luaScript;  // last: its state closes before anything it may use
};

}  // namespace VelX

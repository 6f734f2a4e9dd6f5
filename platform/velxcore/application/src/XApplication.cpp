#include <velxcore/XActiveScene.h>
#include <velxcore/XApplication.h>
#include <velxcore/XLog.h>
#include <velxcore/XLuaScript.h>
#include <velxcore/XObjectDefRegistry.h>
#include <velxcore/XPluginManager.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneObservers.h>
#include <velxcore/XSceneScripts.h>
#include <velxcore/XSettings.h>
#include <velxcore/XSettingsObserver.h>
#include <velxcore/XSettingsObservers.h>

namespace VelX {

XApplication& XApplication::Instance() {
    static XApplication application;
    return application;
}

XApplication::XApplication() {
    XSimulation::SetHost(this);
    XActiveScene::SetProvider([this]() -> XScene& { return ActiveScene(); });
}

XApplication::~XApplication() {
    XActiveScene::SetProvider(nullptr);
    XSimulation::SetHost(nullptr);
}

XScene& XApplication::ActiveScene() {
    if (!m_scene) m_scene = std::make_unique<XScene>();
    return *m_scene;
}

void XApplication::AddSceneObserver(XSceneObserver* observer) { XSceneObservers::Shared().Add(observer); }
void XApplication::RemoveSceneObserver(XSceneObserver* observer) { XSceneObservers::Shared().Remove(observer); }
bool XApplication::IsSceneObserver(XSceneObserver* observer) const { return XSceneObservers::Shared().Contains(observer); }
std::vector<XSceneObserver*> XApplication::SceneObservers() const { return XSceneObservers::Shared().All(); }

void XApplication::RegisterObjectDef(XObjectDef* definition) {
    XObjectDefRegistry::Shared().Register(definition);
    if (definition && m_scene) m_scene->ensureSettingsObjects();
}

bool XApplication::UnregisterObjectDef(XObjectDef* definition) { return XObjectDefRegistry::Shared().Unregister(definition); }

XObjectDef* XApplication::ObjectDefinition(const std::wstring& typeId) const {
    return XObjectDefRegistry::Shared().Find(typeId);
}

const std::vector<XObjectDef*>& XApplication::ObjectDefinitions() const { return XObjectDefRegistry::Shared().All(); }

XSettings& XApplication::Settings() {
    if (!m_settings) {
        m_settings = std::make_unique<XSettings>();
        m_settings->Open();
    }
    return *m_settings;
}

void XApplication::AddSettingsObserver(XSettingsObserver* observer) {
    if (XSettingsObservers::Shared().Add(observer) && m_settings) observer->OnSettingsRegistered(*m_settings);
}

void XApplication::RemoveSettingsObserver(XSettingsObserver* observer) { XSettingsObservers::Shared().Remove(observer); }

bool XApplication::IsSettingsObserver(XSettingsObserver* observer) const {
    return XSettingsObservers::Shared().Contains(observer);
}

std::vector<XSettingsObserver*> XApplication::SettingsObservers() const { return XSettingsObservers::Shared().All(); }

XPluginManager& XApplication::PluginManager() {
    if (!m_pluginManager) m_pluginManager = std::make_unique<XPluginManager>(Settings());
    return *m_pluginManager;
}

XCommand XApplication::ActiveCommand() const {
    if (!m_scene || m_activeCommandId < 0) return {};
    XCommand command(m_scene->Database().Object(m_activeCommandId));
    return command.IsValid() ? command : m_scene->CommandObject(m_activeCommandType);
}

std::wstring XApplication::ActiveCommandName() const { return ActiveCommand().Title(); }

bool XApplication::SetActiveCommand(const XObject& command) {
    XCommand c(command);
    if (!c.IsValid() || c.DatabasePointer() != &ActiveScene().Database()) return false;
    m_activeCommandId = c.ObjectID();
    m_activeCommandType = c.ObjectType();
    return true;
}

void XApplication::ClearActiveCommand() {
    m_activeCommandId = -1;
    m_activeCommandType.clear();
}

XCommand XApplication::StartCommand(const std::wstring& typeId) {
    XCommand command = ActiveScene().CommandObject(typeId);
    if (command.IsValid()) SetActiveCommand(command);
    return command;
}

XLuaScript& XApplication::LuaScript() {
    if (!m_luaScript) m_luaScript = std::make_unique<XLuaScript>(XLuaScript::Trust::Application);
    return *m_luaScript;
}

void XApplication::LogInformation(const wchar_t* text) { XLog::Write(std::wstring(text ? text : L"")); }
const std::vector<std::wstring>& XApplication::LogLines() const { return XLog::Lines(); }
void XApplication::SetLogSink(XLog::Sink sink) { XLog::SetSink(std::move(sink)); }

bool XApplication::IsTrusted(const std::wstring& fileName, const std::wstring& scriptsHash) {
    return Settings().IsTrusted(fileName, scriptsHash);
}

void XApplication::Trust(const std::wstring& fileName, const std::wstring& scriptsHash) {
    Settings().Trust(fileName, scriptsHash);
}

std::unique_ptr<XSceneScriptRunner> XApplication::CreateRunner(XScene& scene) {
    return std::make_unique<XSceneScripts>(scene);
}

}  // namespace VelX

#include <velxcore/XApplication.h>
#include <velxcore/XLuaScript.h>
#include <velxcore/XObjectDef.h>
#include <velxcore/XPluginManager.h>
#include <velxcore/XScene.h>
#include <velxcore/XSettings.h>
#include <velxcore/XSettingsObserver.h>

#include <velscenegraph/SceneGraphNodes.h>
#include <velutils/StringUtils.h>

#include <algorithm>

namespace VelX {

XApplication& XApplication::Instance() {
    static XApplication application;
    return application;
}

XApplication::XApplication() {
    for (const db::NodeDef* def : sg::allNodeDefs()) {
        if (def->hasFlag(db::Abstract)) continue;
        std::wstring name = Velutils::StringUtils::toWide(def->typeName());
        m_builtInDefinitions.push_back(std::make_unique<XObjectDef>(name, name));
        m_definitions.push_back(m_builtInDefinitions.back().get());
    }
}

XApplication::~XApplication() = default;

XScene& XApplication::ActiveScene() {
    if (!m_scene) m_scene = std::make_unique<XScene>();
    return *m_scene;
}

void XApplication::AddSceneObserver(XSceneObserver* observer) {
    if (observer && !IsSceneObserver(observer)) m_sceneObservers.push_back(observer);
}

void XApplication::RemoveSceneObserver(XSceneObserver* observer) {
    m_sceneObservers.erase(std::remove(m_sceneObservers.begin(), m_sceneObservers.end(), observer), m_sceneObservers.end());
}

bool XApplication::IsSceneObserver(XSceneObserver* observer) const {
    return std::find(m_sceneObservers.begin(), m_sceneObservers.end(), observer) != m_sceneObservers.end();
}

void XApplication::RegisterObjectDef(XObjectDef* definition) {
    if (!definition) return;
    // A library's definition takes the place of the core's own for the same type.
    for (XObjectDef*& existing : m_definitions) {
        if (existing->ObjectType() == definition->ObjectType()) {
            existing = definition;
            if (m_scene) m_scene->ensureSettingsObjects();
            return;
        }
    }
    m_definitions.push_back(definition);
    if (m_scene) m_scene->ensureSettingsObjects();
}

bool XApplication::UnregisterObjectDef(XObjectDef* definition) {
    auto it = std::find(m_definitions.begin(), m_definitions.end(), definition);
    if (it == m_definitions.end() || !definition->CanUnregister()) return false;
    for (const auto& builtIn : m_builtInDefinitions) {
        if (builtIn->ObjectType() == definition->ObjectType()) {
            *it = builtIn.get();
            return true;
        }
    }
    m_definitions.erase(it);
    return true;
}

XObjectDef* XApplication::ObjectDefinition(const std::wstring& typeId) const {
    for (XObjectDef* def : m_definitions)
        if (def->ObjectType() == typeId) return def;
    return nullptr;
}

XSettings& XApplication::Settings() {
    if (!m_settings) {
        m_settings = std::make_unique<XSettings>();
        m_settings->Open();
    }
    return *m_settings;
}

void XApplication::AddSettingsObserver(XSettingsObserver* observer) {
    if (!observer || IsSettingsObserver(observer)) return;
    m_settingsObservers.push_back(observer);
    if (m_settings) observer->OnSettingsRegistered(*m_settings);
}

void XApplication::RemoveSettingsObserver(XSettingsObserver* observer) {
    m_settingsObservers.erase(std::remove(m_settingsObservers.begin(), m_settingsObservers.end(), observer),
                              m_settingsObservers.end());
}

bool XApplication::IsSettingsObserver(XSettingsObserver* observer) const {
    return std::find(m_settingsObservers.begin(), m_settingsObservers.end(), observer) != m_settingsObservers.end();
}

XPluginManager& XApplication::PluginManager() {
    if (!m_pluginManager) m_pluginManager = std::make_unique<XPluginManager>();
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

void XApplication::LogInformation(const wchar_t* text) {
    std::wstring line = text ? text : L"";
    m_log.push_back(line);
    if (m_sink) m_sink(line);
}

}  // namespace VelX

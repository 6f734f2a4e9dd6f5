#include <velxcore/XLuaScript.h>
#include <velxcore/XPythonScript.h>
#include <velxcore/XSceneScripts.h>

namespace VelX {

XSceneScripts::XSceneScripts(XScene& scene) : m_scene(scene) {}

XSceneScripts::~XSceneScripts() = default;

bool XSceneScripts::Run(int language, const std::wstring& text, const wchar_t* scriptName) {
    if (language == 1) {
        if (!m_lua) {
            m_lua = std::make_unique<XLuaScript>(XLuaScript::Trust::Sandboxed);
            m_lua->SetScene(&m_scene);
        }
        return m_lua->RunSceneScript(text, scriptName, m_scene) == 0;
    }
    if (language == 0) {
        if (!m_python) {
            m_python = std::make_unique<XPythonScript>();
            m_python->BindScene(&m_scene);
        }
        return m_python->RunSceneScript(text, scriptName, m_scene);
    }
    return false;  // an unknown language runs nothing
}

}  // namespace VelX

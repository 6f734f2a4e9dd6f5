#include <velxcore/XApplication.h>
#include <velxcore/XLuaScript.h>
#include <velxcore/XPythonScript.h>
#include <velxcore/XScene.h>
#include <velxcore/XSettings.h>
#include <velxcore/XSimulation.h>

#include <velscenegraph/SceneGraphNodes.h>
#include <velutils/Sha256.h>
#include <velutils/StringUtils.h>

namespace VelX {

using Velutils::StringUtils;

XSimulation::XSimulation(XScene& scene) : m_scene(scene) {}
XSimulation::~XSimulation() = default;

std::wstring XSimulation::ScriptsHash() const {
    XSceneSettings settings = m_scene.SceneSettings();
    std::string text;
    for (int index : {sg::Index::StartScript, sg::Index::UpdateScript, sg::Index::EndScript}) {
        text += StringUtils::toUtf8(settings.Attribute(index).String());
        text += '\0';
    }
    return StringUtils::toWide(Velutils::Sha256::hex(text));
}

void XSimulation::TrustAsUserMade() {
    m_fileName.clear();
    m_trusted = true;
    m_warned = false;
    m_playing = false;
}

void XSimulation::CheckTrust(const std::wstring& fileName) {
    m_fileName = fileName;
    m_playing = false;
    m_warned = false;
    XSceneSettings settings = m_scene.SceneSettings();
    bool hasScripts = false;
    for (int index : {sg::Index::StartScript, sg::Index::UpdateScript, sg::Index::EndScript})
        hasScripts = hasScripts || !settings.Attribute(index).String().empty();
    m_trusted = !hasScripts || XApplication::Instance().Settings().IsTrusted(fileName, ScriptsHash());
}

void XSimulation::TrustScripts() {
    m_trusted = true;
    m_warned = false;
    if (!m_fileName.empty()) XApplication::Instance().Settings().Trust(m_fileName, ScriptsHash());
}

void XSimulation::RememberTrust(const std::wstring& fileName) {
    m_fileName = fileName;
    if (m_trusted) XApplication::Instance().Settings().Trust(fileName, ScriptsHash());
}

bool XSimulation::runScript(int attributeIndex, const wchar_t* scriptName) {
    XSceneSettings settings = m_scene.SceneSettings();
    const std::wstring text = settings.Attribute(attributeIndex).String();
    if (text.empty()) return true;
    if (!m_trusted) {
        if (!m_warned) {
            m_warned = true;
            const std::wstring message =
                L"The scripts in '" + m_fileName +
                L"' did not run: scripts that come inside a scene file run only after you trust that file "
                L"(velx-scene --trust FILE, or Trust Scene Scripts in the studio). A changed script asks again.";
            XApplication::Instance().LogInformation(message.c_str());
        }
        return false;
    }
    const int language = settings.ScriptingLanguage().Enumeration();
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

bool XSimulation::Play() {
    if (m_playing) return true;
    XSceneSettings settings = m_scene.SceneSettings();
    settings.SetFrame(settings.PlaybackStartFrame());
    if (!runScript(sg::Index::StartScript, L"simulation start script") && m_trusted) return false;
    m_playing = m_trusted;
    return m_playing;
}

bool XSimulation::Step() {
    if (!m_playing) return false;
    XSceneSettings settings = m_scene.SceneSettings();
    float next = settings.Frame() + 1.0f;
    if (next > settings.PlaybackEndFrame()) {
        if (!settings.Attribute(L"loopPlayback").Boolean()) {
            Stop();
            return false;
        }
        next = settings.PlaybackStartFrame();
    }
    settings.SetFrame(next);
    return runScript(sg::Index::UpdateScript, L"simulation update script");
}

bool XSimulation::Stop() {
    if (!m_playing) return false;
    m_playing = false;
    runScript(sg::Index::EndScript, L"simulation end script");
    return true;
}

}  // namespace VelX

#include <velxcore/XLog.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneScriptRunner.h>
#include <velxcore/XSimulation.h>
#include <velxcore/XSimulationHost.h>

#include <velscenegraph/SceneGraphNodes.h>
#include <velutils/Sha256.h>
#include <velutils/StringUtils.h>

namespace VelX {

using Velutils::StringUtils;

namespace {
XSimulationHost* g_host = nullptr;
}

void XSimulation::SetHost(XSimulationHost* host) { g_host = host; }
XSimulationHost* XSimulation::Host() { return g_host; }

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
    m_trusted = !hasScripts || (g_host && g_host->IsTrusted(fileName, ScriptsHash()));
}

void XSimulation::TrustScripts() {
    m_trusted = true;
    m_warned = false;
    if (!m_fileName.empty() && g_host) g_host->Trust(m_fileName, ScriptsHash());
}

void XSimulation::RememberTrust(const std::wstring& fileName) {
    m_fileName = fileName;
    if (m_trusted && g_host) g_host->Trust(fileName, ScriptsHash());
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
            XLog::Write(message);
        }
        return false;
    }
    if (!m_runner) {
        if (!g_host) {
            XLog::Write(std::wstring(L"The ") + scriptName + L" did not run: this program has no scripting.");
            return false;
        }
        m_runner = g_host->CreateRunner(m_scene);
    }
    return m_runner && m_runner->Run(settings.ScriptingLanguage().Enumeration(), text, scriptName);
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

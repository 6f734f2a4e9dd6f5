#include <velxcore/XLog.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneScriptRunner.h>
#include <velxcore/XSimulation.h>
#include <velxcore/XSimulationHost.h>

#include <veldatabase/Database.h>
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

XSimulation::XSimulation(XScene& scene) : m_scene(scene) {
    m_scene.Database().db().setPlaybackEndedHandler([this](bool reverted) {
        // Stop reverts after it stopped; here playback ended from outside: an undo (reverted) or an
        // edit while playing, which keeps what the simulation did as an undo step under the edit.
        if (!m_playing) return;
        m_playing = false;
        if (reverted) return;
        XLog::Write(L"Editing during playback stopped the simulation; its result is kept as the undo step '" +
                    StringUtils::toWide(db::Database::PlaybackKeptStepName) + L"'.");
    });
}

XSimulation::~XSimulation() { m_scene.Database().db().setPlaybackEndedHandler(nullptr); }

// One call's work (the frame it moves to and its script) as playback rounds: no undo steps, no
// unsaved change, and reverted by Stop.
template <typename Work>
bool XSimulation::inPlaybackRound(Work&& work) {
    db::Database& database = m_scene.Database().db();
    database.setPlaybackMode(true);
    struct ModeOff {
        db::Database& database;
        ~ModeOff() { database.setPlaybackMode(false); }
    } off{database};
    return work();
}

std::wstring XSimulation::ScriptsHash() const {
    // Everything that decides what runs: the language and the three texts. A text harmless in one
    // language can be hostile in the other, so the same texts under another language ask again.
    XSceneSettings settings = m_scene.SceneSettings();
    std::string text = "language " + std::to_string(settings.ScriptingLanguage().Enumeration());
    text += '\0';
    for (int index : {sg::Index::StartScript, sg::Index::UpdateScript, sg::Index::EndScript}) {
        text += StringUtils::toUtf8(settings.Attribute(index).String());
        text += '\0';
    }
    return StringUtils::toWide(Velutils::Sha256::hex(text));
}

bool XSimulation::HasScripts() const {
    XSceneSettings settings = m_scene.SceneSettings();
    for (int index : {sg::Index::StartScript, sg::Index::UpdateScript, sg::Index::EndScript})
        if (!settings.Attribute(index).String().empty()) return true;
    return false;
}

int XSimulation::CurrentLanguage() const { return m_scene.SceneSettings().ScriptingLanguage().Enumeration(); }

void XSimulation::TrustAsUserMade() {
    m_fileName.clear();
    m_trusted = true;
    m_trustedLanguage = AnyLanguage;
    m_warned = false;
    m_playing = false;
}

void XSimulation::CheckTrust(const std::wstring& fileName) {
    m_fileName = fileName;
    m_playing = false;
    m_warned = false;
    m_trusted = !HasScripts() || (g_host && g_host->IsTrusted(fileName, ScriptsHash()));
    m_trustedLanguage = CurrentLanguage();
}

void XSimulation::TrustScripts() {
    m_trusted = true;
    m_trustedLanguage = m_fileName.empty() ? AnyLanguage : CurrentLanguage();
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
    if (m_trusted && m_trustedLanguage != AnyLanguage && CurrentLanguage() != m_trustedLanguage) {
        // The file's scripts were trusted in one language and the language changed since (a sandboxed
        // script may write it): running them in the other language needs the user's word again.
        m_trusted = false;
        m_warned = false;
    }
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
    // Untrusted scripts are skipped (said once in the log); the keyframes still play.
    const bool started = inPlaybackRound([&] {
        XSceneSettings settings = m_scene.SceneSettings();
        settings.SetFrame(settings.PlaybackStartFrame());
        return runScript(sg::Index::StartScript, L"simulation start script") || !m_trusted;
    });
    if (!started) {
        m_scene.Database().db().revertPlayback();
        return false;
    }
    m_playing = true;
    return true;
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
    return inPlaybackRound([&] {
        settings.SetFrame(next);
        return runScript(sg::Index::UpdateScript, L"simulation update script") || !m_trusted;
    });
}

bool XSimulation::Stop() {
    if (!m_playing) return false;
    inPlaybackRound([&] { return runScript(sg::Index::EndScript, L"simulation end script"); });
    m_playing = false;
    // The scene goes back to how it was before playing started.
    m_scene.Database().db().revertPlayback();
    return true;
}

}  // namespace VelX

#pragma once

#include <memory>
#include <string>

namespace VelX {

class XScene;
class XSceneScriptRunner;
class XSimulationHost;

// Simulation playback of a scene and the trust gate of its scripts.
//
// The scene settings carry three scripts (start, update, end) in the scene's scripting language.
// Scripts that arrive inside a scene file are a stranger's code: they run only after the user
// trusts that file, and trust is tied to a hash of the three texts, so a changed script asks again.
// Scenes the user made are trusted. Lua scene scripts always run in the sandbox; Python ones only
// ever run trusted. Each call runs in one change block: a script that fails or is stopped leaves
// the scene exactly as it was before that call.
class XSimulation {
public:
    explicit XSimulation(XScene& scene);
    // The host every simulation asks for trust and interpreters (null: none, scripts never run).
    static void SetHost(XSimulationHost* host);
    static XSimulationHost* Host();
    ~XSimulation();
    XSimulation(const XSimulation&) = delete;
    XSimulation& operator=(const XSimulation&) = delete;

    bool IsTrusted() const { return m_trusted; }
    // SHA-256 over the three scripts' text.
    std::wstring ScriptsHash() const;
    // The scene was made here: its scripts are the user's own.
    void TrustAsUserMade();
    // The scene came from a file: trusted only when the settings remember this file with this hash.
    void CheckTrust(const std::wstring& fileName);
    // The user trusts the scripts as they are now; remembered for the file in the settings.
    void TrustScripts();
    // A trusted scene saved under a name keeps its trust there.
    void RememberTrust(const std::wstring& fileName);

    // Runs the start script and starts playing; false when the script did not run or failed.
    bool Play();
    // Advances one frame (looping or stopping at the playback range) and runs the update script.
    bool Step();
    // Runs the end script and stops; false when nothing was playing.
    bool Stop();
    bool IsPlaying() const { return m_playing; }

private:
    bool runScript(int attributeIndex, const wchar_t* scriptName);

    XScene& m_scene;
    std::wstring m_fileName;
    bool m_trusted = true;
    bool m_playing = false;
    bool m_warned = false;
    std::unique_ptr<XSceneScriptRunner> m_runner;
};

}  // namespace VelX

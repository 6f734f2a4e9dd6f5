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
// trusts that file (until then playback moves the frame and skips them), and trust is tied to a hash of the scripting language and the three texts, so a
// changed script or language asks again; a language changed after trusting also asks again.
// Scenes the user made are trusted. Lua scene scripts always run in the sandbox; Python ones only
// ever run trusted. Each call runs in one playback round: a script that fails or is stopped leaves
// the scene exactly as it was before that call. Playing is not editing: playback rounds are no undo
// steps and no unsaved changes, and Stop puts the scene back as it was before Play.
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
    bool HasScripts() const;
    // SHA-256 over the scripting language and the three scripts' text.
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
    // Runs the end script, stops and reverts what playing changed; false when nothing was playing.
    bool Stop();
    bool IsPlaying() const { return m_playing; }

private:
    static constexpr int AnyLanguage = -1;
    int CurrentLanguage() const;
    bool runScript(int attributeIndex, const wchar_t* scriptName);
    template <typename Work>
    bool inPlaybackRound(Work&& work);

    XScene& m_scene;
    std::wstring m_fileName;
    bool m_trusted = true;
    int m_trustedLanguage = AnyLanguage;  // the language a file's scripts were trusted in
    bool m_playing = false;
    bool m_warned = false;
    std::unique_ptr<XSceneScriptRunner> m_runner;
};

}  // namespace VelX

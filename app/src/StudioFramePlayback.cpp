// The studio frame's playback: play, stop, step, and trusting the scene's scripts.
#include <velxstudio/StudioFrame.h>

#include <velxstudio/SceneOverviewPanel.h>
#include <velxstudio/TrustScriptsDialog.h>

#include <orkacore/Logger.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneSettings.h>
#include <velxcore/XSimulation.h>

#include <wx/filename.h>

#include <algorithm>
#include <cmath>

void StudioFrame::Play() {
    VelX::XSimulation& simulation = m_scene.Simulation();
    if (simulation.IsPlaying()) return;
    if (!simulation.Play()) {
        SetStatusText("The start script failed; see the log.", StatusMessage);
        return;
    }
    VelX::XSceneSettings settings = m_scene.SceneSettings();
    float rate = settings.IsValid() ? settings.FrameRate().Float() : 30.0f;
    if (!(rate > 0.0f) || !std::isfinite(rate)) rate = 30.0f;
    m_playbackTimer.Start(std::max(1, static_cast<int>(std::lround(1000.0f / rate))));
    SetStatusText(simulation.HasScripts() && !simulation.IsTrusted()
                      ? "Playing without the scene's scripts: they are not trusted (Playback > Trust Scene Scripts)."
                      : "Playing",
                  StatusMessage);
    requestStatusUpdate();
}

void StudioFrame::StopPlayback() {
    m_playbackTimer.Stop();
    if (m_scene.Simulation().IsPlaying()) {
        m_scene.Simulation().Stop();
        SetStatusText("Stopped", StatusMessage);
        requestStatusUpdate();
    }
}

void StudioFrame::StepFrame() {
    VelX::XSimulation& simulation = m_scene.Simulation();
    if (simulation.IsPlaying()) {
        if (!simulation.Step()) SetStatusText("The update script failed; see the log.", StatusMessage);
        return;
    }
    // Stopped: move the time one frame on within the playback range, without running scripts.
    VelX::XSceneSettings settings = m_scene.SceneSettings();
    if (!settings.IsValid()) return;
    float next = settings.Frame() + 1.0f;
    if (next > settings.PlaybackEndFrame()) next = settings.PlaybackStartFrame();
    settings.SetFrame(next);
}

void StudioFrame::GoToStart() {
    const bool wasPlaying = m_scene.Simulation().IsPlaying();
    StopPlayback();  // puts back what the simulation changed
    VelX::XSceneSettings settings = m_scene.SceneSettings();
    if (!settings.IsValid()) return;
    settings.SetFrame(settings.PlaybackStartFrame());
    if (wasPlaying) Play();
}

void StudioFrame::onPlaybackTimer(wxTimerEvent&) {
    VelX::XSimulation& simulation = m_scene.Simulation();
    if (!simulation.IsPlaying() || !simulation.Step() || !simulation.IsPlaying()) {
        m_playbackTimer.Stop();
        if (simulation.IsPlaying()) simulation.Stop();
        SetStatusText("Stopped", StatusMessage);
    }
}

void StudioFrame::onTrustScripts(wxCommandEvent&) { AskToTrustScripts(); }

void StudioFrame::AskToTrustScripts() {
    VelX::XSimulation& simulation = m_scene.Simulation();
    if (simulation.IsTrusted()) {
        SetStatusText("The scene's scripts are already trusted.", StatusMessage);
        return;
    }
    VelX::XSceneSettings settings = m_scene.SceneSettings();
    const auto language = settings.ScriptingLanguage().Enumeration() == 0 ? TrustScriptsDialog::Language::Python
                                                                         : TrustScriptsDialog::Language::Lua;
    const TrustScriptsDialog::Scripts scripts{settings.StartScript().String(), settings.UpdateScript().String(),
                                              settings.EndScript().String()};
    const wxString name = SceneFileName().empty() ? wxString("this scene") : wxFileName(SceneFileName()).GetFullName();
    TrustScriptsDialog dialog(this, name, language, scripts);
    if (!m_askTrust || !m_askTrust(dialog)) return;
    simulation.TrustScripts();
    m_logger.information(language == TrustScriptsDialog::Language::Python
                             ? "The scene's Python scripts are trusted from now on; they run with your full rights."
                             : "The scene's Lua scripts are trusted from now on; they run in the sandbox.");
    requestStatusUpdate();
}


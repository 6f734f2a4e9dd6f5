#include <velxcore/XSceneSettings.h>

#include <velscenegraph/SceneGraphNodes.h>

namespace VelX {

const std::wstring XSceneSettings::TypeID = L"SceneSettings";

XSceneSettings::XSceneSettings(const XObject& object) : XObject(object) {
    if (!IsType(TypeID)) m_id = -1;
}

float XSceneSettings::get(int index) const { return Attribute(index).Float(); }
XSceneSettings& XSceneSettings::set(int index, float value) {
    Attribute(index).SetFloat(value);
    return *this;
}

float XSceneSettings::Frame() const { return get(sg::Index::Frame); }
float XSceneSettings::StartFrame() const { return get(sg::Index::StartFrame); }
float XSceneSettings::EndFrame() const { return get(sg::Index::EndFrame); }
float XSceneSettings::PlaybackStartFrame() const { return get(sg::Index::PlaybackStartFrame); }
float XSceneSettings::PlaybackEndFrame() const { return get(sg::Index::PlaybackEndFrame); }
XSceneSettings& XSceneSettings::SetFrame(float frame) { return set(sg::Index::Frame, frame); }
XSceneSettings& XSceneSettings::SetStartFrame(float frame) { return set(sg::Index::StartFrame, frame); }
XSceneSettings& XSceneSettings::SetEndFrame(float frame) { return set(sg::Index::EndFrame, frame); }
XSceneSettings& XSceneSettings::SetPlaybackStartFrame(float frame) { return set(sg::Index::PlaybackStartFrame, frame); }
XSceneSettings& XSceneSettings::SetPlaybackEndFrame(float frame) { return set(sg::Index::PlaybackEndFrame, frame); }
XAttribute XSceneSettings::FrameRate() const { return Attribute(sg::Index::FrameRate); }
XAttribute XSceneSettings::Plugins() const { return Attribute(sg::Index::Plugins); }
XAttribute XSceneSettings::ScriptingLanguage() const { return Attribute(sg::Index::ScriptingLanguage); }
XAttribute XSceneSettings::StartScript() const { return Attribute(sg::Index::StartScript); }
XAttribute XSceneSettings::UpdateScript() const { return Attribute(sg::Index::UpdateScript); }
XAttribute XSceneSettings::EndScript() const { return Attribute(sg::Index::EndScript); }

}  // namespace VelX

#pragma once

#include <velxcore/XAttribute.h>
#include <velxcore/XObject.h>

namespace VelX {

// The scene's own settings object: time range, frame rate, plug-ins, scripting language and the
// three simulation scripts (attributes 25, 26, 27).
class XSceneSettings : public XObject {
public:
    static const std::wstring TypeID;
    XSceneSettings() = default;
    explicit XSceneSettings(const XObject& object);

    float Frame() const;
    float StartFrame() const;
    float EndFrame() const;
    float PlaybackStartFrame() const;
    float PlaybackEndFrame() const;
    XSceneSettings& SetFrame(float frame);
    XSceneSettings& SetStartFrame(float frame);
    XSceneSettings& SetEndFrame(float frame);
    XSceneSettings& SetPlaybackStartFrame(float frame);
    XSceneSettings& SetPlaybackEndFrame(float frame);
    XAttribute FrameRate() const;
    XAttribute Plugins() const;
    XAttribute ScriptingLanguage() const;
    XAttribute StartScript() const;
    XAttribute UpdateScript() const;
    XAttribute EndScript() const;

private:
    float get(int index) const;
    XSceneSettings& set(int index, float value);
};

}  // namespace VelX

#pragma once

#include <velxui/XEditorSettingsObject.h>

#include <velscenegraph/SceneGraphNodes.h>

namespace VelXUI {

// The timeline editor's view options: whether dragged times snap to whole frames. The scene keeps
// one object of the type, at top level, named by the type.
class XTimelineEditorSettings
    : public XEditorSettingsObject<XTimelineEditorSettings, sg::TimelineEditorSettingsNode> {
public:
    static constexpr const wchar_t* TypeID = L"TimelineEditorSettings";

    using XEditorSettingsObject::XEditorSettingsObject;

    // The number of live wrappers of this class.
    static unsigned& ObjectRefCount();

    const VelX::XObjectDef* definition() const override;
    // Snapping to frames to its default, off.
    void onInitialize() override;

    VelX::XAttribute SnapToFrames() const;  // 8, bool
};

}  // namespace VelXUI

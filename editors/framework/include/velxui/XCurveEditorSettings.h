#pragma once

#include <velxui/XEditorSettingsObject.h>

#include <velscenegraph/SceneGraphNodes.h>

namespace VelXUI {

// The curve editor's view options: the visible ranges of both axes and their snapping. The scene
// keeps one object of the type, at top level, named by the type; the editor wraps it each time it
// reads or writes a value and keeps nothing itself.
class XCurveEditorSettings : public XEditorSettingsObject<XCurveEditorSettings, sg::CurveEditorSettingsNode> {
public:
    static constexpr const wchar_t* TypeID = L"CurveEditorSettings";

    using XEditorSettingsObject::XEditorSettingsObject;

    // The number of live wrappers of this class.
    static unsigned& ObjectRefCount();

    const VelX::XObjectDef* definition() const override;
    // Every attribute to its default, as one change: -5, 77, off, 1 horizontally; -100, 100, off, 1
    // vertically.
    void onInitialize() override;

    VelX::XAttribute HorizontalRangeStart() const;     // 8, float
    VelX::XAttribute HorizontalRangeEnd() const;       // 9, float
    VelX::XAttribute HorizontalSnapping() const;       // 10, bool
    VelX::XAttribute HorizontalSnapTolerance() const;  // 11, float
    VelX::XAttribute VerticalRangeStart() const;       // 12, float
    VelX::XAttribute VerticalRangeEnd() const;         // 13, float
    VelX::XAttribute VerticalSnapping() const;         // 14, bool
    VelX::XAttribute VerticalSnapTolerance() const;    // 15, float
};

}  // namespace VelXUI

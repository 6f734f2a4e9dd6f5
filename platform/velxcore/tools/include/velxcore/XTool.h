#pragma once

#include <velxcore/XAttribute.h>
#include <velxcore/XSceneObject.h>

#include <string>

namespace VelX {

// A manipulator tool and its settings. Every scene has four built-in tools, hidden from the
// explorer and never deleted: translate (tool index 3), rotate (4), scale (5) and IK drag (6).
class XTool : public XSceneObject {
public:
    static const std::wstring TypeID;
    static constexpr int FirstBuiltInIndex = 3;
    static constexpr int LastBuiltInIndex = 6;

    XTool() = default;
    explicit XTool(const XObject& object) : XSceneObject(object, TypeID) {}

    // "TranslateTool", "RotateTool", "ScaleTool", "IKDragTool" for 3..6; empty for other indices.
    static std::wstring BuiltInToolType(int index);
    int ToolIndex() const;  // 3..6 for the built-in tools, -1 otherwise

    XAttribute ToolName() const;
    XAttribute Space() const;  // world, object, parent
    XAttribute Snapping() const;
    XAttribute SnapIncrement() const;
    XAttribute HandleSize() const;
    // The value on the snapping grid when snapping is on and the increment is usable.
    float Snap(float value) const;

    // Gives a built-in tool its name when it has none (scene creation and loading).
    void initialiseName();
};

}  // namespace VelX

#include <velxcore/XTool.h>

#include <cmath>

namespace VelX {

const std::wstring XTool::TypeID = L"Tool";

namespace {
constexpr int ToolNameIndex = 8, SpaceIndex = 9, SnappingIndex = 10, SnapIncrementIndex = 11, HandleSizeIndex = 12;

struct BuiltInTool {
    const wchar_t* type;
    const wchar_t* name;
};
constexpr BuiltInTool builtInTools[] = {
    {L"TranslateTool", L"Translate"}, {L"RotateTool", L"Rotate"}, {L"ScaleTool", L"Scale"}, {L"IKDragTool", L"IK Drag"}};
}  // namespace

std::wstring XTool::BuiltInToolType(int index) {
    if (index < FirstBuiltInIndex || index > LastBuiltInIndex) return {};
    return builtInTools[index - FirstBuiltInIndex].type;
}

int XTool::ToolIndex() const {
    for (int i = FirstBuiltInIndex; i <= LastBuiltInIndex; ++i)
        if (IsType(builtInTools[i - FirstBuiltInIndex].type)) return i;
    return -1;
}

XAttribute XTool::ToolName() const { return Attribute(ToolNameIndex); }
XAttribute XTool::Space() const { return Attribute(SpaceIndex); }
XAttribute XTool::Snapping() const { return Attribute(SnappingIndex); }
XAttribute XTool::SnapIncrement() const { return Attribute(SnapIncrementIndex); }
XAttribute XTool::HandleSize() const { return Attribute(HandleSizeIndex); }

float XTool::Snap(float value) const {
    if (!IsValid() || !Snapping().Boolean() || !std::isfinite(value)) return value;
    const float increment = SnapIncrement().Float();
    if (!(increment > 0.0f) || !std::isfinite(increment)) return value;
    const float snapped = std::round(value / increment) * increment;
    return std::isfinite(snapped) ? snapped : value;
}

void XTool::initialiseName() {
    const int index = ToolIndex();
    XAttribute name = ToolName();
    if (index >= 0 && name.IsValid() && name.String().empty())
        name.SetString(builtInTools[index - FirstBuiltInIndex].name);
}

}  // namespace VelX

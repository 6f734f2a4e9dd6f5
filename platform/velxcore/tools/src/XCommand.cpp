#include <velxcore/XCommand.h>
#include <velxcore/XCreateJointChainCommand.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XMirrorJointsCommand.h>

namespace VelX {

const std::wstring XCommand::TypeID = L"Command";

namespace {
constexpr int CommandNameIndex = 8, DescriptionIndex = 9;

struct BuiltInCommand {
    const std::wstring& type;
    const wchar_t* name;
    const wchar_t* description;
};
const BuiltInCommand* builtInCommands(std::size_t& count) {
    static const BuiltInCommand commands[] = {
        {XCreateJointChainCommand::TypeID, L"Create Joint Chain",
         L"Creates a chain of joints spaced evenly along an axis, under the selected transform."},
        {XMirrorJointsCommand::TypeID, L"Mirror Joints",
         L"Copies the selected joint hierarchies mirrored across a plane, renaming the copies."}};
    count = std::size(commands);
    return commands;
}
}  // namespace

XAttribute XCommand::CommandName() const { return Attribute(CommandNameIndex); }
XAttribute XCommand::Description() const { return Attribute(DescriptionIndex); }

std::wstring XCommand::Title() const {
    if (!IsValid()) return {};
    std::wstring name = CommandName().String();
    return name.empty() ? ObjectDisplayType() : name;
}

bool XCommand::Execute() {
    if (!IsValid()) return false;
    // An empty block leaves no undo step, so a refused command leaves no trace.
    m_database->BeginChangeBlock();
    bool done = false;
    if (IsType(XCreateJointChainCommand::TypeID)) done = XCreateJointChainCommand(*this).run();
    else if (IsType(XMirrorJointsCommand::TypeID)) done = XMirrorJointsCommand(*this).run();
    m_database->EndChangeBlock(Title());
    return done;
}

void XCommand::BuiltInCommandTypes(std::vector<std::wstring>& out) {
    std::size_t count = 0;
    const BuiltInCommand* commands = builtInCommands(count);
    for (std::size_t i = 0; i < count; ++i) out.push_back(commands[i].type);
}

void XCommand::initialiseName() {
    if (!IsValid()) return;
    std::size_t count = 0;
    const BuiltInCommand* commands = builtInCommands(count);
    for (std::size_t i = 0; i < count; ++i) {
        if (!IsType(commands[i].type)) continue;
        if (CommandName().String().empty()) CommandName().SetString(commands[i].name);
        if (Description().String().empty()) Description().SetString(commands[i].description);
    }
}

}  // namespace VelX

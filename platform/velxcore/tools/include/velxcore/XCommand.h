#pragma once

#include <velxcore/XAttribute.h>
#include <velxcore/XSceneObject.h>

#include <string>
#include <vector>

namespace VelX {

// A command and its parameters (the command object's attributes). Every scene has one hidden
// object of each built-in command type, so the parameters are kept and saved with the scene;
// XScene::CommandObject finds it and XApplication::StartCommand makes it the active command.
class XCommand : public XSceneObject {
public:
    static const std::wstring TypeID;
    XCommand() = default;
    explicit XCommand(const XObject& object) : XSceneObject(object, TypeID) {}

    XAttribute CommandName() const;
    XAttribute Description() const;
    // The name shown to the user: the command name, else the type's display name.
    std::wstring Title() const;

    // Performs the command on its scene as one undo step named after it. False, with no undo
    // step, when the parameters are unusable, there is nothing to act on, or the type has no action.
    bool Execute();

    // The types of the built-in commands.
    static void BuiltInCommandTypes(std::vector<std::wstring>& out);
    // Gives a built-in command its name and description when it has none.
    void initialiseName();

protected:
    XCommand(const XObject& object, const std::wstring& requiredType) : XSceneObject(object, requiredType) {}
};

}  // namespace VelX

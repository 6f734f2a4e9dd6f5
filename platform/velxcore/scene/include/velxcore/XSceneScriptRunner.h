#pragma once

#include <string>

namespace VelX {

// Runs one scene's simulation scripts, keeping what a script leaves behind (its globals) from one
// call to the next.
class XSceneScriptRunner {
public:
    virtual ~XSceneScriptRunner() = default;
    // Runs the text in the scene's scripting language (0 Python, 1 Lua) as one change block; a
    // script that fails or is stopped leaves the scene as it was. False when it did not complete.
    virtual bool Run(int language, const std::wstring& text, const wchar_t* scriptName) = 0;
};

}  // namespace VelX

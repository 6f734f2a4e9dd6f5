#pragma once

#include <velxcore/XSceneScriptRunner.h>

#include <memory>

namespace VelX {

class XLuaScript;
class XPythonScript;
class XScene;

// Runs a scene's simulation scripts: Lua always in the sandbox, Python with the user's rights (so
// only ever for trusted files, which the simulation checks before it asks). Each language keeps one
// interpreter state per scene, made on first use, so the start script's globals reach the others.
class XSceneScripts : public XSceneScriptRunner {
public:
    explicit XSceneScripts(XScene& scene);
    ~XSceneScripts() override;

    bool Run(int language, const std::wstring& text, const wchar_t* scriptName) override;

private:
    XScene& m_scene;
    std::unique_ptr<XLuaScript> m_lua;
    std::unique_ptr<XPythonScript> m_python;
};

}  // namespace VelX

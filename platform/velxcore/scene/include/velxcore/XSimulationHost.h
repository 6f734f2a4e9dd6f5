#pragma once

#include <memory>
#include <string>

namespace VelX {

class XScene;
class XSceneScriptRunner;

// What simulation playback needs from the services above the scene: where the user's trust in a
// file's scripts is remembered, and interpreters to run them. The application installs one; a
// program without scripting installs none, and its scenes' scripts never run.
class XSimulationHost {
public:
    virtual ~XSimulationHost() = default;
    virtual bool IsTrusted(const std::wstring& fileName, const std::wstring& scriptsHash) = 0;
    virtual void Trust(const std::wstring& fileName, const std::wstring& scriptsHash) = 0;
    virtual std::unique_ptr<XSceneScriptRunner> CreateRunner(XScene& scene) = 0;
};

}  // namespace VelX

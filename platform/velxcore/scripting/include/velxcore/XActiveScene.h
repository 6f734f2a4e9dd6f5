#pragma once

#include <functional>

namespace VelX {

class XScene;

// The scene a script acts on when none is bound to it: the application's active scene. Without a
// provider (a program that runs scripts but keeps no application) scripts get a scene of their own.
class XActiveScene {
public:
    static void SetProvider(std::function<XScene&()> provider);
    static XScene& Get();
};

}  // namespace VelX

#pragma once

namespace VelX {

class XScene;

// Builds the demo scene: a character with a joint hierarchy and limits, an IK handle and solver,
// meshes and primitives, physics joints and a constraint, a camera, animation, references and
// connections between objects, and groups.
class XDemoScene {
public:
    static void build(XScene& scene);
};

}  // namespace VelX

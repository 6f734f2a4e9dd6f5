#pragma once

#include "XSceneFileContents.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace VelX {

// The objects of a read scene file by path ("Hero/Hips"), which connections and the selection name
// them by. Paths are never built: each object keeps a hash of its path, made from its parent's, so
// a hierarchy thousands of levels deep costs no more than a flat one. A match by hash is confirmed
// by comparing the names up the hierarchy with the text. The hash's base is chosen at random, so
// a file cannot be made of names that collide.
class XScenePaths {
public:
    // The scene's objects must be linked (parents known, creation order set).
    explicit XScenePaths(const FileScene& scene);

    // The hash of every prefix of a text: hashes[k] is that of its first k characters.
    void prefixHashes(std::string_view text, std::vector<std::uint64_t>& hashes) const;
    // The object at the path whose hash is given, or -1.
    int find(std::string_view path, std::uint64_t hash) const;
    int find(std::string_view path) const;
    // Unique sibling names make unique paths unless a name holds '/': then two paths could be equal,
    // and that is refused (XJsonValueCodec::Error naming the second object in creation order).
    void refuseEqualPaths() const;
    // The path of an object, for messages.
    std::string pathOf(int object) const;

private:
    bool isPathOf(int object, std::string_view path) const;

    const FileScene& m_scene;
    std::uint64_t m_base;
    std::vector<std::pair<std::uint64_t, int>> m_byHash;  // (path hash, position in creation order), sorted
};

}  // namespace VelX

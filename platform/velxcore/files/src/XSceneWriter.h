#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace db {
class Database;
}

namespace VelX {

// Writes a scene database as scene-file text. No document is built: the text is made piece by
// piece and handed on whenever about PieceBytes are ready, so a large scene is never held whole
// as text. Objects (depth first, children in order), attributes (in the order of their type, only
// where they differ from a new object's) and connections (by destination) always come in the same
// order, so equal scenes give equal text.
class XSceneWriter {
public:
    static constexpr std::size_t PieceBytes = std::size_t(1) << 20;
    // Hands each piece to `write` in order; stops and returns false as soon as `write` does.
    using Piece = std::function<bool(std::string_view piece)>;
    static bool write(const db::Database& database, const Piece& write);
    // The whole text at once.
    static std::string text(const db::Database& database);
};

}  // namespace VelX

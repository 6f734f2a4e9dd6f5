#pragma once

#include <veldatabase/AttrKey.h>
#include <veldatabase/Database.h>
#include <veldatabase/AttributeDef.h>
#include <veldatabase/DatabaseChange.h>
#include <veldatabase/Node.h>
#include <veldatabase/PackedArray.h>
#include <veldatabase/Value.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace db {

// One recorded mutation; undo replays it backwards, redo forwards.
struct JournalOp {
    enum class Kind : std::uint8_t {
        SetValue,       // key, before, after
        Attach,         // parent, roots (index, id): nodes created; owned while undone
        Detach,         // parent, roots (index, id): nodes deleted; owned while deleted
        Rename,         // node, text before, text after
        Reparent,       // node, from (parent, index), to (parent, index)
        Connect,        // source, destination
        Disconnect,     // source, destination
        Select,         // ids before, ids after
        AddCustom,      // node, slot, def (owned while undone), value
        RemoveCustom,   // node, slot
        InsertElements,  // array key, first index, the elements inserted there (packed)
        RemoveElements,  // array key, first index, the elements removed from there (packed)
    };

    // A value write's two values (and an added custom attribute's initial value), apart from the
    // rest so that the most frequent record is small. A whole packed array (animation keys) keeps
    // its elements packed instead.
    struct Values {
        Value before, after;
        std::unique_ptr<PackedArray> arrayBefore, arrayAfter;
        std::unique_ptr<PackedArray> elements;  // inserted or removed elements
    };
    // Fields that only some kinds need live apart so that a created node costs a few bytes.
    struct Payload {
        std::string textBefore, textAfter;
        std::vector<int> idsBefore, idsAfter;
        std::vector<std::pair<int, int>> roots;  // (index in parent, id), ascending index
        std::vector<std::unique_ptr<Node>> owned;
        std::unique_ptr<AttributeDef> customDef;
    };

    Kind kind = Kind::SetValue;
    AttrKey key, key2;
    int node = -1;
    int fromParent = -1, fromIndex = -1, toParent = -1, toIndex = -1;
    std::unique_ptr<Payload> payload;
    std::unique_ptr<Values> valuePair;

    Payload& data() {
        if (!payload) payload = std::make_unique<Payload>();
        return *payload;
    }
    Values& values() {
        if (!valuePair) valuePair = std::make_unique<Values>();
        return *valuePair;
    }
};

struct UndoStep {
    std::uint64_t serial = 0;  // unique per step: marks a place in the history
    std::string name;
    std::vector<JournalOp> ops;
};

// The journal and change of a block that is still gathering edits.
struct Database::Pending {
    std::vector<JournalOp> ops;
    std::unordered_map<AttrKey, std::size_t, AttrKeyHash> valueOps;  // coalesces repeated writes
    std::unordered_map<AttrKey, std::size_t, AttrKeyHash> lastArrayOp;  // last write per (node, slot)
    std::shared_ptr<DatabaseChange> change = std::make_shared<DatabaseChange>();
    std::string description;
};

}  // namespace db

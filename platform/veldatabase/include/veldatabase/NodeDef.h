#pragma once

#include <veldatabase/AttributeDef.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace db {

class Database;
class Node;
class PackedLayout;

// Behaviour switches of a node type.
enum NodeTypeFlag : std::uint32_t {
    SupportsChildren = 1u << 0,
    Deletable = 1u << 1,
    Reparentable = 1u << 2,
    Renamable = 1u << 3,
    SettingsType = 1u << 4,   // one object of the type per scene, named by the type
    HiddenFromExplorer = 1u << 5,
    Abstract = 1u << 6,       // only derived types are created
};

constexpr std::uint32_t DefaultNodeTypeFlags = SupportsChildren | Deletable | Reparentable | Renamable;

// Where one attribute of a node type lives: its definition, its place in the attribute tree and
// its storage offset in a node's value block (-1 for computed and compound attributes).
struct SlotInfo {
    const AttributeDef* def = nullptr;
    int parent = -1;
    int index = 0;
    int firstChild = -1;
    int childCount = 0;
    int offset = -1;
    const PackedLayout* packed = nullptr;  // an array of numbers kept in a packed layout
};

// A node type: name, base type and ordered attributes. A type's attributes are its base type's
// followed by its own; the first eight come from the root of every hierarchy of types.
class NodeDef {
public:
    using ComputeFunction = std::function<Value(const Database&, const Node&, int slot)>;

    NodeDef(std::string typeName, const NodeDef* base, std::vector<AttributeDef> ownAttributes,
            std::uint32_t typeFlags = DefaultNodeTypeFlags, std::string displayTypeName = {},
            ComputeFunction compute = {});
    ~NodeDef();
    NodeDef(const NodeDef&) = delete;
    NodeDef& operator=(const NodeDef&) = delete;

    const std::string& typeName() const { return m_typeName; }
    const std::string& displayTypeName() const { return m_displayTypeName; }
    const NodeDef* base() const { return m_base; }
    std::uint32_t typeFlags() const { return m_typeFlags; }
    bool hasFlag(NodeTypeFlag f) const { return (m_typeFlags & f) != 0; }

    // True for this type and every type derived from `other`.
    bool isA(const NodeDef& other) const;
    bool isA(const std::string& typeName) const;

    int slotCount() const { return static_cast<int>(m_slots.size()); }
    const SlotInfo& slot(int s) const { return m_slots[static_cast<std::size_t>(s)]; }
    int topLevelCount() const { return static_cast<int>(m_topLevel.size()); }
    int topLevelSlot(int index) const { return m_topLevel[static_cast<std::size_t>(index)]; }
    int findTopLevel(const std::string& name) const;
    int findChild(int compoundSlot, const std::string& name) const;
    const std::vector<int>& computedSlots() const { return m_computedSlots; }
    // The place of a computed slot in computedSlots(); -1 for any other slot.
    int computedOrdinal(int s) const { return m_computedOrdinal[static_cast<std::size_t>(s)]; }
    const std::vector<int>& ownedStorageSlots() const { return m_ownedSlots; }
    bool hasTimeDependentSlots() const { return m_timeDependent; }
    // Slots computed from an attribute of the parent node (parent slot -> own slot).
    const std::vector<std::pair<int, int>>& parentLinks() const { return m_parentLinks; }

    std::size_t storageSize() const { return m_storageSize; }
    const unsigned char* defaultStorage() const { return m_defaults.data(); }

    Value compute(const Database& db, const Node& node, int slot) const;

private:
    void addSlot(const AttributeDef& def, int parent, int index);
    void layoutStorage();

    std::string m_typeName;
    std::string m_displayTypeName;
    const NodeDef* m_base;
    std::uint32_t m_typeFlags;
    std::vector<AttributeDef> m_ownDefs;
    std::vector<SlotInfo> m_slots;
    std::vector<int> m_topLevel;
    std::vector<int> m_computedSlots;
    std::vector<int> m_computedOrdinal;
    std::vector<int> m_ownedSlots;
    std::vector<std::pair<int, int>> m_parentLinks;
    std::vector<std::unique_ptr<PackedLayout>> m_layouts;
    std::vector<unsigned char> m_defaults;
    std::size_t m_storageSize = 0;
    bool m_timeDependent = false;
    ComputeFunction m_compute;
};

}  // namespace db

#pragma once

#include <veldatabase/Value.h>
#include <veldatabase/ValueType.h>

#include <string>
#include <vector>

namespace db {

// The description of one attribute of a node type: shared by every node of that type.
struct AttributeDef {
    std::string name;         // internal name, e.g. "translateX"
    std::string displayName;  // shown to the user, e.g. "Translate X"
    std::string conciseName;  // short label, e.g. "tx"
    ValueType type = ValueType::Float;
    bool isArray = false;
    std::uint32_t flags = DefaultFlags;
    int units = 0;                       // quantity code
    Value defaultValue;                  // for arrays: the default of a new element
    std::vector<std::string> enumNames;  // internal names of an enumeration's choices
    std::vector<std::string> enumDisplayNames;
    std::string refType;                 // type an object reference must support ("" = any)
    std::vector<AttributeDef> children;  // compound children, or the fields of an array element
    int parentSlot = -1;  // computed from the parent node's attribute at this index (hierarchy link)

    bool has(AttributeFlag flag) const { return (flags & flag) != 0; }
};

}  // namespace db

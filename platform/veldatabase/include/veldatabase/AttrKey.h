#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace db {

// Names one attribute value inside a database: a node, a slot of its type (or a custom slot),
// optionally an array element and a field of that element.
struct AttrKey {
    std::int32_t node = -1;
    std::int32_t slot = -1;
    std::int32_t element = -1;
    std::int32_t child = -1;

    bool isValid() const { return node >= 0 && slot >= 0; }
    AttrKey withElement(int e, int c = -1) const { return AttrKey{node, slot, e, c}; }
    AttrKey arrayKey() const { return AttrKey{node, slot, -1, -1}; }
    bool operator==(const AttrKey& o) const {
        return node == o.node && slot == o.slot && element == o.element && child == o.child;
    }
    bool operator!=(const AttrKey& o) const { return !(*this == o); }
    bool operator<(const AttrKey& o) const {
        if (node != o.node) return node < o.node;
        if (slot != o.slot) return slot < o.slot;
        if (element != o.element) return element < o.element;
        return child < o.child;
    }
};

struct AttrKeyHash {
    std::size_t operator()(const AttrKey& k) const noexcept {
        std::uint64_t h = static_cast<std::uint32_t>(k.node);
        h = h * 0x9E3779B97F4A7C15ull ^ static_cast<std::uint32_t>(k.slot);
        h = h * 0x9E3779B97F4A7C15ull ^ static_cast<std::uint32_t>(k.element + 1);
        h = h * 0x9E3779B97F4A7C15ull ^ static_cast<std::uint32_t>(k.child + 1);
        return static_cast<std::size_t>(h ^ (h >> 29));
    }
};

}  // namespace db

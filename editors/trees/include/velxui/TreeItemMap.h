#pragma once

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace wxUtils {
class TreeItem;
}

namespace VelXUI {

// The two-way map between object identifiers and the tree items that show them. Identifiers are
// small and dense, so the forward direction is a vector indexed by identifier (a hash map takes the
// rare large or negative one); the backward direction is the identifier kept in the item's data,
// checked against the forward entry so that a stale item never answers.
class TreeItemMap {
public:
    void clear();
    // Maps the identifier to the item, replacing what it mapped before. A null item and the
    // identifier -1 (no object) are ignored.
    void insert(int objectId, wxUtils::TreeItem* item);
    wxUtils::TreeItem* find(int objectId) const;
    int find(const wxUtils::TreeItem* item) const;  // -1 when the item is not mapped
    void erase(const wxUtils::TreeItem* item);
    size_t size() const { return m_count; }

private:
    static const int DenseLimit = 1 << 24;
    std::vector<wxUtils::TreeItem*> m_dense;
    std::unordered_map<int, wxUtils::TreeItem*> m_sparse;
    size_t m_count = 0;
};

}  // namespace VelXUI

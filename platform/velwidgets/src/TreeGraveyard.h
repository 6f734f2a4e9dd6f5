#pragma once

#include <velwidgets/TreeItem.h>

#include <vector>

namespace wxUtils {

// Items of replaced trees waiting to be freed. A large tree is detached at once and freed a slice
// at a time, iteratively (a deep tree cannot exhaust the stack); children are detached before their
// parent goes, so no item calls back into a control.
class TreeGraveyard {
public:
    void bury(TreeItem* root);
    // Frees up to this many items; true while some remain.
    bool destroySome(size_t count);
    bool empty() const { return m_items.empty(); }

private:
    std::vector<TreeItem*> m_items;
};

}  // namespace wxUtils

#pragma once

namespace wxUtils {

class TreeControl;

// While one of these lives, the tree does not call its own onSelectionChanged (nor send the
// selection event): setting a tree's selection from the data it mirrors then cannot call back into
// the data. Scopes nest.
class VelTreeControlSelectionEventDisabler {
public:
    explicit VelTreeControlSelectionEventDisabler(TreeControl& tree);
    explicit VelTreeControlSelectionEventDisabler(TreeControl* tree);
    ~VelTreeControlSelectionEventDisabler();
    VelTreeControlSelectionEventDisabler(const VelTreeControlSelectionEventDisabler&) = delete;
    VelTreeControlSelectionEventDisabler& operator=(const VelTreeControlSelectionEventDisabler&) = delete;

private:
    TreeControl* m_tree;
};

}  // namespace wxUtils

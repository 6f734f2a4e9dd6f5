#include <velwidgets/VelTreeControlSelectionEventDisabler.h>

#include <velwidgets/TreeControl.h>

namespace wxUtils {

VelTreeControlSelectionEventDisabler::VelTreeControlSelectionEventDisabler(TreeControl& tree) : m_tree(&tree) {
    ++m_tree->m_selectionEventsDisabled;
}

VelTreeControlSelectionEventDisabler::VelTreeControlSelectionEventDisabler(TreeControl* tree) : m_tree(tree) {
    if (m_tree) ++m_tree->m_selectionEventsDisabled;
}

VelTreeControlSelectionEventDisabler::~VelTreeControlSelectionEventDisabler() {
    if (m_tree) --m_tree->m_selectionEventsDisabled;
}

}  // namespace wxUtils

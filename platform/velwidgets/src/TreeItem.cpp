#include <velwidgets/TreeItem.h>

#include <velwidgets/TreeControl.h>

#include "TreeItemPool.h"

#include <algorithm>

namespace wxUtils {

TreeItem::TreeItem(const wxString& label) : m_label(label) {}

void* TreeItem::operator new(size_t size) { return TreeItemPool::allocate(size); }
void TreeItem::operator delete(void* block, size_t size) { TreeItemPool::release(block, size); }

void TreeItem::SwapLabel(wxString& label) {
    m_label.swap(label);
    m_labelWidth = -1;
    if (label != m_label) changed();
}

TreeItem::~TreeItem() {
    if (m_tree) m_tree->itemDestroying(this);
    for (TreeItem* child : m_children) {
        child->m_parent = nullptr;
        delete child;
    }
}

void TreeItem::SetLabel(const wxString& label) {
    if (label == m_label) return;
    m_label = label;
    m_labelWidth = -1;
    changed();
}

int TreeItem::GetIndexInParent() const {
    if (!m_parent) return -1;
    const auto& siblings = m_parent->m_children;
    return int(std::find(siblings.begin(), siblings.end(), this) - siblings.begin());
}

int TreeItem::GetDepth() const {
    int depth = 0;
    for (const TreeItem* p = m_parent; p; p = p->m_parent) ++depth;
    return depth;
}

bool TreeItem::IsAncestorOf(const TreeItem* item) const {
    for (const TreeItem* p = item ? item->m_parent : nullptr; p; p = p->m_parent)
        if (p == this) return true;
    return false;
}

void TreeItem::setTreeRecursive(TreeControl* tree) {
    if (m_children.empty()) {  // the usual case: a new leaf
        m_tree = tree;
        return;
    }
    std::vector<TreeItem*> stack{this};
    while (!stack.empty()) {
        TreeItem* item = stack.back();
        stack.pop_back();
        item->m_tree = tree;
        stack.insert(stack.end(), item->m_children.begin(), item->m_children.end());
    }
}

void TreeItem::attachTo(TreeItem* parent, size_t position) {
    position = std::min(position, parent->m_children.size());
    parent->m_children.insert(parent->m_children.begin() + long(position), this);
    m_parent = parent;
    if (m_tree != parent->m_tree) setTreeRecursive(parent->m_tree);
    if (m_tree) m_tree->itemAttached(this, position);
}

void TreeItem::detachFromParent() {
    if (m_tree) m_tree->itemDetaching(this);
    if (m_parent) {
        auto& siblings = m_parent->m_children;
        // Children are usually removed from the end or near it; search backwards.
        auto it = std::find(siblings.rbegin(), siblings.rend(), this);
        if (it != siblings.rend()) siblings.erase(std::next(it).base());
        TreeItem* parent = m_parent;
        m_parent = nullptr;
        if (parent->m_tree) parent->m_tree->itemChanged(parent);
    }
}

void TreeItem::ReserveChildren(size_t count) { m_children.reserve(count); }

bool TreeItem::AddChild(TreeItem* child) {
    if (!child || child->m_parent || child == this) return false;
    if (child->HasChildren() && child->IsAncestorOf(this)) return false;  // a leaf is nobody's ancestor
    if (child->m_tree && child->m_tree->GetRoot() == child) return false;  // a tree's root stays
    child->attachTo(this, m_children.size());
    return true;
}

bool TreeItem::Reparent(TreeItem* newParent, TreeItem* before) {
    if (!newParent || newParent == this || IsAncestorOf(newParent)) return false;
    if (m_tree && (m_tree->GetRoot() == this || newParent->m_tree != m_tree)) return false;  // within one tree
    detachFromParent();
    size_t position = newParent->m_children.size();
    if (before && before->m_parent == newParent) position = size_t(before->GetIndexInParent());
    attachTo(newParent, position);
    return true;
}

void TreeItem::RemoveAndDestroy() {
    if (m_tree && m_tree->GetRoot() == this) {
        m_tree->SetRoot(nullptr);  // destroys this item
        return;
    }
    detachFromParent();
    delete this;
}

void TreeItem::Expand() {
    if (m_expanded) return;
    m_expanded = true;
    if (m_tree) m_tree->itemExpansionChanged(this, true);
}

void TreeItem::Collapse() {
    if (!m_expanded) return;
    if (m_tree) m_tree->itemExpansionChanged(this, false);  // rows are counted while still expanded
    m_expanded = false;
}

TreeItem::Extra& TreeItem::extra() {
    if (!m_extra) m_extra = std::make_unique<Extra>();
    return *m_extra;
}

wxString TreeItem::GetColumnText(int column) const {
    if (column == 0) return m_label;
    if (!m_extra || column < 1 || size_t(column) > m_extra->columnText.size()) return wxString();
    return m_extra->columnText[size_t(column - 1)];
}

void TreeItem::SetColumnText(int column, const wxString& text) {
    if (column == 0) return SetLabel(text);
    if (column < 1) return;
    auto& texts = extra().columnText;
    if (texts.size() < size_t(column)) texts.resize(size_t(column));
    texts[size_t(column - 1)] = text;
    changed();
}

int TreeItem::GetCheckState(int column) const {
    if (!m_extra || column < 0 || size_t(column) >= m_extra->checkStates.size()) return 0;
    return m_extra->checkStates[size_t(column)];
}

void TreeItem::SetCheckState(int column, int state) {
    if (column < 0 || state < 0 || state > 3) return;
    auto& states = extra().checkStates;
    if (states.size() <= size_t(column)) states.resize(size_t(column) + 1, 0);
    states[size_t(column)] = static_cast<signed char>(state);
    changed();
}

void TreeItem::SetSwatch(const wxColour& colour) {
    extra().hasSwatch = colour.IsOk();
    m_extra->swatch = colour;
    changed();
}

void TreeItem::SetSeparator(bool separator) {
    extra().separator = separator;
    changed();
}

void TreeItem::changed() {
    if (m_tree) m_tree->itemChanged(this);
}

}  // namespace wxUtils

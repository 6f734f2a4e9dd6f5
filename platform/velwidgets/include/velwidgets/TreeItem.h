#pragma once

#include <wx/colour.h>
#include <wx/string.h>

#include <memory>
#include <vector>

namespace wxUtils {

class TreeControl;

// One node of a TreeControl. An item is created unattached; it joins a tree when it becomes the root
// or the child of an attached item, and the tree it belongs to then follows every change (label,
// children, expansion) without rebuilding anything else. A parent owns its children.
class TreeItem {
public:
    explicit TreeItem(const wxString& label = wxString());
    TreeItem(const TreeItem&) = delete;
    TreeItem& operator=(const TreeItem&) = delete;
    virtual ~TreeItem();  // destroys the children; use RemoveAndDestroy for an attached item
    // Items come from a pool: trees create and free them by the million.
    static void* operator new(size_t size);
    static void operator delete(void* block, size_t size);

    const wxString& GetLabel() const { return m_label; }
    void SetLabel(const wxString& label);
    // Takes the label by swapping (the argument gets the old label): builders of large trees avoid
    // a copy per item.
    void SwapLabel(wxString& label);

    TreeItem* GetParent() const { return m_parent; }
    size_t GetChildCount() const { return m_children.size(); }
    TreeItem* GetChild(size_t index) const { return index < m_children.size() ? m_children[index] : nullptr; }
    bool HasChildren() const { return !m_children.empty(); }
    std::vector<TreeItem*>::const_iterator begin() const { return m_children.begin(); }
    std::vector<TreeItem*>::const_iterator end() const { return m_children.end(); }
    // Position among the parent's children, -1 without a parent. Linear in the number of siblings.
    int GetIndexInParent() const;
    int GetDepth() const;
    bool IsAncestorOf(const TreeItem* item) const;
    TreeControl* GetTree() const { return m_tree; }

    // Appends an unattached item (false, and nothing happens, for null, an item that has a parent,
    // this item itself or one of its ancestors).
    bool AddChild(TreeItem* child);
    // Room for this many children, before appending many.
    void ReserveChildren(size_t count);
    // Moves this item under a new parent, before the given child of it (appended when before is null
    // or not a child of the new parent). Refused when the new parent is null, this item, below it, or
    // in another tree.
    bool Reparent(TreeItem* newParent, TreeItem* before = nullptr);
    // Detaches the item from its parent (or from the tree, for the root) and deletes it with its subtree.
    void RemoveAndDestroy();

    bool IsExpanded() const { return m_expanded; }
    void Expand();
    void Collapse();
    bool IsSelected() const { return m_selected; }

    // Free data for the owner of the tree (the explorers keep the object identifier here).
    long GetData() const { return m_data; }
    void SetData(long data) { m_data = data; }

    // Further columns (column 0 is the label), check boxes per column (0 none, 1 off, 2 on, 3 on but
    // overridden), a colour swatch before the label, and separator rows drawn as a line.
    wxString GetColumnText(int column) const;
    void SetColumnText(int column, const wxString& text);
    int GetCheckState(int column) const;
    void SetCheckState(int column, int state);  // states outside 0..3 are ignored
    bool HasSwatch() const { return m_extra && m_extra->hasSwatch; }
    wxColour GetSwatch() const { return HasSwatch() ? m_extra->swatch : wxColour(); }
    void SetSwatch(const wxColour& colour);  // an invalid colour removes the swatch
    bool IsSeparator() const { return m_extra && m_extra->separator; }
    void SetSeparator(bool separator);

private:
    friend class TreeControl;
    friend class TreeRows;
    friend class TreeGraveyard;
    struct Extra {
        std::vector<wxString> columnText;  // index 0 is column 1
        std::vector<signed char> checkStates;
        wxColour swatch;
        bool hasSwatch = false;
        bool separator = false;
    };
    Extra& extra();
    void attachTo(TreeItem* parent, size_t position);
    void detachFromParent();
    void setTreeRecursive(TreeControl* tree);
    void changed();

    wxString m_label;
    TreeItem* m_parent = nullptr;
    TreeControl* m_tree = nullptr;
    std::vector<TreeItem*> m_children;
    std::unique_ptr<Extra> m_extra;
    long m_data = -1;
    int m_labelWidth = -1;            // cached by the tree's painter
    unsigned short m_labelFont = 0;  // the tree's font generation of that width
    size_t m_row = 0;  // row in the tree's flattened list, valid while the tree says so
    bool m_expanded = false;
    bool m_selected = false;
    bool m_mark = false;  // scratch flag of the tree's selection diff
};

}  // namespace wxUtils

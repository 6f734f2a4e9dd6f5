// The scene explorer's commands: branch operations, the context menu's commands, renaming,
// keys and dragging objects in the tree.
#include <velxui/XSceneExplorer.h>

#include <velxui/TreeItemMap.h>
#include <velxui/XStatusNote.h>

#include <velxcore/XDatabase.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneEditing.h>
#include <velxcore/XSelection.h>
#include <veleditors/VelAttributeControl.h>

#include <wx/clipbrd.h>
#include <wx/dataobj.h>
#include <wx/utils.h>

namespace VelXUI {

using VelX::XObject;
using wxUtils::TreeItem;

// ---------------------------------------------------------------------------------------------
// Branch operations

void XSceneExplorer::recursiveListChildren(TreeItem* item, std::vector<std::wstring>& paths) const {
    for (TreeItem* child : *item) {
        paths.push_back(getObjectPath(child));
        recursiveListChildren(child, paths);
    }
}

void XSceneExplorer::selectBranch(const std::wstring& path) {
    TreeItem* item = findTreeItemInMap(path);
    if (!item) return;
    std::vector<std::wstring> paths;
    if (!path.empty()) paths.push_back(path);
    recursiveListChildren(item, paths);
    Scene().Selection().Select(paths);
}

void XSceneExplorer::deselectBranch(const std::wstring& path) {
    TreeItem* item = findTreeItemInMap(path);
    if (!item) return;
    std::vector<std::wstring> paths;
    if (!path.empty()) paths.push_back(path);
    recursiveListChildren(item, paths);
    Scene().Selection().Deselect(paths);
}

void XSceneExplorer::expandBranch(const std::wstring& path) {
    if (TreeItem* item = findTreeItemInMap(path)) ExpandAll(item);
}

void XSceneExplorer::collapseBranch(const std::wstring& path) {
    if (TreeItem* item = findTreeItemInMap(path)) CollapseAll(item);
}

void XSceneExplorer::expandSelection(const std::wstring& path) {
    // The scene root has no item of its own by path; it stands for the whole tree.
    TreeItem* item = path.empty() ? GetRoot() : findTreeItemInMap(path);
    if (item) recursiveExpandSelection(item);
}

void XSceneExplorer::recursiveExpandSelection(TreeItem* item) {
    VelX::XSelection& selection = Scene().Selection();
    for (TreeItem* child : *item) {
        if (selection.IsSelected(findObjectInMap(child))) EnsureVisible(child);
        recursiveExpandSelection(child);
    }
}

void XSceneExplorer::deleteItem(const std::wstring& path) {
    wxBusyCursor busy;
    Scene().Database().RemoveObjects(path);
}

// ---------------------------------------------------------------------------------------------
// Commands

template <class Edit>
void XSceneExplorer::inChangeBlock(Edit&& edit, const std::wstring& undoLabel) {
    VelX::XDatabase& database = Scene().Database();
    database.BeginChangeBlock();
    edit();
    if (undoLabel.empty()) database.EndChangeBlock();
    else database.EndChangeBlock(undoLabel);
}

void XSceneExplorer::onCopyPath(wxCommandEvent&) {
    inChangeBlock([this] {
        const std::wstring path = contextPath();
        if (wxTheClipboard->Open()) {
            wxTheClipboard->SetData(new wxTextDataObject(path));
            wxTheClipboard->Close();
        }
    });
}

void XSceneExplorer::onSelect(wxCommandEvent&) {
    inChangeBlock([this] { Scene().Selection().Select(contextPath()); });
}

void XSceneExplorer::onDeselect(wxCommandEvent&) {
    inChangeBlock([this] { Scene().Selection().Deselect(contextPath()); });
}

void XSceneExplorer::onSelectType(wxCommandEvent&) {
    inChangeBlock([this] {
        const XObject object = findObjectInMap(GetFocusItem());
        if (object.IsValid()) Scene().Selection().SelectByType(object.ObjectType(), VelX::XComparisonMode::ExactType);
    });
}

void XSceneExplorer::onRename(wxCommandEvent&) {
    inChangeBlock([this] { EditLabel(GetFocusItem()); });
}

void XSceneExplorer::onDelete(wxCommandEvent&) {
    inChangeBlock([this] { Scene().Database().DeleteObjects(contextPath()); }, L"Delete");
}

void XSceneExplorer::onRemove(wxCommandEvent&) {
    inChangeBlock([this] { Scene().Database().RemoveObjects(contextPath()); }, L"Remove");
}

void XSceneExplorer::onBranchSelect(wxCommandEvent&) {
    inChangeBlock([this] { selectBranch(contextPath()); });
}

void XSceneExplorer::onBranchDeselect(wxCommandEvent&) {
    inChangeBlock([this] { deselectBranch(contextPath()); });
}

void XSceneExplorer::onBranchExpand(wxCommandEvent&) { expandBranch(contextPath()); }
void XSceneExplorer::onBranchCollapse(wxCommandEvent&) { collapseBranch(contextPath()); }
void XSceneExplorer::onSelectionExpand(wxCommandEvent&) { expandSelection(Scene().RootObject().Path()); }

void XSceneExplorer::onSelectionReparent(wxCommandEvent&) {
    inChangeBlock([this] { Scene().ReparentSelection(contextPath()); }, L"Reparent");
}

void XSceneExplorer::onSelectionDelete(wxCommandEvent&) {
    inChangeBlock([this] { Scene().DeleteSelection(); }, L"Delete");
}

void XSceneExplorer::onBeginRename(wxUtils::TreeEvent&) {}

void XSceneExplorer::onEndRename(wxUtils::TreeEvent& event) {
    // A cancelled edit leaves the name alone. The rename applies to the focus item, on which the
    // Rename command started the edit; the item then shows the name the core actually gave.
    if (event.IsEditCancelled()) return;
    XObject object = Scene().Database().Object(contextPath());
    if (!object.IsValid() || object.ObjectID() == 0) return;
    const std::wstring typed = event.GetLabel().ToStdWstring();
    object.SetName(typed);
    renameTreeItem(object);
    // The core may have changed what was typed: say so, with the name the object got.
    const std::wstring given = object.Name();
    if (given == typed) return;
    const bool rewritten = VelX::XDatabase::ValidName(typed) != typed;
    XStatusNote::Show(this, wxString::Format("Renamed to \"%s\": %s", given,
                                             rewritten ? "names hold only letters, digits and underscores and do "
                                                         "not start with a digit."
                                                       : wxString::Format("\"%s\" is already taken here.", typed)));
}

bool XSceneExplorer::canDropItems(const std::vector<TreeItem*>& items, TreeItem* target, wxUtils::TreeDropPlace place) {
    const XObject targetObject = findObjectInMap(target);
    const bool onRoot = target == GetRoot();
    if (place == wxUtils::TreeDropPlace::Onto) {
        if (!onRoot && (!targetObject.IsValid() || !targetObject.SupportsChildObjects())) return false;
    } else if (onRoot) {
        return false;  // nothing goes beside the scene itself
    }
    for (TreeItem* item : items)
        if (item == GetRoot() || !findObjectInMap(item).IsValid()) return false;
    return true;
}

void XSceneExplorer::onDropItems(const std::vector<TreeItem*>& items, TreeItem* target, wxUtils::TreeDropPlace place) {
    std::vector<XObject> moving;
    for (TreeItem* item : items) moving.push_back(findObjectInMap(item));
    const XObject targetObject = target == GetRoot() ? Scene().RootObject() : findObjectInMap(target);
    inChangeBlock(
        [&] {
            if (place == wxUtils::TreeDropPlace::Onto) {
                for (XObject& object : moving) object.SetParent(targetObject);
                return;
            }
            // Beside the target, in the dragged order: above goes before the target each time; below
            // goes after the target, then after the object placed last.
            const XObject parent = targetObject.Parent();
            const auto indexOf = [&](const XObject& child) {
                int index = 0;
                while (index < parent.ChildCount() && parent.Child(index).ObjectID() != child.ObjectID()) ++index;
                return index;
            };
            XObject anchor = targetObject;
            for (XObject& object : moving) {
                if (object.ObjectID() == anchor.ObjectID()) continue;
                int index = indexOf(anchor) + (place == wxUtils::TreeDropPlace::Below ? 1 : 0);
                // A sibling that moves down leaves a gap before its new place.
                if (object.Parent().ObjectID() == parent.ObjectID() && indexOf(object) < index) --index;
                object.SetParent(parent, index);
                if (place == wxUtils::TreeDropPlace::Below) anchor = object;
            }
        },
        L"Parent");
}

namespace {

// The attribute rows under a point of the screen, if any.
wxUtils::VelAttributeControl* attributeRowsAt(const wxPoint& screen) {
    for (wxWindow* window = wxFindWindowAtPoint(screen); window; window = window->GetParent())
        if (auto* rows = dynamic_cast<wxUtils::VelAttributeControl*>(window)) return rows;
    return nullptr;
}

}  // namespace

bool XSceneExplorer::canDropItemsOutside(const std::vector<TreeItem*>& items, const wxPoint& screen) {
    if (items.size() != 1 || !findObjectInMap(items.front()).IsValid()) return false;
    const wxUtils::VelAttributeControl* rows = attributeRowsAt(screen);
    return rows && rows->canDropText(screen);
}

void XSceneExplorer::onDropItemsOutside(const std::vector<TreeItem*>& items, const wxPoint& screen) {
    const XObject object = items.size() == 1 ? findObjectInMap(items.front()) : XObject();
    wxUtils::VelAttributeControl* rows = attributeRowsAt(screen);
    if (object.IsValid() && rows) rows->dropText(screen, wxString(object.Path()));
}

void XSceneExplorer::onPaintWhenShown(wxPaintEvent& event) {
    // Painting means the panel is on screen again: catch up with what was missed while hidden, once
    // the paint is over.
    event.Skip();
    if (m_missedChanges && IsVisible()) {
        m_missedChanges = false;
        CallAfter([this] { OnSceneLoaded(Scene()); });
    }
}

void XSceneExplorer::onTreeKey(wxUtils::TreeEvent& event) {
    // Delete removes the selected objects with everything below them, as one undo step.
    if (event.GetKeyCode() == WXK_DELETE && event.GetKeyModifiers() == wxMOD_NONE &&
        Scene().Selection().Count() > 0) {
        // In sub-object edit mode the selection is of parts of objects, which the tree does not show:
        // Delete here must not take the whole objects with it.
        if (Scene().Selection().IsSubObjectEditMode()) {
            XStatusNote::Show(this, "Delete in the scene explorer deletes objects; leave sub-object edit mode first.");
            return;
        }
        inChangeBlock([this] { Scene().DeleteSelection(); }, L"Delete");
        return;
    }
    // P parents the selection to its last object, Shift+P moves it to the top of the scene.
    if ((event.GetKeyCode() == 'P' || event.GetKeyCode() == 'p') &&
        (event.GetKeyModifiers() == wxMOD_NONE || event.GetKeyModifiers() == wxMOD_SHIFT)) {
        if (event.GetKeyModifiers() == wxMOD_SHIFT) VelX::XSceneEditing::UnparentSelection(Scene());
        else if (!VelX::XSceneEditing::ParentSelection(Scene()))
            XStatusNote::Show(this, "Select the objects to move, then the new parent last, and press P.");
        return;
    }
    event.Skip();
}

}  // namespace VelXUI


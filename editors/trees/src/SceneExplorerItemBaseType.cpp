#include <velxui/SceneExplorerItemBaseType.h>

#include <velxui/XSceneExplorer.h>

#include <orkacore/EnvData.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XScene.h>
#include <velxcore/XSelection.h>

#include <wx/filename.h>

namespace VelXUI {

using VelX::XObject;

wxString SceneExplorerItemBaseType::iconPath() const {
    return Orka::EnvData::resourcePath(XSceneExplorer::ImageFolder + XSceneExplorer::ImagePrefix +
                                       getTypeName().ToStdWstring() + XSceneExplorer::ImageSuffix);
}

wxImage SceneExplorerItemBaseType::getTypeIcon(wxUtils::TreeControl::TreeItemState) const {
    const wxString path = iconPath();
    if (!path.empty() && wxFileName::FileExists(path)) {
        if (!wxImage::FindHandler(wxBITMAP_TYPE_PNG)) wxImage::AddHandler(new wxPNGHandler);
        wxLogNull quiet;  // a damaged file falls back to the blank icon like a missing one
        wxImage image(path, wxBITMAP_TYPE_PNG);
        if (image.IsOk()) return image;
    }
    wxImage blank(XSceneExplorer::ImageSize, XSceneExplorer::ImageSize);
    blank.InitAlpha();
    memset(blank.GetAlpha(), 0, size_t(XSceneExplorer::ImageSize * XSceneExplorer::ImageSize));
    return blank;
}

std::unique_ptr<wxUtils::VelPopupMenu> SceneExplorerItemBaseType::buildContextMenu(const XObject& object) const {
    if (!m_explorer) return nullptr;
    using Command = XSceneExplorer::Command;
    const auto label = [](Command command) { return wxString(XSceneExplorer::CommandLabels[command]); };
    const auto id = [this](Command command) { return m_explorer->CommandID(command); };

    auto menu = std::make_unique<wxUtils::VelPopupMenu>(object.Name());
    for (Command command : {XSceneExplorer::CopyPathCommand, XSceneExplorer::RenameCommand,
                            XSceneExplorer::RemoveCommand, XSceneExplorer::DeleteCommand,
                            XSceneExplorer::SelectTypeCommand})
        menu->appendItem(id(command), label(command));

    if (object.ChildCount() > 0) {
        auto* children = new wxUtils::VelMenu();
        for (Command command : {XSceneExplorer::BranchSelectCommand, XSceneExplorer::BranchExpandCommand,
                                XSceneExplorer::BranchCollapseCommand})
            children->appendItem(id(command), label(command));
        menu->appendSeparator();
        menu->appendSubMenu(children, XSceneExplorer::BranchSubMenu);
    }

    VelX::XSelection& selection = m_explorer->Scene().Selection();
    if (selection.Count() > 1) {
        Velutils::Vector<XObject> selected;
        selection.Objects(selected);
        bool allReparent = selected.size() >= 2, allDelete = !selected.empty();
        for (const XObject& other : selected) {
            if (other == object) continue;
            allReparent = allReparent && other.SupportsReparenting();
            allDelete = allDelete && other.SupportsDeletion();
        }
        menu->appendSeparator();
        // A section title: a disabled entry, as the menu's own title is.
        const int titleId = wxNewId();
        menu->appendItem(titleId, XSceneExplorer::SelectionTitle);
        menu->enableItem(titleId, false);
        menu->appendItem(id(XSceneExplorer::SelectionExpandCommand), label(XSceneExplorer::SelectionExpandCommand));
        if (object.SupportsChildObjects() && allReparent)
            menu->appendItem(id(XSceneExplorer::SelectionReparentCommand),
                             label(XSceneExplorer::SelectionReparentCommand));
        if (allDelete) {
            if (menu->itemCount() > 0) menu->appendSeparator();
            menu->appendItem(id(XSceneExplorer::SelectionDeleteCommand), label(XSceneExplorer::SelectionDeleteCommand));
        }
    }
    return menu;
}

void SceneExplorerItemBaseType::onContextMenuShown(wxUtils::TreeEvent& event, wxUtils::NavigatorTree* tree,
                                                   wxUtils::NavigatorTreeItem* item) {
    if (!tree || !item || !m_explorer) return;
    tree->SetFocusItem(item);
    const XObject object = m_explorer->Scene().Database().Object(m_explorer->ObjectOf(item).Path());
    std::unique_ptr<wxUtils::VelPopupMenu> menu = buildContextMenu(object);
    if (menu) menu->popup(tree, tree->logicalToClient(event.GetPoint()));
}

}  // namespace VelXUI

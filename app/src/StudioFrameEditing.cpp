// The studio frame's scene-building commands: Create, Copy, Paste, Duplicate, Parent, Unparent.
#include <velxstudio/StudioFrame.h>

#include <velxcore/XScene.h>
#include <velxcore/XSceneEditing.h>

#include <wx/textentry.h>

int StudioFrame::CreateMenuItemId(const std::wstring& typeId) const {
    for (const auto& [id, type] : m_createItems)
        if (type == typeId) return id;
    return wxID_NONE;
}

void StudioFrame::onCreate(wxCommandEvent& event) {
    auto it = m_createItems.find(event.GetId());
    if (it != m_createItems.end()) VelX::XSceneEditing::CreateUnderSelection(m_scene, it->second);
}

void StudioFrame::onDuplicate(wxCommandEvent&) {
    if (VelX::XSceneEditing::DuplicateSelection(m_scene).empty())
        SetStatusText("Select the objects to duplicate first.", StatusMessage);
}

void StudioFrame::onCopy(wxCommandEvent&) {
    // In a text field Ctrl+C copies its text, as everywhere.
    if (auto* text = dynamic_cast<wxTextEntry*>(wxWindow::FindFocus())) {
        text->Copy();
        return;
    }
    if (!VelX::XSceneEditing::CopySelection(m_scene)) SetStatusText("Select the objects to copy first.", StatusMessage);
    else SetStatusText("Copied; Paste (Ctrl+V) puts a copy under the selection.", StatusMessage);
}

void StudioFrame::onPaste(wxCommandEvent&) {
    if (auto* text = dynamic_cast<wxTextEntry*>(wxWindow::FindFocus())) {
        text->Paste();
        return;
    }
    if (!VelX::XSceneEditing::CanPaste()) {
        SetStatusText("Nothing to paste: copy objects first (Ctrl+C).", StatusMessage);
        return;
    }
    VelX::XSceneEditing::Paste(m_scene);
}

void StudioFrame::onParent(wxCommandEvent&) {
    if (!VelX::XSceneEditing::ParentSelection(m_scene))
        SetStatusText("Select the objects to move, then the new parent last.", StatusMessage);
}

void StudioFrame::onUnparent(wxCommandEvent&) { VelX::XSceneEditing::UnparentSelection(m_scene); }


#pragma once

#include "StudioFixture.h"

#include <guitest/GuiTest.h>
#include <orkacore/LayoutManager.h>
#include <velxcore/XDatabase.h>
#include <velxui/XSceneExplorer.h>

#include <wx/statusbr.h>
#include <wx/uiaction.h>

// The studio with its scene explorer, clicked through the X server.
class StudioExplorer : public StudioFixture {
protected:
    void SetUp() override {
        StudioFixture::SetUp();
        explorer = dynamic_cast<VelXUI::XSceneExplorer*>(m_frame->PaneLayout().getWindow("SceneExplorer"));
        ASSERT_NE(explorer, nullptr);
    }
    wxUtils::TreeItem* item(const wchar_t* path) { return explorer->ItemOf(scene().Database().Object(std::wstring(path))); }
    VelX::XObject topLevel(const wchar_t* name) {
        for (int i = 0; i < scene().RootObject().ChildCount(); ++i)
            if (scene().RootObject().Child(i).Name() == name) return scene().RootObject().Child(i);
        return VelX::XObject();
    }
    wxPoint labelPoint(wxUtils::TreeItem* target) {
        explorer->EnsureVisible(target);
        GuiTest::pumpEvents(30);
        const wxRect label = explorer->GetLabelRect(target);
        return explorer->ClientToScreen(wxPoint(label.x + 8, label.y + label.height / 2));
    }
    void click(wxUtils::TreeItem* target, int modifiers = wxMOD_NONE, int button = wxMOUSE_BTN_LEFT) {
        wxUIActionSimulator input;
        input.MouseMove(labelPoint(target));
        GuiTest::pumpEvents(30);
        if (modifiers != wxMOD_NONE) input.KeyDown(0, modifiers);
        input.MouseClick(button);
        if (modifiers != wxMOD_NONE) input.KeyUp(0, modifiers);
        GuiTest::pumpEvents(300);
    }
    std::wstring statusSelection() { return m_frame->GetStatusBar()->GetStatusText(1).ToStdWstring(); }

    VelXUI::XSceneExplorer* explorer = nullptr;
};

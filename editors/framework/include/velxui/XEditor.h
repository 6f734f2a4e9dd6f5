#pragma once

#include <velxcore/XColour.h>
#include <velxcore/XSceneObserver.h>
#include <velxcore/XScriptBase.h>

#include <functional>

class wxWindow;

namespace VelX {
class XObject;
class XScene;
}  // namespace VelX

namespace Orka {
class LayoutManager;
}

namespace VelXUI {

// The common base of every editor panel. It binds a panel to the scene it edits, makes it a scene
// observer and a script client, remembers the layout manager that docks it, answers whether the
// panel is on screen, and gives the colours by which every editor tints objects of each kind.
//
// A concrete editor derives from its widget class first and from XEditor second. The base registers
// nothing: the concrete editor adds itself (or the inner control that does its work) as a scene
// observer in its constructor and removes itself in its destructor.
class XEditor : public VelX::XSceneObserver, public VelX::XScriptBase {
protected:
    // The window that is the panel itself. Declared first so that it is the first virtual slot that
    // XEditor adds after the observer hooks.
    virtual wxWindow* Window() const = 0;

public:
    // Tints, red, green, blue, alpha in 0..1. Commands and tools share one orange on purpose, but stay
    // two constants so that either can change alone.
    static const VelX::XColour DefaultColour;
    static const VelX::XColour AnimationColour;
    static const VelX::XColour CommandColour;
    static const VelX::XColour ToolColour;
    static const VelX::XColour OperationColour;
    static const VelX::XColour SettingsColour;
    // The border, in pixels, that editors give the panel builder around the widgets they lay out.
    static const int PanelBuilderBorder = 0;

    explicit XEditor(VelX::XScene& scene);
    XEditor(const XEditor& other);
    XEditor& operator=(const XEditor& other);
    ~XEditor() override;

    // Stores the layout manager (null is allowed: the editor then always counts as visible). The base
    // does not use the parent. The manager must outlive the editor, or be replaced by another call.
    virtual bool Create(wxWindow* parent, Orka::LayoutManager* layoutManager);

    VelX::XScene& Scene() const;
    // An editor hears only its own scene's notifications.
    const VelX::XScene* ObservedScene() const override { return &m_scene.get(); }

    // Whether the panel is on screen: the nearest ancestor window (the panel included) that the
    // layout manager knows by name decides, so a panel inside a hidden docked pane is not visible.
    // Without a layout manager, or when no ancestor is a named pane, the panel counts as visible.
    bool IsVisible() const;

    // The colour by which editors mark the object. Render objects (and every type derived from them)
    // show their own colour; commands, tools and controllers, derived types included, their constants;
    // animation curves, matrix conversions and scene settings only when of exactly that type, so that
    // a derived type does not pass for the general one. Everything else, an invalid handle
    // included, gets DefaultColour.
    static VelX::XColour ObjectColour(const VelX::XObject& object);

    // Whether the panel scrolls items that change (a new selection, a created object) into view. On
    // by default; a host turns it off for a panel the user is reading while editing elsewhere.
    void SetBringIntoView(bool bringIntoView);
    bool BringIntoView() const;

protected:
    Orka::LayoutManager* layoutManager() const { return m_layoutManager; }

private:
    std::reference_wrapper<VelX::XScene> m_scene;  // a reference that assignment may rebind
    Orka::LayoutManager* m_layoutManager = nullptr;
    bool m_bringIntoView = true;
};

}  // namespace VelXUI

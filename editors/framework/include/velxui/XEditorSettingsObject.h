#pragma once

#include <velxcore/XAttribute.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XObject.h>

#include <veldatabase/Node.h>

namespace VelXUI {

// What every editor settings wrapper shares: counting the live wrappers of its class and telling
// whether it stands over a node of its own settings type. `Settings` is the concrete wrapper, which
// keeps the count (`static unsigned& ObjectRefCount()`); `Node` is its scene-graph node type.
//
// A wrapper has no data of its own: its values are attributes of the settings object in the scene
// database, read and written there each time, so that they are saved, loaded, notified and undone
// like any scene data.
template <class Settings, class Node>
class XEditorSettingsObject : public VelX::XObject {
public:
    // Indices below this belong to every object; a settings type's own attributes follow in order.
    static constexpr int FirstAttributeIndex = 8;

    // An empty wrapper, over no object.
    XEditorSettingsObject() : VelX::XObject(nullptr, -1) { ++Settings::ObjectRefCount(); }
    // Wraps an existing database object.
    explicit XEditorSettingsObject(const VelX::XObject& object) : VelX::XObject(object) {
        ++Settings::ObjectRefCount();
    }
    XEditorSettingsObject(const XEditorSettingsObject& other) : VelX::XObject(other) { ++Settings::ObjectRefCount(); }
    XEditorSettingsObject& operator=(const XEditorSettingsObject& other) = default;
    ~XEditorSettingsObject() override { --Settings::ObjectRefCount(); }

    // True only over a live node of this settings type: an empty wrapper, a deleted object and an
    // object of another type are not valid.
    bool isValid() const override {
        const db::Node* node = getNode();
        return node && node->isOfType(Node::Def);
    }

protected:
    // Runs `setDefaults` as one change of the scene database, so that resetting the settings is one
    // undo step and one notification. Nothing happens on a wrapper that is not valid.
    template <class Function>
    void applyDefaults(Function&& setDefaults) {
        if (!isValid()) return;
        VelX::XDatabase& database = Database();
        database.BeginChangeBlock();
        setDefaults();
        database.EndChangeBlock();
    }

    // The wrapper's own attribute by its position among them. A wrapper that is not valid gives an
    // invalid attribute, so that an editor can never write into an object of another type.
    VelX::XAttribute ownAttribute(int position) const {
        return isValid() ? Attribute(FirstAttributeIndex + position) : VelX::XAttribute();
    }
};

}  // namespace VelXUI

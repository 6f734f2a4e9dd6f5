#pragma once

#include <velxcore/XDatabase.h>
#include <velxcore/XObjectDef.h>

#include <string>
#include <utility>

namespace VelXUI {

// What every editor settings definition shares: it makes the wrappers of its type for the database
// and keeps its type registered while wrappers of it are in use. `Settings` is the wrapper class
// (with `static unsigned& ObjectRefCount()`), `Node` the scene-graph node type it stands for.
template <class Settings, class Node>
class XEditorSettingsDefinition : public VelX::XObjectDef {
public:
    // A new wrapper of the object with this id, owned by the caller.
    VelX::XObject* CreateObject(VelX::XDatabase& database, int id) override {
        return new Settings(database.Object(id));
    }
    // Refused while more than one wrapper of the type is alive; otherwise as any definition.
    bool CanUnregister() const override {
        return Settings::ObjectRefCount() <= 1 && VelX::XObjectDef::CanUnregister();
    }

protected:
    explicit XEditorSettingsDefinition(std::wstring objectType)
        : VelX::XObjectDef(std::move(objectType), Node::ClassID) {}
};

}  // namespace VelXUI

#pragma once

// What the plug-in manager keeps of each plug-in, of each type a plug-in registered, and of one
// call of a plug-in's entry point.

#include <velxcore/XObjectDef.h>
#include <velxcore/XPluginManager.h>

#include <veldatabase/AttributeDef.h>
#include <veldatabase/NodeDef.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace VelX {

// One listed plug-in file.
struct XPluginManager::Plugin {
    std::string filename;
    void* handle = nullptr;
    VelXPluginExit exit = nullptr;
    std::string name, version, error;
    std::vector<std::string> types;     // names of the types it registered
    std::unique_ptr<Session> session;   // its host table, while loaded
};

// An object type a plug-in registered. The record stays after unloading: the name remains the
// plug-in's and existing objects keep using the live node type.
struct XPluginManager::TypeRecord {
    std::string owner;
    std::vector<db::AttributeDef> attributes;
    const db::NodeDef* live = nullptr;
    const db::NodeDef* retired = nullptr;  // an abstract twin that stands in the scene while unloaded
    std::unique_ptr<XObjectDef> objectDef;
};

// One call of a plug-in's entry point: the host table and what the plug-in asked for, kept aside
// until the load succeeds.
struct XPluginManager::Session {
    struct StagedType {
        std::string name;
        std::vector<db::AttributeDef> attributes;
        std::unique_ptr<db::NodeDef> made;  // a new node type (null when an identical one is reused)
        const db::NodeDef* def = nullptr;
    };

    XPluginManager* manager = nullptr;
    Plugin* plugin = nullptr;
    bool open = true;
    VelXPluginHost host{};
    std::vector<std::pair<std::string, VelXScriptFunction>> functions;
    std::vector<StagedType> types;

    const StagedType* staged(const std::string& typeName) const {
        for (const StagedType& t : types)
            if (t.name == typeName) return &t;
        return nullptr;
    }
};

}  // namespace VelX

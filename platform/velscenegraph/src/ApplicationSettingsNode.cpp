#include <velscenegraph/ApplicationSettingsNode.h>
#include <velscenegraph/SceneGraphNodes.h>

#include "AttributeBuilder.h"

namespace sg {

using namespace build;

namespace {
constexpr int Time = 8, Filename = 18;
}  // namespace

const wchar_t* const ApplicationSettingsNode::ClassID = L"ApplicationSettings";

const db::NodeDef& ApplicationSettingsNode::Def() {
    // The choices follow the order of the unit tables of the core. Never destroyed: databases that
    // outlive this function's statics (the application's settings) still refer to it at exit.
    static const db::NodeDef* const def = new db::NodeDef(
        "ApplicationSettings", &ObjectNode::Def,
        {choice("lengthUnit", {"millimetres", "centimetres", "metres", "inches", "feet", "yards"}, 2),
         choice("massUnit", {"grams", "kilograms", "tonnes", "pounds", "stones"}, 1),
         choice("angleUnit", {"degrees", "radians"}, 0),
         real("scriptTimeBudget", 10, Time, db::DefaultFlags),
         integer("scriptMemoryBudget", 64),
         arrayOf(text("pluginFolders", "", Filename)),
         arrayOf(text("trustedScripts")),
         arrayOf(text("recentFiles", "", Filename)),
         integer("autosaveMinutes", 5)},
        db::SettingsType | db::HiddenFromExplorer, "Application Settings");
    return *def;
}

}  // namespace sg

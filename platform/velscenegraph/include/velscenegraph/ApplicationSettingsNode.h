#pragma once

#include <veldatabase/NodeDef.h>

namespace sg {

// The node type of the application's own settings (units, script limits, plug-in folders,
// trusted scripts, recent files, autosave). It lives in the settings database, never in a scene,
// so it is not among allNodeDefs().
struct ApplicationSettingsNode {
    static const wchar_t* const ClassID;
    // Built on first use: the type derives from ObjectNode, which another file defines, and the
    // order in which files build their static objects is not fixed.
    static const db::NodeDef& Def();
};

namespace Index {
constexpr int LengthUnit = 8;
constexpr int MassUnit = 9;
constexpr int AngleUnit = 10;
constexpr int ScriptTimeBudget = 11;    // seconds
constexpr int ScriptMemoryBudget = 12;  // MiB
constexpr int PluginFolders = 13;
constexpr int TrustedScripts = 14;      // "file-path|sha256-hex"
constexpr int RecentFiles = 15;         // most recent first
constexpr int AutosaveMinutes = 16;
}  // namespace Index

}  // namespace sg

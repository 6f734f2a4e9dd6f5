#pragma once

namespace VelXUI {

// Start-up and shut-down of the editor library as a whole. Today that is the editors' settings
// types: registering their definitions with the application gives every scene, new or loaded, one
// object of each, and makes the core create the wrappers of this library for them.
//
// The host calls Initialise() once at start, before it creates editors, and may call Shutdown()
// before it unloads the library. This is explicit rather than done when the library is loaded:
// a shared library runs no work in its static initialisers, since their order against the core's
// own initialisers (the application singleton, the type identifiers) is not defined, and a host
// that loads the library only to ask it something should not change the application by doing so.
class XEditorLibrary {
public:
    // Registers the attribute, curve and timeline editor settings definitions. Calling it again
    // changes nothing; it restores any of them that was unregistered since.
    static void Initialise();
    // Unregisters the definitions that may go (a type stays while more than one wrapper of it is
    // alive; the log says which stayed). Objects in the scenes keep their data.
    static void Shutdown();
    // Whether all three definitions are the registered ones.
    static bool IsInitialised();
};

}  // namespace VelXUI

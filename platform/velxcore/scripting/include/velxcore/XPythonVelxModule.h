#pragma once

#include <vector>

typedef struct _object PyObject;

namespace VelX {

class XScene;
class XScriptBudget;
class XScriptLogAllowance;

// The `velx` module of embedded Python: the scene operations of XScriptApi and the plug-in
// functions of XScriptFunctions::Shared() (as velx.<name> and velx.call(name, ...)).
// Scene mistakes raise velx.Error, a subclass of Exception, with XScriptError's message.
//
// Its functions work only while XPythonScript runs a script on the calling thread (threads a script
// starts get velx.Error), on the run's scene: the scene bound to the run, or else the application's
// active scene at the time of each call. Values: None, bool, int, float, str and lists (vectors,
// matrices and arrays come back as lists of floats; tuples and other sequences are accepted).
class XPythonVelxModule {
public:
    // What a run set up for the calling thread; Enter hands back the outer run's state to restore.
    struct RunState {
        bool active = false;
        XScene* scene = nullptr;             // nullptr: the active scene
        std::vector<XScene*> openBlocks;     // begin_block calls not yet ended, innermost last
        XScriptBudget* budget = nullptr;     // what the scene operations charge; none when nullptr
        XScriptLogAllowance* log = nullptr;  // what velx.log and print may write; no limit when nullptr
    };

    // Adds the module to the interpreter's built-ins; only before the interpreter starts.
    static bool AddBuiltin();
    // Puts the module into sys.modules of an interpreter started by other code (GIL held).
    static bool InstallInRunningInterpreter();

    // The exception a budget stop inside a velx call raises (the runner's, not an Exception).
    static void SetStopException(PyObject* type);

    // Marks a run on the calling thread (GIL held).
    static RunState Enter(XScene* scene, XScriptBudget* budget = nullptr, XScriptLogAllowance* log = nullptr);
    // Ends the calling thread's run and restores the outer one. Returns the scenes of the blocks the
    // script began and never ended, innermost first: the caller closes them.
    static std::vector<XScene*> Leave(RunState outer);
};

}  // namespace VelX

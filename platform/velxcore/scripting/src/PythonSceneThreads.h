#pragma once

#include <utility>
#include <vector>

typedef struct _object PyObject;

namespace VelX {

// Keeps scene scripts from leaving threads behind: a thread would run on outside the script's
// budgets and undo step. While a scene script runs, the thread starters of `_thread` and
// `threading` refuse its thread; a script that gets around them (Python cannot be sandboxed) has
// the threads it started stopped before its run returns. All of it runs with the GIL held.
class PythonSceneThreads {
public:
    // Puts the refusing starters in place; false when the modules could not be changed.
    static bool GuardThreadStarts();
    // The thread of the scene script under way (0: none), whose thread starts are refused.
    static void SetSceneScriptThread(unsigned long id);
    static unsigned long SceneScriptThread();

    // The interpreter's thread states (one per thread that runs Python, or is about to).
    static std::vector<const void*> Running();
    // Raises `stop` in every thread started since `before` until they end or the seconds pass.
    // Returns how many there were and how many are left (blocked outside Python, they see the stop
    // only when they return to it).
    static std::pair<int, int> StopStartedSince(const std::vector<const void*>& before, double seconds, PyObject* stop);
};

}  // namespace VelX

#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace VelX {

class XScene;

// Runs Python 3 scripts in the embedded interpreter, with the `velx` module (XPythonVelxModule) to
// work on the scene.
//
// Python scripts run with the user's full rights: never hand this class a script from an untrusted
// source (such as a scene file someone sent). Deciding which scripts may run is the caller's job.
//
// The interpreter starts once per process, on the first run, isolated from the environment (no
// PYTHON* variables, no user site-packages, no signal handlers of its own), and is never shut down.
// Each run gets fresh globals (__name__ is "__main__", velx already imported); imported modules
// stay loaded between runs.
// While a script runs, print() and sys.stderr write whole lines to the application log and
// sys.stdin reads as empty.
//
// A failed run returns false and logs why (XLog): the traceback, whose
// frames name the script ("File \"my script\", line 3"). No script error ends the interpreter or the
// process: SystemExit, KeyboardInterrupt, MemoryError and RecursionError are reported like any
// other. sys.exit() and sys.exit(0) end a script successfully; any other exit status is a failure.
//
// Time budget: a run that takes longer than the budget is stopped and reported as
// "script stopped: it ran longer than N s (the time budget in the settings)". The script cannot
// catch the stop for good: it is raised again on every line the script reaches until the script
// has unwound. A call into a built-in that never returns to Python code (time.sleep,
// sum(range(10**12))) is stopped only when it returns.
//
// Scene scripts (RunSceneScript) are held to more: a memory budget over the interpreter's
// allocations during the run and what the script makes in the scene through velx (stopped as for
// time, with "script stopped: it used more than N MiB of memory"), a log allowance of 1,000 lines
// and 256 KiB, and no threads: starting one is refused, and threads started in spite of that fail
// the run and are stopped before it returns. None of this is a sandbox: a scene script runs with
// the user's rights and can reach the whole system.
//
// Runs may nest (a plug-in function a script calls may run another script). Call from the thread
// that owns the scene.
class XPythonScript {
public:
    XPythonScript() = default;

    // Runs the text as a module; returns whether it ran to the end.
    bool RunScript(const std::wstring& text);
    bool RunScript(const std::wstring& text, const std::wstring& scriptName);

    // Runs the text as one undo step on the scene, named after the script. When it fails, every
    // change it made is reverted without a notification, so the scene is exactly as before. Refused
    // while the scene has an open change block (it could not be reverted alone).
    bool RunSceneScript(const std::wstring& text, const std::wstring& scriptName, XScene& scene);

    // The budget in seconds; by default the application's ScriptLimits().timeBudgetSeconds at the
    // time of the run. A budget that is not a positive number means no limit.
    void SetTimeBudget(double seconds) { m_timeBudget = seconds; }
    void UseApplicationTimeBudget() { m_timeBudget.reset(); }
    double TimeBudget() const;

    // The memory budget of scene scripts in bytes; by default the application's
    // ScriptLimits().memoryBudgetBytes at the time of the run. Counted are the interpreter's
    // allocations during the run and what the script makes in the scene through velx.
    void SetMemoryBudget(std::size_t bytes) { m_memoryBudget = bytes; }
    std::size_t MemoryBudget() const;

    // The scene velx works on in RunScript; by default (nullptr) the application's active scene at
    // the time of each call.
    void BindScene(XScene* scene) { m_scene = scene; }
    XScene* BoundScene() const { return m_scene; }

    // Why the last run failed, as logged; empty after a run that succeeded.
    const std::wstring& LastError() const { return m_lastError; }

    // Starts the interpreter when it has not started yet; false (and the reason in the log) when
    // Python cannot run in this process.
    static bool IsAvailable();

private:
    bool Run(const std::wstring& text, const std::wstring& scriptName, XScene* scene, bool sceneScript);
    void Fail(const std::wstring& message);

    std::optional<double> m_timeBudget;
    std::optional<std::size_t> m_memoryBudget;
    XScene* m_scene = nullptr;
    std::wstring m_lastError;
};

}  // namespace VelX

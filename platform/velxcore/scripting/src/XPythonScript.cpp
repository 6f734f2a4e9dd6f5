#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include "PythonMemoryCap.h"
#include "PythonSceneThreads.h"

#include <velxcore/XActiveScene.h>
#include <velxcore/XLog.h>
#include <velxcore/XScriptFunctions.h>
#include <velxcore/XScriptLimits.h>
#include <velxcore/XPythonScript.h>
#include <velxcore/XPythonVelxModule.h>
#include <velxcore/XScene.h>
#include <velxcore/XScriptBudget.h>
#include <velxcore/XScriptLogAllowance.h>

#include <veldatabase/Database.h>
#include <velutils/StringUtils.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace VelX {

using Velutils::StringUtils;

namespace {

using Clock = std::chrono::steady_clock;

constexpr double NoLimitAbove = 1e7;        // seconds; a larger budget is no limit
constexpr double ReportBudget = 1.0;        // seconds for turning an exception into text
constexpr auto RepeatStop = std::chrono::milliseconds(50);
constexpr double MiB = 1024.0 * 1024.0;
constexpr double StrayThreadWait = 2.0;  // seconds for threads a scene script left to stop
// What a scene script may write to the log in one run.
const XScriptLogAllowance::Limits SceneLogLimits{1000, 256 * 1024, 4096};
const wchar_t* const DefaultName = L"Python script";

// Python helpers, run once when the interpreter starts.
const char* const HelperSource = R"PY(
import io, linecache, traceback, types
import velx

_log = velx.log


def _emit(line):
    try:
        _log(line)
    except velx.Error:
        pass  # written after its script ended, by a thread the script started


class LogStream(io.TextIOBase):
    """sys.stdout and sys.stderr while a script runs: each whole line goes to the application log."""

    def __init__(self):
        super().__init__()
        self._pending = ''

    def writable(self):
        return True

    def write(self, text):
        if not isinstance(text, str):
            raise TypeError('write() argument must be str, not ' + type(text).__name__)
        lines = (self._pending + text).split('\n')
        self._pending = lines.pop()
        for line in lines:
            _emit(line)
        return len(text)

    def flush(self):
        if self._pending:
            line, self._pending = self._pending, ''
            _emit(line)


def empty_input():
    return io.StringIO('')


class VelxModule(types.ModuleType):
    """Every script shares velx: one script cannot replace its functions for the others."""

    def __setattr__(self, name, value):
        raise AttributeError('velx.' + name + ' cannot be changed')

    def __delattr__(self, name):
        raise AttributeError('velx.' + name + ' cannot be removed')


velx.__class__ = VelxModule


def remember_source(name, text):
    linecache.cache[name] = (len(text), None, text.splitlines(True), name)


def forget_source(name):
    linecache.cache.pop(name, None)


def format_exception(error):
    return ''.join(traceback.format_exception(error)).rstrip('\n')
)PY";

// The interpreter, started once per process and never finalised: plug-ins and scripts' threads may
// still hold Python objects when the process ends.
struct Interpreter {
    bool ready = false;
    std::wstring error;
    PyObject* helpers = nullptr;  // the globals of HelperSource
};

PyObject* s_stopType = nullptr;  // velx.ScriptStopped, a BaseException so `except Exception` misses it

// A stretch of Python under a time budget on the calling thread, linked to the one it is nested in.
struct Guard {
    std::atomic<bool> expired{false};
    bool limited = false;
    std::string message;
    Guard* outer = nullptr;
};

thread_local Guard* t_guard = nullptr;

std::string s_memoryMessage;

// Called by the memory cap when a run goes past it: the run stops as it does for time.
void stopForMemory() {
    if (!t_guard) return;
    t_guard->message = s_memoryMessage;
    t_guard->expired.store(true);
}

// A scene script's budget as velx sees it: the bytes it makes in the scene count against the memory
// cap, and a stop already decided ends the velx call.
class SceneRunBudget : public XScriptBudget {
public:
    void Charge(std::size_t bytes) override {
        PythonMemoryCap::Charge(bytes);
        CheckTime();
    }
    void CheckTime() override {
        for (Guard* guard = t_guard; guard; guard = guard->outer)
            if (guard->expired.load()) throw XScriptStop(guard->message);
    }
};

std::wstring toWide(PyObject* text) {
    Py_ssize_t size = 0;
    wchar_t* wide = text ? PyUnicode_AsWideCharString(text, &size) : nullptr;
    if (!wide) {
        PyErr_Clear();
        return L"";
    }
    std::wstring out(wide, static_cast<std::size_t>(size));
    PyMem_Free(wide);
    return out;
}

std::wstring pythonError(const char* what) {
    if (!PyErr_Occurred()) return StringUtils::toWide(what);
    PyObject *type, *value, *traceback;
    PyErr_Fetch(&type, &value, &traceback);
    PyObject* text = value ? PyObject_Str(value) : nullptr;
    std::wstring out = StringUtils::toWide(what) + L": " + toWide(text);
    Py_XDECREF(text);
    Py_XDECREF(type);
    Py_XDECREF(value);
    Py_XDECREF(traceback);
    PyErr_Clear();
    return out;
}

bool setUpHelpers(Interpreter& py) {
    s_stopType = PyErr_NewExceptionWithDoc("velx.ScriptStopped", "The script ran longer than its time budget.",
                                           PyExc_BaseException, nullptr);
    PyObject* globals = PyDict_New();
    PyObject* moduleName = PyUnicode_FromString("velx_helpers");
    PyObject* result = nullptr;
    if (s_stopType && globals && moduleName && PyDict_SetItemString(globals, "__builtins__", PyEval_GetBuiltins()) == 0 &&
        PyDict_SetItemString(globals, "__name__", moduleName) == 0)
        result = PyRun_String(HelperSource, Py_file_input, globals, globals);
    Py_XDECREF(moduleName);
    if (!result) {
        py.error = pythonError("its helpers failed");
        Py_XDECREF(globals);
        return false;
    }
    Py_DECREF(result);
    py.helpers = globals;
    XPythonVelxModule::SetStopException(s_stopType);
    if (!PythonSceneThreads::GuardThreadStarts()) XLog::Write(L"Python: scene scripts could not be kept from starting threads");
    return true;
}

void start(Interpreter& py) {
    if (Py_IsInitialized()) {
        // Other code of this process started Python: velx joins its interpreter.
        PyGILState_STATE gil = PyGILState_Ensure();
        if (!XPythonVelxModule::InstallInRunningInterpreter())
            py.error = L"the velx module could not be added";
        else
            py.ready = setUpHelpers(py);
        PyGILState_Release(gil);
    } else {
        // From the start every block the interpreter allocates carries its size, for the memory cap.
        PythonMemoryCap::Install(stopForMemory);
        if (!XPythonVelxModule::AddBuiltin()) {
            py.error = L"the velx module could not be added";
            return;
        }
        PyConfig config;
        PyConfig_InitIsolatedConfig(&config);
        config.install_signal_handlers = 0;  // Ctrl+C and other signals stay the application's
        config.site_import = 1;              // the system's packages stay importable
        config.user_site_directory = 0;
        config.write_bytecode = 0;
        PyStatus status = PyConfig_SetString(&config, &config.program_name, L"velx");
        if (!PyStatus_Exception(status)) status = Py_InitializeFromConfig(&config);
        PyConfig_Clear(&config);
        if (PyStatus_Exception(status)) {
            py.error = StringUtils::toWide(status.err_msg ? status.err_msg : "it could not start");
            return;
        }
        py.ready = setUpHelpers(py);
        PyEval_SaveThread();  // runs take the GIL with PyGILState_Ensure, on any thread
    }
}

Interpreter& interpreter() {
    static Interpreter py;
    static std::once_flag once;
    std::call_once(once, [] {
        start(py);
        if (!py.ready) XLog::Write(L"Python cannot run: " + py.error);
    });
    return py;
}

PyObject* helper(const char* name) { return PyDict_GetItemString(interpreter().helpers, name); }  // borrowed

// Called by the interpreter on every line, call, return and exception of the guarded thread. Once a
// budget has passed it raises the stop, again and again, so the script cannot catch it for good.
int stopTrace(PyObject*, PyFrameObject*, int what, PyObject* arg) {
    for (Guard* guard = t_guard; guard; guard = guard->outer) {
        if (!guard->expired.load(std::memory_order_relaxed)) continue;
        // A stop already unwinding goes on with its traceback (a frame left by an exception reports
        // a return without a value).
        if (what == PyTrace_EXCEPTION && arg && PyTuple_Check(arg) && PyTuple_GET_SIZE(arg) > 0 &&
            PyTuple_GET_ITEM(arg, 0) == s_stopType)
            return 0;
        if (what == PyTrace_RETURN && !arg) return 0;
        PyErr_SetString(s_stopType, guard->message.c_str());
        return -1;
    }
    return 0;
}

bool anyLimited(const Guard* guard) {
    for (; guard; guard = guard->outer)
        if (guard->limited) return true;
    return false;
}

// A helper thread beside a guarded stretch. When the budget passes it marks the stretch expired,
// which the trace function turns into the stop. While the stretch still runs after that, it also
// raises the stop asynchronously every RepeatStop, for a script that replaced the trace function.
class Watchdog {
public:
    Watchdog(Guard& guard, double seconds) : m_threadId(PyThread_get_thread_ident()) {
        const Clock::time_point deadline =
            Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
        m_thread = std::thread([this, &guard, deadline] { watch(guard, deadline); });
    }

    // Ends the watch; with the GIL held by the caller, who gives it up while waiting.
    void finish() {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_done = true;
        }
        m_wake.notify_all();
        Py_BEGIN_ALLOW_THREADS  // the watchdog may be waiting for the GIL
        m_thread.join();
        Py_END_ALLOW_THREADS
        dropPendingStop();
    }

private:
    // A stop raised as the script ended must not reach later code. Letting it fire in a trivial
    // code object also lowers the interpreter's signal for it; clearing it with
    // PyThreadState_SetAsyncExc(id, nullptr) would leave that signal up for good, which makes the
    // interpreter loop forever at the start of any traced function.
    static void dropPendingStop() {
        if (!PyThreadState_Get()->async_exc) return;
        static PyObject* const trivial = Py_CompileString("pass", "<velx>", Py_file_input);
        PyObject* globals = PyDict_New();
        if (trivial && globals && PyDict_SetItemString(globals, "__builtins__", PyEval_GetBuiltins()) == 0) {
            PyObject* result = PyEval_EvalCode(trivial, globals, globals);
            Py_XDECREF(result);
        }
        Py_XDECREF(globals);
        PyErr_Clear();
    }

    void watch(Guard& guard, Clock::time_point deadline) {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (m_wake.wait_until(lock, deadline, [this] { return m_done; })) return;
        guard.expired.store(true);
        while (!m_wake.wait_for(lock, RepeatStop, [this] { return m_done; })) {
            lock.unlock();
            PyGILState_STATE gil = PyGILState_Ensure();
            {
                std::lock_guard<std::mutex> check(m_mutex);
                if (!m_done) PyThreadState_SetAsyncExc(m_threadId, s_stopType);
            }
            PyGILState_Release(gil);
            lock.lock();
        }
    }

    unsigned long m_threadId;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_done = false;
    std::thread m_thread;
};

// What a guarded call left: its result, or the exception it raised (owned), and whether its budget
// passed.
struct Outcome {
    PyObject* result = nullptr;
    PyObject* type = nullptr;
    PyObject* value = nullptr;
    PyObject* traceback = nullptr;
    bool expired = false;
    std::string stopMessage;  // why the budget stopped the call, when it expired

    Outcome() = default;
    Outcome(const Outcome&) = delete;
    Outcome& operator=(const Outcome&) = delete;
    ~Outcome() {
        Py_XDECREF(result);
        Py_XDECREF(type);
        Py_XDECREF(value);
        Py_XDECREF(traceback);
    }
};

std::string stopMessage(double seconds) {
    return "script stopped: it ran longer than " + StringUtils::formatNumber(seconds, 0, 3) +
           " s (the time budget in the settings)";
}

// Calls under the time budget. Without a thread for the watchdog nothing runs: a failure.
template <class F>
void guardedCall(double seconds, Outcome& out, F&& call) {
    Guard guard;
    guard.limited = seconds > 0 && seconds <= NoLimitAbove;  // also false for NaN
    if (guard.limited) guard.message = stopMessage(seconds);
    guard.outer = t_guard;
    std::unique_ptr<Watchdog> watchdog;
    if (guard.limited) {
        try {
            watchdog = std::make_unique<Watchdog>(guard, seconds);
        } catch (const std::exception&) {
            PyErr_SetString(PyExc_RuntimeError, "no thread could be started to watch the time budget");
            PyErr_Fetch(&out.type, &out.value, &out.traceback);
            return;
        }
        PyEval_SetTrace(stopTrace, nullptr);
    }
    t_guard = &guard;
    out.result = call();
    if (!out.result) PyErr_Fetch(&out.type, &out.value, &out.traceback);
    if (watchdog) watchdog->finish();
    t_guard = guard.outer;
    // Also drops a trace function the script set for itself.
    PyEval_SetTrace(anyLimited(t_guard) ? stopTrace : nullptr, nullptr);
    PyErr_Clear();
    out.expired = guard.expired.load();
    if (out.expired) out.stopMessage = guard.message;
}

// The exception as its traceback text, with the script's lines.
std::wstring describe(Outcome& failure) {
    PyErr_NormalizeException(&failure.type, &failure.value, &failure.traceback);
    if (!failure.value) return L"unknown error";
    if (failure.traceback) PyException_SetTraceback(failure.value, failure.traceback);
    Outcome text;
    guardedCall(ReportBudget, text, [&] { return PyObject_CallOneArg(helper("format_exception"), failure.value); });
    if (text.result && PyUnicode_Check(text.result)) return toWide(text.result);
    return StringUtils::toWide(Py_TYPE(failure.value)->tp_name) + L" (its message could not be shown)";
}

// The last line of the script that the traceback passes through; 0 when none.
long lastScriptLine(PyObject* traceback, PyObject* fileName) {
    long line = 0;
    PyObject* entry = traceback;
    Py_XINCREF(entry);
    while (entry && entry != Py_None) {
        PyObject* frame = PyObject_GetAttrString(entry, "tb_frame");
        PyObject* code = frame ? PyObject_GetAttrString(frame, "f_code") : nullptr;
        PyObject* file = code ? PyObject_GetAttrString(code, "co_filename") : nullptr;
        PyObject* number = PyObject_GetAttrString(entry, "tb_lineno");
        if (file && number && PyUnicode_Check(file) && PyUnicode_Compare(file, fileName) == 0)
            line = PyLong_AsLong(number);
        Py_XDECREF(frame);
        Py_XDECREF(code);
        Py_XDECREF(file);
        Py_XDECREF(number);
        PyObject* next = PyObject_GetAttrString(entry, "tb_next");
        Py_DECREF(entry);
        entry = next;
    }
    Py_XDECREF(entry);
    PyErr_Clear();
    return line > 0 ? line : 0;
}

// sys.stdout and sys.stderr write to the log and sys.stdin is empty while a script runs.
class RedirectedStreams {
public:
    RedirectedStreams() {
        for (int i = 0; i < 3; ++i) {
            PyObject* replacement = PyObject_CallNoArgs(helper(i < 2 ? "LogStream" : "empty_input"));
            if (!replacement) {
                PyErr_Clear();
                continue;
            }
            m_saved[i] = PySys_GetObject(Names[i]);
            Py_XINCREF(m_saved[i]);
            m_replacement[i] = replacement;
            PySys_SetObject(Names[i], replacement);
        }
    }

    ~RedirectedStreams() {
        for (int i = 0; i < 3; ++i) {
            if (!m_replacement[i]) continue;
            PyObject* flushed = i < 2 ? PyObject_CallMethod(m_replacement[i], "flush", nullptr) : nullptr;
            Py_XDECREF(flushed);
            PyErr_Clear();
            PySys_SetObject(Names[i], m_saved[i] ? m_saved[i] : Py_None);
            Py_XDECREF(m_saved[i]);
            Py_DECREF(m_replacement[i]);
        }
    }

private:
    static constexpr const char* Names[3] = {"stdout", "stderr", "stdin"};
    PyObject* m_saved[3] = {nullptr, nullptr, nullptr};
    PyObject* m_replacement[3] = {nullptr, nullptr, nullptr};
};

// The streams are the process's: redirected while any run is under way, on any thread (the GIL
// guards these). Never destroyed at exit, when no GIL is held.
int s_runsUnderWay = 0;
RedirectedStreams* s_streams = nullptr;

std::wstring quoted(const std::wstring& name) { return L"Python script \"" + name + L"\""; }

}  // namespace

bool XPythonScript::IsAvailable() { return interpreter().ready; }

double XPythonScript::TimeBudget() const {
    return m_timeBudget ? *m_timeBudget : XScriptLimits::Shared().timeBudgetSeconds;
}

void XPythonScript::Fail(const std::wstring& message) {
    m_lastError = message;
    XLog::Error(message);
}

bool XPythonScript::RunScript(const std::wstring& text) { return Run(text, DefaultName, m_scene, false); }

bool XPythonScript::RunScript(const std::wstring& text, const std::wstring& scriptName) {
    return Run(text, scriptName, m_scene, false);
}

bool XPythonScript::RunSceneScript(const std::wstring& text, const std::wstring& scriptName, XScene& scene) {
    const std::wstring name = scriptName.empty() ? DefaultName : scriptName;
    db::Database& database = scene.Database().db();
    m_lastError.clear();
    if (database.blockDepth() > 0) {
        Fail(quoted(name) + L" was not run: the scene has an open change block, which it could not undo alone");
        return false;
    }
    database.beginChangeBlock();
    const bool succeeded = Run(text, name, &scene, true);
    if (succeeded) {
        while (database.blockDepth() > 1) database.endChangeBlock();
        if (database.blockDepth() == 1) database.endChangeBlock(StringUtils::toUtf8(name));
    } else if (database.cancelChangeBlock()) {
        XLog::Write(quoted(name) + L" changed nothing: its changes were reverted");
    }
    return succeeded;
}

std::size_t XPythonScript::MemoryBudget() const {
    return m_memoryBudget ? *m_memoryBudget : XScriptLimits::Shared().memoryBudgetBytes;
}

bool XPythonScript::Run(const std::wstring& text, const std::wstring& scriptName, XScene* scene, bool sceneScript) {
    m_lastError.clear();
    const std::wstring name = scriptName.empty() ? DefaultName : scriptName;
    Interpreter& py = interpreter();
    if (!py.ready) {
        Fail(quoted(name) + L" cannot run: Python is not available (" + py.error + L")");
        return false;
    }
    const std::string source = StringUtils::toUtf8(text);
    if (source.find('\0') != std::string::npos) {
        Fail(quoted(name) + L" cannot run: it contains a NUL character");
        return false;
    }
    const double budget = TimeBudget();

    PyGILState_STATE gil = PyGILState_Ensure();
    PyObject* fileName = PyUnicode_FromWideChar(name.c_str(), static_cast<Py_ssize_t>(name.size()));
    PyObject* sourceText = PyUnicode_FromStringAndSize(source.data(), static_cast<Py_ssize_t>(source.size()));
    PyObject* globals = PyDict_New();
    PyObject* mainName = PyUnicode_FromString("__main__");
    std::wstring error;
    bool succeeded = false;
    PyObject* velx = PyImport_ImportModule("velx");
    if (!fileName || !sourceText || !globals || !mainName || !velx || PyDict_SetItemString(globals, "__name__", mainName) < 0 ||
        PyDict_SetItemString(globals, "__builtins__", PyEval_GetBuiltins()) < 0 ||
        PyDict_SetItemString(globals, "velx", velx) < 0) {
        error = quoted(name) + L" cannot run: " + pythonError("its namespace could not be made");
    } else {
        // Tracebacks show the script's own lines.
        PyObject* remembered = PyObject_CallFunctionObjArgs(helper("remember_source"), fileName, sourceText, nullptr);
        Py_XDECREF(remembered);
        PyErr_Clear();

        Outcome outcome;
        std::pair<int, int> strayThreads{0, 0};
        PyObject* code = Py_CompileStringObject(source.c_str(), fileName, Py_file_input, nullptr, -1);
        if (!code) {
            PyErr_Fetch(&outcome.type, &outcome.value, &outcome.traceback);
        } else {
            // A scene script is held to the memory budget and the log allowance, with what it makes
            // through velx counted, and may not start threads.
            SceneRunBudget sceneBudget;
            XScriptLogAllowance sceneLog;
            if (sceneScript)
                sceneLog.Start(SceneLogLimits, StringUtils::toUtf8(quoted(name)) + ": the script's further log lines in this run are dropped");
            XPythonVelxModule::RunState outer =
                XPythonVelxModule::Enter(scene, sceneScript ? &sceneBudget : nullptr, sceneScript ? &sceneLog : nullptr);
            const unsigned long outerSceneThread = PythonSceneThreads::SceneScriptThread();
            const std::string outerMemoryMessage = s_memoryMessage;
            PythonMemoryCap::Saved outerCap{};
            std::vector<const void*> threadsBefore;
            if (sceneScript) {
                threadsBefore = PythonSceneThreads::Running();
                const std::size_t cap = MemoryBudget();
                PythonSceneThreads::SetSceneScriptThread(PyThread_get_thread_ident());
                s_memoryMessage = "script stopped: it used more than " +
                                  StringUtils::formatNumber(static_cast<double>(cap) / MiB, 0, 2) + " MiB of memory";
                outerCap = PythonMemoryCap::Begin(cap);
            }
            const int recursionLimit = Py_GetRecursionLimit();
            if (s_runsUnderWay++ == 0) s_streams = new RedirectedStreams();
            guardedCall(budget, outcome, [&] { return PyEval_EvalCode(code, globals, globals); });
            if (sceneScript) {
                PythonMemoryCap::End(outerCap);
                s_memoryMessage = outerMemoryMessage;
                PythonSceneThreads::SetSceneScriptThread(outerSceneThread);
                strayThreads = PythonSceneThreads::StopStartedSince(threadsBefore, StrayThreadWait, s_stopType);
            }
            Py_DECREF(code);
            Py_SetRecursionLimit(recursionLimit);
            if (--s_runsUnderWay == 0) {
                delete s_streams;  // flushes while velx still accepts the last lines
                s_streams = nullptr;
            }
            std::vector<XScene*> open = XPythonVelxModule::Leave(std::move(outer));
            for (XScene* openScene : open) openScene->Database().EndChangeBlock();
            if (!open.empty())
                XLog::Write((quoted(name) + L" left " + std::to_wstring(open.size()) +
                                                         L" change block(s) open; they were ended")
                                                            .c_str());
        }

        if (outcome.result) {
            succeeded = true;
        } else if (outcome.expired) {
            const long line = lastScriptLine(outcome.traceback, fileName);
            error = quoted(name) + (line ? L", line " + std::to_wstring(line) : L"") + L": " +
                    StringUtils::toWide(outcome.stopMessage);
        } else if (outcome.type && PyErr_GivenExceptionMatches(outcome.type, PyExc_SystemExit)) {
            PyErr_NormalizeException(&outcome.type, &outcome.value, &outcome.traceback);
            PyObject* status = outcome.value ? PyObject_GetAttrString(outcome.value, "code") : nullptr;
            PyErr_Clear();
            if (!status || status == Py_None || (PyLong_Check(status) && PyLong_AsLong(status) == 0)) {
                succeeded = true;
            } else {
                PyObject* statusText = PyObject_Str(status);
                error = quoted(name) + L" exited with status " + toWide(statusText);
                Py_XDECREF(statusText);
            }
            Py_XDECREF(status);
            PyErr_Clear();
        } else {
            error = quoted(name) + L" failed:\n" + describe(outcome);
        }
        if (strayThreads.first > 0) {
            if (succeeded) error = quoted(name) + L" failed";
            succeeded = false;
            error += L"\nIt started " + std::to_wstring(strayThreads.first) +
                     L" thread(s), which scene scripts may not; they were stopped";
            if (strayThreads.second > 0)
                error += L" (" + std::to_wstring(strayThreads.second) + L" could not be: they run outside Python)";
        }
        PyObject* forgotten = PyObject_CallOneArg(helper("forget_source"), fileName);
        Py_XDECREF(forgotten);
        PyErr_Clear();
    }
    Py_XDECREF(velx);
    Py_XDECREF(mainName);
    Py_XDECREF(globals);
    Py_XDECREF(sourceText);
    Py_XDECREF(fileName);
    PyGILState_Release(gil);

    if (!succeeded) Fail(error);
    return succeeded;
}

}  // namespace VelX

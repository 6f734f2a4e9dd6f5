#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include "PythonSceneThreads.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace VelX {

namespace {

using Clock = std::chrono::steady_clock;

unsigned long s_sceneThread = 0;  // the thread of the scene script under way; 0: none
PyObject* s_startThread = nullptr;  // _thread.start_new_thread as the interpreter made it

// _thread.start_new_thread (and threading's use of it) while velx runs: refused on the thread of a
// scene script, passed on otherwise.
PyObject* startThreadUnlessSceneScript(PyObject*, PyObject* args, PyObject* kwargs) {
    if (s_sceneThread != 0 && PyThread_get_thread_ident() == s_sceneThread) {
        PyErr_SetString(PyExc_RuntimeError,
                        "scene scripts cannot start threads: a thread would outlive the script's budgets and undo step");
        return nullptr;
    }
    return PyObject_Call(s_startThread, args, kwargs);
}

PyMethodDef s_startThreadDef = {"start_new_thread", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(startThreadUnlessSceneScript)),
                                METH_VARARGS | METH_KEYWORDS, "Starts a thread (not from a scene script)."};

}  // namespace

bool PythonSceneThreads::GuardThreadStarts() {
    PyObject* threadModule = PyImport_ImportModule("_thread");
    PyObject* threading = PyImport_ImportModule("threading");
    s_startThread = threadModule ? PyObject_GetAttrString(threadModule, "start_new_thread") : nullptr;
    PyObject* guard = s_startThread ? PyCFunction_NewEx(&s_startThreadDef, nullptr, nullptr) : nullptr;
    const bool ok = guard && threading && PyObject_SetAttrString(threadModule, "start_new_thread", guard) == 0 &&
                    PyObject_SetAttrString(threadModule, "start_new", guard) == 0 &&
                    PyObject_SetAttrString(threading, "_start_new_thread", guard) == 0;
    Py_XDECREF(guard);
    Py_XDECREF(threading);
    Py_XDECREF(threadModule);
    PyErr_Clear();
    return ok;
}

std::vector<const void*> PythonSceneThreads::Running() {
    std::vector<const void*> states;
    for (PyThreadState* t = PyInterpreterState_ThreadHead(PyInterpreterState_Get()); t; t = PyThreadState_Next(t))
        states.push_back(t);
    return states;
}

std::pair<int, int> PythonSceneThreads::StopStartedSince(const std::vector<const void*>& before, double seconds,
                                                         PyObject* stop) {
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    const unsigned long self = PyThread_get_thread_ident();
    int found = -1;
    for (;;) {
        std::vector<PyThreadState*> started;
        for (PyThreadState* t = PyInterpreterState_ThreadHead(PyInterpreterState_Get()); t; t = PyThreadState_Next(t))
            if (std::find(before.begin(), before.end(), t) == before.end()) started.push_back(t);
        if (found < 0) found = static_cast<int>(started.size());
        if (started.empty() || Clock::now() >= deadline) return {found, static_cast<int>(started.size())};
        // A thread's state exists from the moment it is started; it carries the thread's id only once
        // the thread runs, and only then can the stop be raised in it.
        for (PyThreadState* t : started)
            if (t->thread_id != 0 && t->thread_id != self) PyThreadState_SetAsyncExc(t->thread_id, stop);
        Py_BEGIN_ALLOW_THREADS
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        Py_END_ALLOW_THREADS
    }
}

void PythonSceneThreads::SetSceneScriptThread(unsigned long id) { s_sceneThread = id; }
unsigned long PythonSceneThreads::SceneScriptThread() { return s_sceneThread; }

}  // namespace VelX

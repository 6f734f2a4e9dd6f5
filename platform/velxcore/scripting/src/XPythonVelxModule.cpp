#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include <velxcore/XActiveScene.h>
#include <velxcore/XLog.h>
#include <velxcore/XScriptFunctions.h>
#include <velxcore/XScriptLimits.h>
#include <velxcore/XPythonVelxModule.h>
#include <velxcore/XScene.h>
#include <velxcore/XScriptApi.h>
#include <velxcore/XScriptBudget.h>
#include <velxcore/XScriptLogAllowance.h>

#include <cmath>
#include <limits>
#include <map>
#include <new>
#include <string>

namespace VelX {

namespace {

PyObject* s_error = nullptr;  // velx.Error
PyObject* s_stop = nullptr;   // the runner's stop exception, which `except Exception` misses
thread_local XPythonVelxModule::RunState t_state;

constexpr int MaxNesting = 32;  // lists inside lists; a list holding itself must not recurse forever

XScene& runScene() {
    if (!t_state.active) throw XScriptError("velx can be used only by a running script, on the thread that runs it");
    return t_state.scene ? *t_state.scene : XActiveScene::Get();
}

// The operations of the run's scene, charged to the run's budget.
XScriptApi api() {
    XScene& scene = runScene();
    return XScriptApi(scene, t_state.budget);
}

const char* typeName(PyObject* object) { return Py_TYPE(object)->tp_name; }

db::Value toValue(PyObject* object, int depth = 0) {
    if (object == Py_None) return {};
    if (PyBool_Check(object)) return db::Value(object == Py_True);
    if (PyFloat_Check(object)) return db::Value(PyFloat_AS_DOUBLE(object));
    if (PyLong_Check(object) || PyIndex_Check(object)) {
        PyObject* number = PyNumber_Index(object);
        if (!number) {
            PyErr_Clear();
            throw XScriptError(std::string("velx cannot use a value of type '") + typeName(object) + "'");
        }
        int overflow = 0;
        long long n = PyLong_AsLongLongAndOverflow(number, &overflow);
        if (!overflow && n >= std::numeric_limits<std::int32_t>::min() && n <= std::numeric_limits<std::int32_t>::max()) {
            Py_DECREF(number);
            return db::Value(static_cast<std::int32_t>(n));
        }
        // Beyond 32 bits an integer travels as a double, as a number too large to count in.
        double d = PyLong_AsDouble(number);
        Py_DECREF(number);
        if (d == -1.0 && PyErr_Occurred()) {
            PyErr_Clear();
            throw XScriptError("the integer is too large");
        }
        return db::Value(d);
    }
    if (PyUnicode_Check(object)) {
        Py_ssize_t size = 0;
        const char* text = PyUnicode_AsUTF8AndSize(object, &size);
        if (!text) {
            PyErr_Clear();
            throw XScriptError("the text is not valid Unicode");
        }
        return db::Value(std::string(text, static_cast<std::size_t>(size)));
    }
    if (PySequence_Check(object) && !PyBytes_Check(object) && !PyByteArray_Check(object)) {
        if (depth >= MaxNesting) throw XScriptError("the value nests lists too deeply");
        PyObject* items = PySequence_Fast(object, "");
        if (!items) {
            PyErr_Clear();
            throw XScriptError(std::string("velx cannot use a value of type '") + typeName(object) + "'");
        }
        db::ValueList list;
        try {
            const Py_ssize_t n = PySequence_Fast_GET_SIZE(items);
            for (Py_ssize_t i = 0; i < n; ++i) list.push_back(toValue(PySequence_Fast_GET_ITEM(items, i), depth + 1));
        } catch (...) {
            Py_DECREF(items);
            throw;
        }
        Py_DECREF(items);
        return db::Value(std::move(list));
    }
    if (Py_TYPE(object)->tp_as_number && Py_TYPE(object)->tp_as_number->nb_float) {  // e.g. numpy.float32
        double d = PyFloat_AsDouble(object);
        if (d == -1.0 && PyErr_Occurred()) {
            PyErr_Clear();
            throw XScriptError(std::string("velx cannot use a value of type '") + typeName(object) + "'");
        }
        return db::Value(d);
    }
    throw XScriptError(std::string("velx cannot use a value of type '") + typeName(object) + "'");
}

PyObject* floatList(const float* values, int count) {
    PyObject* list = PyList_New(count);
    if (!list) return nullptr;
    for (int i = 0; i < count; ++i) {
        PyObject* item = PyFloat_FromDouble(values[i]);
        if (!item) {
            Py_DECREF(list);
            return nullptr;
        }
        PyList_SET_ITEM(list, i, item);
    }
    return list;
}

PyObject* fromValue(const db::Value& value) {
    if (value.isNone()) Py_RETURN_NONE;
    if (auto v = value.tryGet<std::int32_t>()) return PyLong_FromLong(*v);
    if (auto v = value.tryGet<bool>()) return PyBool_FromLong(*v);
    if (auto v = value.tryGet<float>()) return PyFloat_FromDouble(*v);
    if (auto v = value.tryGet<double>()) return PyFloat_FromDouble(*v);
    if (auto v = value.tryGet<std::string>()) return PyUnicode_DecodeUTF8(v->data(), static_cast<Py_ssize_t>(v->size()), "replace");
    if (auto v = value.tryGet<Velutils::Vec3>()) {
        const float xyz[3] = {v->x, v->y, v->z};
        return floatList(xyz, 3);
    }
    if (auto v = value.tryGet<Velutils::Quat>()) {
        const float xyzw[4] = {v->x, v->y, v->z, v->w};
        return floatList(xyzw, 4);
    }
    if (auto v = value.tryGet<Velutils::Matrix4>()) return floatList(&v->m[0][0], 16);  // row by row
    const db::ValueList& items = value.get<db::ValueList>();
    PyObject* list = PyList_New(static_cast<Py_ssize_t>(items.size()));
    if (!list) return nullptr;
    for (std::size_t i = 0; i < items.size(); ++i) {
        PyObject* item = fromValue(items[i]);
        if (!item) {
            Py_DECREF(list);
            return nullptr;
        }
        PyList_SET_ITEM(list, static_cast<Py_ssize_t>(i), item);
    }
    return list;
}

PyObject* stringList(const std::vector<std::string>& strings) {
    db::ValueList list(strings.begin(), strings.end());
    return fromValue(db::Value(std::move(list)));
}

PyObject* fromString(const std::string& text) { return fromValue(db::Value(text)); }

// Runs a velx operation: C++ exceptions become Python ones and never cross into the interpreter.
template <class F>
PyObject* guarded(F&& operation) {
    try {
        // A loop of velx calls may run few lines between them: check the clock here too.
        if (t_state.active && t_state.budget) t_state.budget->CheckTime();
        return operation();
    } catch (const XScriptError& e) {
        PyErr_SetString(s_error, e.what());
    } catch (const XScriptStop& e) {
        PyErr_SetString(s_stop ? s_stop : s_error, e.what());
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const std::exception& e) {
        PyErr_SetString(s_error, (std::string("velx failed: ") + e.what()).c_str());
    } catch (...) {
        PyErr_SetString(s_error, "velx failed for an unknown reason");
    }
    return nullptr;
}

std::string pathOrRoot(const char* path) { return path ? path : ""; }

std::vector<std::string> pathsOf(PyObject* object) {
    std::vector<std::string> paths;
    if (object == Py_None) return paths;
    db::Value value = toValue(object);
    if (value.is<std::string>()) return {value.asString()};
    const db::ValueList* list = value.tryGet<db::ValueList>();
    if (!list) throw XScriptError("select takes a path or a list of paths");
    for (const db::Value& item : *list) {
        if (!item.is<std::string>()) throw XScriptError("select takes a path or a list of paths");
        paths.push_back(item.asString());
    }
    return paths;
}

db::Value numberOrNone(PyObject* object, const char* what) {
    db::Value value = toValue(object);
    if (!value.isNone() && !value.is<std::int32_t>() && !value.is<double>() && !value.is<bool>())
        throw XScriptError(std::string("the ") + what + " must be a number or None");
    return value;
}

#define VELX_ARGS PyObject*, PyObject* args, PyObject* kwargs
#define VELX_KEYWORDS(...) static const char* keywords[] = {__VA_ARGS__, nullptr}

PyObject* velxFind(VELX_ARGS) {
    VELX_KEYWORDS("path");
    const char* path;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "s:find", const_cast<char**>(keywords), &path)) return nullptr;
    return guarded([&]() -> PyObject* {
        if (!api().exists(path)) Py_RETURN_NONE;
        return fromString(path);
    });
}

PyObject* velxExists(VELX_ARGS) {
    VELX_KEYWORDS("path");
    const char* path;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "s:exists", const_cast<char**>(keywords), &path)) return nullptr;
    return guarded([&] { return PyBool_FromLong(api().exists(path)); });
}

PyObject* velxFindByType(VELX_ARGS) {
    VELX_KEYWORDS("type", "exact");
    const char* type;
    int exact = 0;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "s|p:find_by_type", const_cast<char**>(keywords), &type, &exact))
        return nullptr;
    return guarded([&] { return stringList(api().findByType(type, exact != 0)); });
}

PyObject* velxChildren(VELX_ARGS) {
    VELX_KEYWORDS("path");
    const char* path = nullptr;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "|z:children", const_cast<char**>(keywords), &path)) return nullptr;
    return guarded([&] { return stringList(api().children(pathOrRoot(path))); });
}

PyObject* velxType(VELX_ARGS) {
    VELX_KEYWORDS("path");
    const char* path;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "s:type", const_cast<char**>(keywords), &path)) return nullptr;
    return guarded([&] { return fromString(api().typeOf(path)); });
}

PyObject* velxCreate(VELX_ARGS) {
    VELX_KEYWORDS("type", "name", "parent");
    const char *type, *name, *parent = nullptr;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "ss|z:create", const_cast<char**>(keywords), &type, &name, &parent))
        return nullptr;
    return guarded([&] { return fromString(api().create(type, name, pathOrRoot(parent))); });
}

PyObject* velxDelete(VELX_ARGS) {
    VELX_KEYWORDS("path");
    const char* path;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "s:delete", const_cast<char**>(keywords), &path)) return nullptr;
    return guarded([&] {
        api().remove(path);
        Py_RETURN_NONE;
    });
}

PyObject* velxReparent(VELX_ARGS) {
    VELX_KEYWORDS("path", "parent");
    const char *path, *parent;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "sz:reparent", const_cast<char**>(keywords), &path, &parent))
        return nullptr;
    return guarded([&] { return fromString(api().reparent(path, pathOrRoot(parent))); });
}

PyObject* velxRename(VELX_ARGS) {
    VELX_KEYWORDS("path", "name");
    const char *path, *name;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "ss:rename", const_cast<char**>(keywords), &path, &name)) return nullptr;
    return guarded([&] { return fromString(api().rename(path, name)); });
}

PyObject* velxSelect(VELX_ARGS) {
    VELX_KEYWORDS("paths");
    PyObject* paths;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "O:select", const_cast<char**>(keywords), &paths)) return nullptr;
    return guarded([&] {
        api().select(pathsOf(paths));
        Py_RETURN_NONE;
    });
}

PyObject* velxSelection(PyObject*, PyObject*) {
    return guarded([&] { return stringList(api().selection()); });
}

PyObject* velxGet(VELX_ARGS) {
    VELX_KEYWORDS("path", "attribute");
    const char *path, *attribute;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "ss:get", const_cast<char**>(keywords), &path, &attribute)) return nullptr;
    return guarded([&] { return fromValue(api().get(path, attribute)); });
}

PyObject* velxSet(VELX_ARGS) {
    VELX_KEYWORDS("path", "attribute", "value");
    const char *path, *attribute;
    PyObject* value;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "ssO:set", const_cast<char**>(keywords), &path, &attribute, &value))
        return nullptr;
    return guarded([&] {
        api().set(path, attribute, toValue(value));
        Py_RETURN_NONE;
    });
}

PyObject* velxAttributes(VELX_ARGS) {
    VELX_KEYWORDS("path");
    const char* path;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "s:attributes", const_cast<char**>(keywords), &path)) return nullptr;
    return guarded([&] { return stringList(api().attributes(path)); });
}

PyObject* velxConnect(VELX_ARGS) {
    VELX_KEYWORDS("source", "destination");
    const char *source, *destination;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "ss:connect", const_cast<char**>(keywords), &source, &destination))
        return nullptr;
    return guarded([&] {
        api().connect(source, destination);
        Py_RETURN_NONE;
    });
}

PyObject* velxDisconnect(VELX_ARGS) {
    VELX_KEYWORDS("destination");
    const char* destination;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "s:disconnect", const_cast<char**>(keywords), &destination))
        return nullptr;
    return guarded([&] {
        api().disconnect(destination);
        Py_RETURN_NONE;
    });
}

PyObject* velxSetKey(VELX_ARGS) {
    VELX_KEYWORDS("path", "attribute", "frame", "value");
    const char *path, *attribute;
    PyObject *frame = Py_None, *value = Py_None;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "ss|OO:set_key", const_cast<char**>(keywords), &path, &attribute,
                                     &frame, &value))
        return nullptr;
    return guarded([&] {
        api().setKey(path, attribute, numberOrNone(frame, "frame"), numberOrNone(value, "value"));
        Py_RETURN_NONE;
    });
}

PyObject* velxSetKeys(VELX_ARGS) {
    VELX_KEYWORDS("path", "attribute", "frames", "values");
    const char *path, *attribute;
    PyObject *frames, *values;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "ssOO:set_keys", const_cast<char**>(keywords), &path, &attribute,
                                     &frames, &values))
        return nullptr;
    return guarded([&] {
        api().setKeys(path, attribute, toValue(frames), toValue(values));
        Py_RETURN_NONE;
    });
}

PyObject* velxClearKeys(VELX_ARGS) {
    VELX_KEYWORDS("path", "attribute");
    const char *path, *attribute;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "ss:clear_keys", const_cast<char**>(keywords), &path, &attribute))
        return nullptr;
    return guarded([&] {
        api().clearKeys(path, attribute);
        Py_RETURN_NONE;
    });
}

PyObject* velxFrame(PyObject*, PyObject*) {
    return guarded([&] { return PyFloat_FromDouble(api().frame()); });
}

PyObject* velxSetFrame(VELX_ARGS) {
    VELX_KEYWORDS("frame");
    double frame;
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "d:set_frame", const_cast<char**>(keywords), &frame)) return nullptr;
    return guarded([&] {
        api().setFrame(frame);
        Py_RETURN_NONE;
    });
}

PyObject* velxBeginBlock(PyObject*, PyObject*) {
    return guarded([&] {
        XScene& scene = runScene();
        XScriptApi(scene).beginBlock();
        t_state.openBlocks.push_back(&scene);
        Py_RETURN_NONE;
    });
}

PyObject* velxEndBlock(VELX_ARGS) {
    VELX_KEYWORDS("name");
    const char* name = "";
    if (!PyArg_ParseTupleAndKeywords(args, kwargs, "|s:end_block", const_cast<char**>(keywords), &name)) return nullptr;
    return guarded([&] {
        runScene();
        // Only the script's own blocks: the block a scene script runs in is not the script's to end.
        if (t_state.openBlocks.empty()) throw XScriptError("end_block without begin_block");
        XScene* scene = t_state.openBlocks.back();
        XScriptApi(*scene).endBlock(name);
        t_state.openBlocks.pop_back();
        Py_RETURN_NONE;
    });
}

PyObject* velxUndo(PyObject*, PyObject*) {
    return guarded([&] { return PyBool_FromLong(api().undo()); });
}

PyObject* velxRedo(PyObject*, PyObject*) {
    return guarded([&] { return PyBool_FromLong(api().redo()); });
}

PyObject* velxLog(PyObject*, PyObject* text) {
    PyObject* string = PyObject_Str(text);
    if (!string) return nullptr;
    PyObject* result = guarded([&]() -> PyObject* {
        Py_ssize_t size = 0;
        const char* utf8 = PyUnicode_AsUTF8AndSize(string, &size);
        if (!utf8) return nullptr;
        const std::string line(utf8, static_cast<std::size_t>(size));
        if (!t_state.log) {
            api().log(line);
        } else if (!t_state.log->IsUsedUp()) {
            runScene();
            if (t_state.budget) t_state.budget->Charge(line.size());
            t_state.log->Write(line);
        }
        Py_RETURN_NONE;
    });
    Py_DECREF(string);
    return result;
}

PyObject* callFunction(const std::string& name, PyObject* const* args, Py_ssize_t count) {
    return guarded([&] {
        runScene();
        std::vector<db::Value> arguments;
        for (Py_ssize_t i = 0; i < count; ++i) arguments.push_back(toValue(args[i]));
        return fromValue(XScriptFunctions::Shared().call(name, arguments));
    });
}

PyObject* velxCall(PyObject*, PyObject* const* args, Py_ssize_t count) {
    if (count < 1 || !PyUnicode_Check(args[0])) {
        PyErr_SetString(PyExc_TypeError, "call() takes the function's name (a str) and its arguments");
        return nullptr;
    }
    const char* name = PyUnicode_AsUTF8(args[0]);
    if (!name) return nullptr;
    return callFunction(name, args + 1, count - 1);
}

// A plug-in function as velx.<name>: bound to its name, looked up again at every call.
PyObject* pluginCall(PyObject* name, PyObject* const* args, Py_ssize_t count) {
    const char* text = PyUnicode_AsUTF8(name);
    if (!text) return nullptr;
    return callFunction(text, args, count);
}

// One method entry per plug-in function name, kept for the process (never destroyed: function
// objects point at it).
PyMethodDef* pluginDef(const std::string& name) {
    static auto* const defs = new std::map<std::string, PyMethodDef>;
    auto it = defs->find(name);
    if (it == defs->end()) {
        it = defs->emplace(name, PyMethodDef{}).first;
        it->second = {it->first.c_str(), reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(pluginCall)),
                      METH_FASTCALL, "A function a plug-in added to velx."};
    }
    return &it->second;
}

bool isPluginFunction(const char* name) {
    return t_state.active && XScriptFunctions::Shared().has(name);
}

PyObject* velxGetAttr(PyObject* module, PyObject* name) {
    if (!PyUnicode_Check(name)) {
        PyErr_SetString(PyExc_TypeError, "attribute names are strings");
        return nullptr;
    }
    const char* text = PyUnicode_AsUTF8(name);
    if (!text) return nullptr;
    const bool dunder = text[0] == '_' && text[1] == '_';  // probes such as __path__ or __wrapped__
    if (!dunder && isPluginFunction(text)) {
        PyObject* moduleName = PyModule_GetNameObject(module);
        PyObject* function = guarded([&] { return PyCFunction_NewEx(pluginDef(text), name, moduleName); });
        Py_XDECREF(moduleName);
        return function;
    }
    PyErr_Format(PyExc_AttributeError, "module 'velx' has no attribute '%U'", name);
    return nullptr;
}

PyObject* velxDir(PyObject* module, PyObject*) {
    PyObject* names = PyDict_Keys(PyModule_GetDict(module));
    if (!names || !t_state.active) return names;
    for (const std::string& name : XScriptFunctions::Shared().names()) {
        PyObject* item = PyUnicode_FromString(name.c_str());
        if (!item || PyList_Append(names, item) < 0) {
            Py_XDECREF(item);
            Py_DECREF(names);
            return nullptr;
        }
        Py_DECREF(item);
    }
    return names;
}

template <class F>
PyCFunction cfunction(F* function) {
    return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function));
}

#define VELX_KW METH_VARARGS | METH_KEYWORDS
PyMethodDef s_methods[] = {
    {"find", cfunction(velxFind), VELX_KW, "find(path) -> the path when an object is there, else None"},
    {"exists", cfunction(velxExists), VELX_KW, "exists(path) -> whether an object is at the path"},
    {"find_by_type", cfunction(velxFindByType), VELX_KW,
     "find_by_type(type, exact=False) -> paths of the objects of the type (or of types derived from it)"},
    {"children", cfunction(velxChildren), VELX_KW, "children(path='') -> paths of the children (of the top level)"},
    {"type", cfunction(velxType), VELX_KW, "type(path) -> the object's type name"},
    {"create", cfunction(velxCreate), VELX_KW, "create(type, name, parent='') -> the new object's path"},
    {"delete", cfunction(velxDelete), VELX_KW, "delete(path): deletes the object with everything below it"},
    {"reparent", cfunction(velxReparent), VELX_KW, "reparent(path, parent) -> the object's new path ('' is the top)"},
    {"rename", cfunction(velxRename), VELX_KW, "rename(path, name) -> the object's new path"},
    {"select", cfunction(velxSelect), VELX_KW, "select(path or list of paths): replaces the selection"},
    {"selection", cfunction(velxSelection), METH_NOARGS, "selection() -> the selected paths, in selection order"},
    {"get", cfunction(velxGet), VELX_KW, "get(path, attribute) -> the attribute's value"},
    {"set", cfunction(velxSet), VELX_KW, "set(path, attribute, value)"},
    {"attributes", cfunction(velxAttributes), VELX_KW, "attributes(path) -> names of the object's visible attributes"},
    {"connect", cfunction(velxConnect), VELX_KW, "connect('Obj.attr', 'Other.attr'): drives the second by the first"},
    {"disconnect", cfunction(velxDisconnect), VELX_KW, "disconnect('Obj.attr'): removes the attribute's input"},
    {"set_key", cfunction(velxSetKey), VELX_KW,
     "set_key(path, attribute, frame=None, value=None): keys the attribute (at the current frame, with its value)"},
    {"set_keys", cfunction(velxSetKeys), VELX_KW,
     "set_keys(path, attribute, frames, values): keys the attribute at every frame of the list with the value at the same place"},
    {"clear_keys", cfunction(velxClearKeys), VELX_KW, "clear_keys(path, attribute): removes the attribute's animation"},
    {"frame", cfunction(velxFrame), METH_NOARGS, "frame() -> the current frame"},
    {"set_frame", cfunction(velxSetFrame), VELX_KW, "set_frame(frame)"},
    {"begin_block", cfunction(velxBeginBlock), METH_NOARGS, "begin_block(): later changes become one undo step"},
    {"end_block", cfunction(velxEndBlock), VELX_KW, "end_block(name=''): ends the block begin_block began"},
    {"undo", cfunction(velxUndo), METH_NOARGS, "undo() -> whether there was a step to undo"},
    {"redo", cfunction(velxRedo), METH_NOARGS, "redo() -> whether there was a step to redo"},
    {"log", cfunction(velxLog), METH_O, "log(text): writes a line to the application log"},
    {"call", cfunction(velxCall), METH_FASTCALL, "call(name, *args) -> the result of a plug-in function"},
    {"__getattr__", cfunction(velxGetAttr), METH_O, "Plug-in functions as velx.<name>."},
    {"__dir__", cfunction(velxDir), METH_NOARGS, nullptr},
    {nullptr, nullptr, 0, nullptr}};

PyModuleDef s_module = {PyModuleDef_HEAD_INIT, "velx",
                        "The scene of VelX Studio: objects, attributes, keys, selection, undo; and plug-in functions.",
                        -1, s_methods, nullptr, nullptr, nullptr, nullptr};

PyObject* createModule() {
    PyObject* module = PyModule_Create(&s_module);
    if (!module) return nullptr;
    if (!s_error) {
        s_error = PyErr_NewExceptionWithDoc("velx.Error", "A scene operation the script asked for went wrong.",
                                            PyExc_Exception, nullptr);
        if (!s_error) {
            Py_DECREF(module);
            return nullptr;
        }
    }
    Py_INCREF(s_error);
    if (PyModule_AddObject(module, "Error", s_error) < 0) {
        Py_DECREF(s_error);
        Py_DECREF(module);
        return nullptr;
    }
    return module;
}

PyObject* initVelx() { return createModule(); }

}  // namespace

bool XPythonVelxModule::AddBuiltin() { return PyImport_AppendInittab("velx", &initVelx) == 0; }

bool XPythonVelxModule::InstallInRunningInterpreter() {
    PyObject* module = createModule();
    if (!module) {
        PyErr_Clear();
        return false;
    }
    const bool added = PyDict_SetItemString(PyImport_GetModuleDict(), "velx", module) == 0;
    Py_DECREF(module);
    if (!added) PyErr_Clear();
    return added;
}

void XPythonVelxModule::SetStopException(PyObject* type) { s_stop = type; }

XPythonVelxModule::RunState XPythonVelxModule::Enter(XScene* scene, XScriptBudget* budget, XScriptLogAllowance* log) {
    RunState outer = std::move(t_state);
    t_state = RunState{true, scene, {}, budget, log};
    return outer;
}

std::vector<XScene*> XPythonVelxModule::Leave(RunState outer) {
    std::vector<XScene*> open(t_state.openBlocks.rbegin(), t_state.openBlocks.rend());
    t_state = std::move(outer);
    return open;
}

}  // namespace VelX

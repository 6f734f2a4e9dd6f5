/*
 * The plug-in interface of VelX Studio, in plain C so that a plug-in can be written in any language
 * that can export C functions. A plug-in is a shared object (.so) that includes only this header.
 *
 * Loading
 *   The host opens the shared object and calls its exported entry point:
 *
 *       int velx_plugin_entry(const VelXPluginHost* host, VelXPluginInfo* info);
 *
 *   The plug-in fills `info` (its name, version and the interface version it was built for, which
 *   is VELX_PLUGIN_API_VERSION as seen when it was compiled), may register script functions and
 *   object types through `host`, and returns VELX_OK. Any other return value refuses the load.
 *   Registrations take effect only once the entry point has returned VELX_OK and the plug-in's
 *   interface version matches the host's: a refused plug-in leaves nothing behind. When the host
 *   refuses a plug-in whose entry point returned VELX_OK (another interface version, say), it calls
 *   velx_plugin_exit before closing it.
 *   The host table and its context stay valid until velx_plugin_exit returns; registering is only
 *   possible while velx_plugin_entry runs.
 *
 * Unloading
 *   Before closing the shared object the host calls the optional export
 *
 *       void velx_plugin_exit(void);
 *
 *   then removes the plug-in's script functions. Object types the plug-in registered can no longer
 *   be created; objects that exist keep their data. velx_plugin_exit is not called when the
 *   application simply ends.
 *
 * Strings are UTF-8 and NUL-terminated. The host copies every string it is given, so the
 * plug-in's strings need only live until the call that passes them returns.
 */
#ifndef VELX_PLUGIN_API_H
#define VELX_PLUGIN_API_H

#ifdef __cplusplus
extern "C" {
#endif

#define VELX_PLUGIN_API_VERSION 1

/* Return codes of the entry point, the host functions and script functions. */
#define VELX_OK 0
#define VELX_ERROR 1

/* Value kinds of a script value. */
typedef enum VelXValueType {
    VELX_VALUE_NIL = 0,
    VELX_VALUE_BOOL = 1,
    VELX_VALUE_NUMBER = 2,
    VELX_VALUE_STRING = 3
} VelXValueType;

/* A script value: `type` says which of the other fields holds it. */
typedef struct VelXValue {
    int type;           /* a VelXValueType */
    int boolean;        /* VELX_VALUE_BOOL: 0 or 1 */
    double number;      /* VELX_VALUE_NUMBER */
    const char* string; /* VELX_VALUE_STRING */
} VelXValue;

/*
 * A script function, offered to scripts as velx.<name>(...). `args` holds `count` arguments, valid
 * during the call. The function sets `result` (it starts as nil) and returns VELX_OK; on a mistake
 * it returns VELX_ERROR and may set `result` to a string saying what was wrong, which the script
 * sees as an error. A string result must stay valid until the function has returned (a static
 * buffer will do).
 */
typedef int (*VelXScriptFunction)(const VelXValue* args, int count, VelXValue* result);

/* Attribute kinds of a plug-in object type. */
typedef enum VelXAttributeType {
    VELX_ATTRIBUTE_FLOAT = 0,
    VELX_ATTRIBUTE_INT = 1,
    VELX_ATTRIBUTE_BOOL = 2,
    VELX_ATTRIBUTE_STRING = 3
} VelXAttributeType;

/* One attribute of a plug-in object type. */
typedef struct VelXAttributeSpec {
    const char* name;           /* internal name, e.g. "restLength": letters, digits, '_' */
    int type;                   /* a VelXAttributeType */
    double default_number;      /* default of float, int and bool attributes */
    const char* default_string; /* default of string attributes (NULL = empty) */
} VelXAttributeSpec;

/* What the host offers a plug-in. Pass `context` back as the first argument of the register calls. */
typedef struct VelXPluginHost {
    int api_version; /* VELX_PLUGIN_API_VERSION of the host */
    void* context;
    /* Writes a line to the application log, naming the plug-in. */
    void (*log)(const char* message);
    /* Adds velx.<name>. Fails when the name is empty, taken, or the callback is NULL. */
    int (*register_script_function)(void* context, const char* name, VelXScriptFunction callback);
    /*
     * Adds an object type named `type_name` derived from `base_type_name` (NULL or "" for
     * "Object"), with `count` own attributes. Fails when the name is taken by another type, the
     * base is unknown or a settings type, or an attribute is malformed; the log says why.
     */
    int (*register_object_type)(void* context, const char* type_name, const char* base_type_name,
                                const VelXAttributeSpec* attributes, int count);
} VelXPluginHost;

/* What a plug-in says about itself. */
typedef struct VelXPluginInfo {
    int api_version;     /* set to VELX_PLUGIN_API_VERSION */
    const char* name;    /* shown to the user */
    const char* version; /* free text, e.g. "1.0.2" */
} VelXPluginInfo;

typedef int (*VelXPluginEntry)(const VelXPluginHost* host, VelXPluginInfo* info);
typedef void (*VelXPluginExit)(void);

#define VELX_PLUGIN_ENTRY_NAME "velx_plugin_entry"
#define VELX_PLUGIN_EXIT_NAME "velx_plugin_exit"

#if defined(__GNUC__)
#define VELX_PLUGIN_EXPORT __attribute__((visibility("default")))
#else
#define VELX_PLUGIN_EXPORT
#endif

#ifdef __cplusplus
}
#endif

#endif /* VELX_PLUGIN_API_H */

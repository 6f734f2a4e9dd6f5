/* A sample plug-in: the "SpringController" object type and velx.spring_force(stiffness, extension). */
#include <velxcore/VelXPluginApi.h>

#include <stddef.h>

static const VelXPluginHost* g_host = NULL;

/* Hooke's law: the force a spring of the given stiffness exerts at the given extension. */
static int spring_force(const VelXValue* args, int count, VelXValue* result) {
    if (count != 2 || args[0].type != VELX_VALUE_NUMBER || args[1].type != VELX_VALUE_NUMBER) {
        result->type = VELX_VALUE_STRING;
        result->string = "expected two numbers: stiffness and extension";
        return VELX_ERROR;
    }
    result->type = VELX_VALUE_NUMBER;
    result->number = -args[0].number * args[1].number;
    return VELX_OK;
}

VELX_PLUGIN_EXPORT int velx_plugin_entry(const VelXPluginHost* host, VelXPluginInfo* info) {
    static const VelXAttributeSpec attributes[] = {
        {"stiffness", VELX_ATTRIBUTE_FLOAT, 100.0, NULL},
        {"damping", VELX_ATTRIBUTE_FLOAT, 1.0, NULL},
        {"restLength", VELX_ATTRIBUTE_FLOAT, 1.0, NULL},
    };
    info->api_version = VELX_PLUGIN_API_VERSION;
    info->name = "Sample Springs";
    info->version = "1.0";
    if (host->api_version != VELX_PLUGIN_API_VERSION) return VELX_ERROR;
    g_host = host;
    if (host->register_object_type(host->context, "SpringController", "ObjectController", attributes,
                                   (int)(sizeof attributes / sizeof attributes[0])) != VELX_OK)
        return VELX_ERROR;
    if (host->register_script_function(host->context, "spring_force", spring_force) != VELX_OK) return VELX_ERROR;
    host->log("spring controller and spring_force registered");
    return VELX_OK;
}

VELX_PLUGIN_EXPORT void velx_plugin_exit(void) {
    if (g_host) g_host->log("sample plug-in unloaded");
    g_host = NULL;
}

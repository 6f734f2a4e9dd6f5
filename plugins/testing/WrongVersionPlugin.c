/* Claims a plug-in interface version the host does not offer; its registration must not survive. */
#include <velxcore/VelXPluginApi.h>

static int answer(const VelXValue* args, int count, VelXValue* result) {
    (void)args;
    (void)count;
    result->type = VELX_VALUE_NUMBER;
    result->number = 42.0;
    return VELX_OK;
}

VELX_PLUGIN_EXPORT int velx_plugin_entry(const VelXPluginHost* host, VelXPluginInfo* info) {
    info->api_version = VELX_PLUGIN_API_VERSION + 98;
    info->name = "Wrong Version";
    info->version = "0.1";
    host->register_script_function(host->context, "wrong_version_answer", answer);
    return VELX_OK;
}

/* Registers a function and a type, then reports failure: neither may survive. */
#include <velxcore/VelXPluginApi.h>

#include <stddef.h>

static int answer(const VelXValue* args, int count, VelXValue* result) {
    (void)args;
    (void)count;
    result->type = VELX_VALUE_NUMBER;
    result->number = 7.0;
    return VELX_OK;
}

VELX_PLUGIN_EXPORT int velx_plugin_entry(const VelXPluginHost* host, VelXPluginInfo* info) {
    static const VelXAttributeSpec attributes[] = {{"amount", VELX_ATTRIBUTE_INT, 3.0, NULL}};
    info->api_version = VELX_PLUGIN_API_VERSION;
    info->name = "Failing Entry";
    host->register_script_function(host->context, "failing_answer", answer);
    host->register_object_type(host->context, "FailingThing", NULL, attributes, 1);
    host->log("giving up");
    return 5;
}

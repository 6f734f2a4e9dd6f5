/* A shared object without the plug-in entry point. */
int velx_not_a_plugin(void) { return 1; }

#include "settings/vconf.h"

int vconf_set_str(const char*, const char*)
{
    return -1;
}

int vconf_set_int(const char*, int)
{
    return -1;
}

int vconf_set_bool(const char*, int)
{
    return -1;
}

char* vconf_get_str(const char*)
{
    return nullptr;
}

int vconf_get_int(const char*, int*)
{
    return -1;
}

int vconf_get_bool(const char*, int*)
{
    return -1;
}

int vconf_notify_key_changed(const char*, vconf_callback_fn, void*)
{
    return -1;
}

int vconf_ignore_key_changed(const char*, vconf_callback_fn)
{
    return -1;
}

const char* vconf_keynode_get_name(const keynode_t*)
{
    return "";
}

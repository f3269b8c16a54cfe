// The three trace switches, read through the settings table at the first
// initialisation. The environment trace is still off while they are read,
// so these lookups are never traced themselves.
#include <kvsup.h>
#include "core/trace.h"

namespace {

bool g_env = false;
bool g_shared = false;
bool g_findfile = false;

bool present(const char *name)
{
    return KorvGetenv(name) != nullptr;
}

} // namespace

namespace korv {

void trace_read_flags()
{
    g_env = present("KVENV_DEBUG");
    g_shared = present("KVSHARED_DEBUG");
    g_findfile = present("KVFINDFILE_DEBUG");
}

} // namespace korv

bool korv_trace_env() { return g_env; }
bool korv_trace_shared() { return g_shared; }
bool korv_trace_findfile() { return g_findfile; }

// The load hook on POSIX: a constructor and destructor pair that run when the
// library (or a program linking it statically) is loaded and unloaded.
#include <kvsup.h>
#include "core/engine_internal.h"

// The static library's users link this file in by this name (nothing else
// refers to it): see the static target's link options.
extern "C" const int korv_load_hook = 1;

__attribute__((constructor)) static void korv_load(void)
{
    korv_engine_attach();
}

__attribute__((destructor)) static void korv_unload(void)
{
    korv_engine_detach();
}

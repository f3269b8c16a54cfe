// The load hook on POSIX: a constructor and destructor pair that run when the
// library (or a program linking it statically) is loaded and unloaded.
#include <kvsup.h>
#include "core/engine_internal.h"

__attribute__((constructor)) static void korv_load(void)
{
    korv_engine_attach();
}

__attribute__((destructor)) static void korv_unload(void)
{
    korv_engine_detach();
}

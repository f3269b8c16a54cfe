// The load hook on Windows: DllMain for the DLL. A static build (linked into
// a program) has no DllMain call, so a global object does the same work.
#include <windows.h>
#include <kvsup.h>
#include "core/engine_internal.h"

// The static library's users link this file in by this name (nothing else
// refers to it): see the static target's link options.
extern "C" const int korv_load_hook = 1;

#ifndef KORV_STATIC
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved)
{
    if (reason == DLL_PROCESS_ATTACH)
        korv_engine_attach();
    else if (reason == DLL_PROCESS_DETACH)
        korv_engine_detach();
    return TRUE;
}
#else
namespace {
struct LoadHook {
    LoadHook() { korv_engine_attach(); }
    ~LoadHook() { korv_engine_detach(); }
};
LoadHook g_load_hook;
}
#endif

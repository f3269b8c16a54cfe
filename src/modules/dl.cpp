// Library handles: open, close and symbol lookup straight through the
// platform's loader (no cache, no lock), and the base name of a library
// path.
#include <string.h>
#include <kvsup.h>
#include "modules/dl_os.h"

namespace {

// A name is copied into a buffer of this size before it is opened; longer
// names are cut there.
constexpr size_t kNameBuffer = 1048;

} // namespace

extern "C" {

KORV_API uint32_t KorvDLOpen(const char *name, KorvLibrary *handle)
{
    if (!name || !handle)
        return 0;
    char local[kNameBuffer];
    size_t n = strlen(name);
    if (n >= kNameBuffer)
        n = kNameBuffer - 1;
    memcpy(local, name, n);
    local[n] = '\0';
    int32_t error = 0;
    const char *detail = nullptr;
    void *module = korv::dl_os_open(local, &error, &detail);
    if (!module) {
        KorvDebug("Shared library open<%s> error code<%d>\n", local, error);
        if (detail)
            KorvDebug("%s\n", detail);
        return 0;
    }
    *handle = module;
    return 1;
}

KORV_API uint32_t KorvDLClose(KorvLibrary handle)
{
    if (!handle)
        return 0;
    return korv::dl_os_close(handle) ? 1 : 0xFFFFFFFFu;
}

KORV_API uint32_t KorvDLSymbolLookup(KorvLibrary handle, const char *symbol, void **pointer)
{
    if (!handle)
        return 0;
    void *found = symbol ? korv::dl_os_symbol(handle, symbol) : nullptr;
    if (pointer)
        *pointer = found;
    return found ? 1 : 0xFFFFFFFFu;
}

// The part after the last path separator, cut before its first '.'.
KORV_API char *KorvGetLibraryBaseName(const char *path)
{
    if (!path)
        return nullptr;
    const char *base = strrchr(path, KORV_PATH_SEP);
    base = base ? base + 1 : path;
    size_t n = strcspn(base, ".");
    return KorvStrNDup(base, n);
}

} // extern "C"

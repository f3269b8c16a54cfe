// The dynamic loader on Windows: names cross as UTF-16; the system appends
// ".dll" to a name without an extension.
#include <windows.h>
#include <kvsup.h>
#include "modules/dl_os.h"

namespace korv {

void *dl_os_open(const char *name, int32_t *error, const char **detail)
{
    *detail = nullptr;
    if (name[0] == '\0') {
        *error = ERROR_MOD_NOT_FOUND;
        return nullptr;
    }
    uint16_t *wide = KorvUTF8ConvertToUTF16(name);
    if (!wide) {
        *error = ERROR_NO_UNICODE_TRANSLATION;
        return nullptr;
    }
    HMODULE module = LoadLibraryW(reinterpret_cast<const wchar_t *>(wide));
    if (!module)
        *error = static_cast<int32_t>(GetLastError());
    korv_internal_free(wide);
    return reinterpret_cast<void *>(module);
}

bool dl_os_close(void *handle)
{
    return FreeLibrary(static_cast<HMODULE>(handle)) != 0;
}

void *dl_os_symbol(void *handle, const char *symbol)
{
    return reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(handle), symbol));
}

} // namespace korv

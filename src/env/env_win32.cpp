// Environment and system directories on Windows: names cross as UTF-16.
#include <windows.h>
#include <string.h>
#include <kvsup.h>
#include "env/env_os.h"

namespace korv {

const char kOsDefaultName[] = "nt";
const char kOsDefaultTemp[] = "c://temp";
const char kOsDefaultDataPath[] =
    ".,${HOME},${HOME}\\data,${HOME}\\.kvdata,${QRN_RELEASE}\\data";

namespace {

// Converts a UTF-16 result into buffer; false when it cannot be converted or
// does not fit.
bool to_buffer(const wchar_t *wide, char *buffer, size_t size)
{
    char *utf8 = KorvUTF8ConvertFromUTF16(reinterpret_cast<const uint16_t *>(wide));
    if (!utf8)
        return false;
    size_t n = strlen(utf8);
    bool fits = n < size;
    if (fits)
        memcpy(buffer, utf8, n + 1);
    korv_internal_free(utf8);
    return fits;
}

} // namespace

char *env_os_read(const char *name)
{
    uint16_t *wname = KorvUTF8ConvertToUTF16(name);
    if (!wname)
        return nullptr;
    wchar_t value[1024];
    DWORD n = GetEnvironmentVariableW(reinterpret_cast<wchar_t *>(wname), value, 1024);
    korv_internal_free(wname);
    if (n == 0 || n >= 1024)
        return nullptr;
    return KorvUTF8ConvertFromUTF16(reinterpret_cast<const uint16_t *>(value));
}

bool env_os_temp_dir(char *buffer, size_t size)
{
    wchar_t wide[1024];
    DWORD n = GetTempPathW(1024, wide);
    return n > 0 && n < 1024 && to_buffer(wide, buffer, size);
}

bool env_os_current_dir(char *buffer, size_t size)
{
    wchar_t wide[1024];
    DWORD n = GetCurrentDirectoryW(1024, wide);
    return n > 0 && n < 1024 && to_buffer(wide, buffer, size);
}

bool env_os_executable_file(char *buffer, size_t size)
{
    wchar_t wide[1024];
    DWORD n = GetModuleFileNameW(nullptr, wide, 1024);
    return n > 0 && n < 1024 && to_buffer(wide, buffer, size);
}

} // namespace korv

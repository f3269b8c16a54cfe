// The log file on Windows: the C runtime's text-mode append, kept only when
// the name is a file on disk (not a pipe, console or other device).
#include <windows.h>
#include <io.h>
#include "core/logfile.h"

namespace korv {

FILE *log_file_open(const char *path)
{
    FILE *file = fopen(path, "a");
    if (!file)
        return nullptr;
    HANDLE handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
    if (handle == INVALID_HANDLE_VALUE || GetFileType(handle) != FILE_TYPE_DISK) {
        fclose(file);
        return nullptr;
    }
    return file;
}

} // namespace korv

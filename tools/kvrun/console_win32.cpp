#include "console.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

namespace kvrun {

// Image bytes must not be translated as text on the standard streams.
void console_binary_stdio()
{
    _setmode(0, _O_BINARY);
    _setmode(1, _O_BINARY);
}

bool console_stderr_is_terminal()
{
    DWORD mode = 0;
    HANDLE h = GetStdHandle(STD_ERROR_HANDLE);
    return h != INVALID_HANDLE_VALUE && GetFileType(h) == FILE_TYPE_CHAR &&
           GetConsoleMode(h, &mode);
}

unsigned long console_process_id() { return static_cast<unsigned long>(GetCurrentProcessId()); }

} // namespace kvrun

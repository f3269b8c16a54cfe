// Message formatting for the core runtime.
#include <stdio.h>
#include "core/format.h"

namespace korv {

int vformat(char *buffer, size_t size, const char *format, va_list args)
{
    return vsnprintf(buffer, size, format, args);
}

} // namespace korv

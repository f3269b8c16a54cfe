// Message formatting for the core runtime, through the library's own
// output engine.
#include "core/format.h"

#include <limits.h>
#include <kvsup.h>

namespace korv {

int vformat(char *buffer, size_t size, const char *format, va_list args)
{
    uint64_t length = KorvVSNPrintf(buffer, size, format, args);
    return length > INT_MAX ? INT_MAX : static_cast<int>(length);
}

} // namespace korv

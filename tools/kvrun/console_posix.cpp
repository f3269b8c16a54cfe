#include "console.h"

#include <unistd.h>

namespace kvrun {

// Standard streams carry bytes as they are on POSIX.
void console_binary_stdio() {}

bool console_stderr_is_terminal() { return isatty(2) != 0; }

unsigned long console_process_id() { return static_cast<unsigned long>(getpid()); }

} // namespace kvrun

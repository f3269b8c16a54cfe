// What kvrun needs of the console: binary standard streams, whether standard
// error is a terminal, and the process id (for temporary names).
#pragma once

namespace kvrun {

void console_binary_stdio();
bool console_stderr_is_terminal();
unsigned long console_process_id();

} // namespace kvrun

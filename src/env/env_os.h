/*
 * Operating-system calls of the environment and file subsystem. Every name
 * is UTF-8; results are UTF-8 too.
 */
#ifndef KVSUP_ENV_ENV_OS_H
#define KVSUP_ENV_ENV_OS_H

#include <stddef.h>
#include <stdint.h>

namespace korv {

/* The platform's compiled-in values of the system name (KV_OS), the
 * temporary-directory list (KORV_TEMP) and the data search path
 * (KV_DATA_PATH). */
extern const char kOsDefaultName[];
extern const char kOsDefaultTemp[];
extern const char kOsDefaultDataPath[];

/* The process environment's value of name as a new string, or null when it
 * is not set (or the name or value cannot be converted). */
char *env_os_read(const char *name);

/* The system's temporary directory and the current directory, written into
 * buffer (size bytes, NUL-terminated). False when the call fails or the
 * result does not fit. */
bool env_os_temp_dir(char *buffer, size_t size);
bool env_os_current_dir(char *buffer, size_t size);

/* The executable's full file name, as env_os_temp_dir. */
bool env_os_executable_file(char *buffer, size_t size);

} // namespace korv

#endif

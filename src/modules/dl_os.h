/*
 * The platform's dynamic loader behind the library-handle operations. Names
 * are UTF-8. None of these take a lock.
 */
#ifndef KVSUP_MODULES_DL_OS_H
#define KVSUP_MODULES_DL_OS_H

#include <stdint.h>

namespace korv {

/* Loads a library by name or path; null on failure, with *error set to the
 * platform's error code and *detail to its text (null when the platform has
 * none). A library name without an extension gets the platform's one. An
 * empty name never loads. */
void *dl_os_open(const char *name, int32_t *error, const char **detail);

/* True when the library was released. */
bool dl_os_close(void *handle);

/* The address of an exported symbol, or null. */
void *dl_os_symbol(void *handle, const char *symbol);

} // namespace korv

#endif

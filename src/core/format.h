/*
 * The sized formatter the core runtime writes its messages with: formats
 * into buffer (at most size bytes, NUL included; a null buffer with size 0
 * only measures) and returns the length of the whole formatted text. The
 * format language is the library's own (KorvVSNPrintf); a format it rejects
 * gives an empty text.
 */
#ifndef KVSUP_CORE_FORMAT_H
#define KVSUP_CORE_FORMAT_H

#include <stdarg.h>
#include <stddef.h>

namespace korv {

int vformat(char *buffer, size_t size, const char *format, va_list args);

} // namespace korv

#endif

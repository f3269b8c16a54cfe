/*
 * The message channel's shared writer. Kinds carry the level handed to the
 * logging callback: error 0, debug 1, output 2.
 */
#ifndef KVSUP_CORE_MESSAGE_H
#define KVSUP_CORE_MESSAGE_H

#include <stdarg.h>
#include <stdint.h>

namespace korv {

enum class MessageKind { error = 0, debug = 1, output = 2 };

/* Writes one message of the kind; nothing for a null format. */
void write_message(MessageKind kind, const char *format, va_list args);

} // namespace korv

#endif

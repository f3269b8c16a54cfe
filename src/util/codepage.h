// Named encodings and the platform's code-page conversions behind them.
#ifndef KVSUP_UTIL_CODEPAGE_H
#define KVSUP_UTIL_CODEPAGE_H

#include <stddef.h>
#include <stdint.h>

namespace korv::codepage {

enum class Kind { Unknown, Utf8, Ansi, Oem, Numbered };

struct Encoding {
    Kind kind;
    uint32_t number; // the code page of Kind::Numbered
};

// Reads an encoding name, without regard to case: null, "utf8" or "utf-8";
// "ACP"; "OEMCP"; "CP" and a decimal code-page number. Anything else is
// Kind::Unknown.
Encoding parse(const char *name);

// Platform conversions (one file per platform). Both return a new block
// from korv_internal_malloc, or null on any failure.
//
// UTF-16 text, NUL-terminated, to bytes in the code page; *length receives
// the byte count without the terminator.
char *from_utf16(Encoding encoding, const uint16_t *text, int32_t *length);
// length bytes of a NUL-terminated text in the code page (all of it for a
// negative length) to NUL-terminated UTF-16.
uint16_t *to_utf16(Encoding encoding, const char *text, int32_t length);

} // namespace korv::codepage

#endif

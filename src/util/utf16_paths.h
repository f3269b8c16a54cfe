// The ways the UTF-8 <-> UTF-16 conversions can run: one character at a
// time, or whole blocks with one instruction set. The fastest way the
// machine offers is chosen on first use; tests force each way in turn and
// compare the results, which must be identical byte for byte.
//
// A block way only ever takes the plain cases (valid one- to three-byte
// sequences; units that are neither surrogates nor byte-order marks) and
// stops in front of anything else, so that every other case goes through
// the one careful character-at-a-time code.
#ifndef KVSUP_UTIL_UTF16_PATHS_H
#define KVSUP_UTIL_UTF16_PATHS_H

#include <stddef.h>
#include <stdint.h>

namespace korv::utf16 {

enum class Path { Scalar, SSE2, AVX2, NEON };

struct Blocks {
    // Decodes blocks of UTF-8 from p, writing units at o, while enough of
    // the text remains before end (its terminator). Returns the position
    // reached: at a block that is not plain, or near the end. Writes at most
    // as many units as bytes consumed, though a block may touch the room of
    // the bytes it consumed.
    const unsigned char *(*decode)(const unsigned char *p, const unsigned char *end, uint16_t *&o);
    // Encodes blocks of units from p to end, writing bytes at o, and returns
    // the position reached. The room at o must hold the bytes the units make
    // and sixteen more.
    const uint16_t *(*encode)(const uint16_t *p, const uint16_t *end, unsigned char *&o);
    // Measures a NUL-terminated UTF-16 text: its units, and the UTF-8 bytes
    // they make unswapped (one, two or three a unit). Sets *swapped when a
    // swapped byte-order mark (0xFFFE) is among them.
    void (*measure)(const uint16_t *s, size_t *units, size_t *bytes, bool *swapped);
};

// The blocks of one way, or null when this machine or build cannot run it.
// The scalar way has no decode or encode.
const Blocks *blocks_of(Path path);
const Blocks *sse2_blocks();
const Blocks *avx2_blocks();
const Blocks *neon_blocks();

// The way the conversions use now.
const Blocks *active_blocks();

// Makes the conversions use path from now on (a test switch); false, and
// nothing changed, when the machine cannot run it.
bool force_path(Path path);

// Returns to the machine's fastest way.
void reset_path();

} // namespace korv::utf16

#endif

// Byte-shuffle tables of the block conversions, made at compile time. The
// same tables serve every instruction set whose byte shuffle takes sixteen
// indices and zeroes a lane for an index with its top bit set.
#ifndef KVSUP_UTIL_UTF16_TABLES_H
#define KVSUP_UTIL_UTF16_TABLES_H

#include <stdint.h>

namespace korv::utf16 {

// Gathering 16-bit lanes: for a mask of eight lanes (bit i keeps lane i),
// the byte indices that move the kept lanes to the front, in order.
struct GatherTable {
    alignas(16) uint8_t index[256][16];
};

constexpr GatherTable make_gather_table()
{
    GatherTable t{};
    for (int mask = 0; mask < 256; mask++) {
        int n = 0;
        for (int lane = 0; lane < 8; lane++) {
            if (mask & (1 << lane)) {
                t.index[mask][n++] = (uint8_t)(2 * lane);
                t.index[mask][n++] = (uint8_t)(2 * lane + 1);
            }
        }
        while (n < 16)
            t.index[mask][n++] = 0x80;
    }
    return t;
}

inline constexpr GatherTable kGatherLanes = make_gather_table();

// Writing four units as UTF-8. Each unit comes as a 32-bit word holding,
// from its lowest byte: the last continuation byte, the middle continuation
// byte, the lead byte of a three-byte form, and the byte that leads a one-
// or two-byte form. Bit i of the key says unit i is below 0x80, bit 4 + i
// that it is below 0x800. The bytes written are 12 minus the key's bits.
struct EncodeTable {
    alignas(16) uint8_t index[256][16];
};

constexpr EncodeTable make_encode_table()
{
    EncodeTable t{};
    for (int key = 0; key < 256; key++) {
        int n = 0;
        for (int unit = 0; unit < 4; unit++) {
            int word = 4 * unit;
            if (key & (1 << unit)) {
                t.index[key][n++] = (uint8_t)(word + 3);
            } else if (key & (16 << unit)) {
                t.index[key][n++] = (uint8_t)(word + 3);
                t.index[key][n++] = (uint8_t)word;
            } else {
                t.index[key][n++] = (uint8_t)(word + 2);
                t.index[key][n++] = (uint8_t)(word + 1);
                t.index[key][n++] = (uint8_t)word;
            }
        }
        while (n < 16)
            t.index[key][n++] = 0x80;
    }
    return t;
}

inline constexpr EncodeTable kEncodeWords = make_encode_table();

} // namespace korv::utf16

#endif

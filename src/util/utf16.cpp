// UTF-8 to UTF-16 and back, in the machine's byte order.
//
// The two directions are deliberately not inverses beyond the Basic
// Multilingual Plane: a surrogate pair read back is combined without adding
// 65536, so such characters do not survive a round trip. Callers rely on the
// exact results, so both directions are kept as they are.
#include <string.h>
#include <kvsup.h>
#include "util/utf16_blocks.h"
#include "util/utf8_codec.h"

using namespace korv::utf8;

namespace {

uint16_t swap_bytes(uint16_t u)
{
    return (uint16_t)((u << 8) | (u >> 8));
}

// Writes one decoded value as one unit, or as a pair from 0x10000 on.
uint16_t *put_unit(uint16_t *o, uint32_t value)
{
    if (value < 0x10000) {
        *o++ = (uint16_t)value;
    } else {
        *o++ = (uint16_t)(0xD800 | ((value - 0x10000) >> 10));
        *o++ = (uint16_t)(0xDC00 | (value & 0x3FF));
    }
    return o;
}

uint64_t load64(const void *p)
{
    uint64_t w;
    memcpy(&w, p, sizeof w);
    return w;
}

} // namespace

// A bad sequence is not an error: it ends the text, and what was converted
// before it is the result. Every byte gives at most one unit (a four-byte
// sequence gives two), so the result is made once, as long as the text.
extern "C" KORV_API uint16_t *KorvUTF8ConvertToUTF16(const char *s)
{
    if (!s)
        return nullptr;
    size_t length = strlen(s);
    if (length >= SIZE_MAX / sizeof(uint16_t))
        return nullptr;
    auto *out = static_cast<uint16_t *>(korv_internal_malloc((length + 1) * sizeof(uint16_t)));
    if (!out)
        return nullptr;
    const auto *p = reinterpret_cast<const unsigned char *>(s);
    const auto *end = p + length;
    uint16_t *o = out;
#if defined(KORV_UTF16_BLOCKS)
    // Blocks while 32 bytes remain (a block reads that far); a block that
    // is declined gives way to one character through the careful decoder.
    while (end - p >= 32) {
        if (widen_ascii(p, o)) {
            p += 16;
            o += 16;
            continue;
        }
        if (size_t n = decode_block(p, o)) {
            p += n;
            continue;
        }
        Decoded d = decode(p, (size_t)(end - p) + 1);
        if (d.length <= 0)
            break;
        p += d.length;
        o = put_unit(o, d.value);
    }
#endif
    for (;;) {
        Decoded d = decode(p, (size_t)(end - p) + 1);
        if (d.length <= 0)
            break;
        p += d.length;
        o = put_unit(o, d.value);
    }
    *o = 0;
    return out;
}

// Byte-order marks are skipped wherever they stand; a swapped mark (0xFFFE)
// turns on byte swapping of every later lead unit. The second unit of a
// pair is taken as it stands. A broken pair fails the whole conversion.
extern "C" KORV_API char *KorvUTF8ConvertFromUTF16(const uint16_t *s)
{
    if (!s)
        return nullptr;
    // The result is made once. No unit writes more than three bytes (a
    // pair writes four for two units); unswapped units are counted exactly.
    // Four more bytes give the block writer room for its last word.
    size_t units, room;
    bool may_swap;
#if defined(KORV_UTF16_BLOCKS)
    measure_utf16(s, &units, &room, &may_swap);
#else
    units = KorvWideStrLen(s);
    room = 3 * units;
    may_swap = true;
#endif
    if (units >= (SIZE_MAX - 4) / 3)
        return nullptr;
    if (may_swap)
        room = 3 * units;
    room += 4;
    auto *out = static_cast<unsigned char *>(korv_internal_malloc(room));
    if (!out)
        return nullptr;
    bool swapping = false;
    const uint16_t *p = s, *end = s + units;
    unsigned char *o = out;
    while (p < end) {
        if (!swapping) {
            // Runs of ASCII four units at a time, then blocks of eight.
            while (end - p >= 4 && (load64(p) & 0xFF80FF80FF80FF80ull) == 0) {
                o[0] = (unsigned char)p[0];
                o[1] = (unsigned char)p[1];
                o[2] = (unsigned char)p[2];
                o[3] = (unsigned char)p[3];
                o += 4;
                p += 4;
            }
#if defined(KORV_UTF16_BLOCKS)
            if (end - p >= 8) {
                if (size_t n = encode_block(p, o)) {
                    o += n;
                    p += 8;
                    continue;
                }
            }
#endif
            if (p == end)
                break;
        }
        uint32_t u = *p++;
        if (swapping)
            u = swap_bytes((uint16_t)u);
        if (u == 0xFEFF)
            continue;
        if (u == 0xFFFE) {
            swapping = true;
            continue;
        }
        if (u - 0xD800 < 0x800) {
            // The unit after a lead surrogate is read even at the end: it
            // is the terminator then, and fails the pair.
            uint16_t second = *p;
            if (u >= 0xDC00 || second < 0xDC00 || second > 0xDFFF) {
                korv_internal_free(out);
                return nullptr;
            }
            p++;
            u = ((u & 0x3FF) << 10) | (second & 0x3FFu);
        }
        o += encode(u, o);
    }
    *o = 0;
    return reinterpret_cast<char *>(out);
}

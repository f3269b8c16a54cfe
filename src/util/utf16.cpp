// UTF-8 to UTF-16 and back, in the machine's byte order.
//
// The two directions are deliberately not inverses beyond the Basic
// Multilingual Plane: a surrogate pair read back is combined without adding
// 65536, so such characters do not survive a round trip. Callers rely on the
// exact results, so both directions are kept as they are.
#include <kvsup.h>
#include "util/utf8_codec.h"
#include <string.h>

using namespace korv::utf8;

namespace {

uint16_t swap_bytes(uint16_t u)
{
    return (uint16_t)((u << 8) | (u >> 8));
}

} // namespace

// Writes one decoded value as one unit, or as a pair from 0x10000 on.
inline uint16_t *put_unit(uint16_t *o, uint32_t value)
{
    if (value < 0x10000) {
        *o++ = (uint16_t)value;
    } else {
        *o++ = (uint16_t)(0xD800 | ((value - 0x10000) >> 10));
        *o++ = (uint16_t)(0xDC00 | (value & 0x3FF));
    }
    return o;
}

inline uint64_t load64(const void *p)
{
    uint64_t w;
    memcpy(&w, p, sizeof w);
    return w;
}

const uint64_t kHighBits = 0x8080808080808080ull;

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
    // Sixty-four bytes at a time while sixty-eight remain. A window of
    // ASCII is widened as it is; otherwise the characters are found from the
    // window's lead bytes (those that are not 10xxxxxx), so that finding the
    // next character never waits for the decoding of the one before. A
    // character that is not where the previous one ended, or that does not
    // decode, leaves the rest to the careful decoder below.
    while (end - p >= 68) {
        uint64_t high = 0, leads = 0;
        for (int k = 0; k < 8; k++) {
            uint64_t w = load64(p + 8 * k);
            high |= w & kHighBits;
            uint64_t lead = ~(w & ~(w << 1)) & kHighBits;
            // One bit per byte: bit 8i+7 of lead becomes bit i.
            leads |= (((lead >> 7) * 0x0102040810204080ull) >> 56) << (8 * k);
        }
        if (high == 0) {
            for (int i = 0; i < 64; i++)
                o[i] = p[i];
            o += 64;
            p += 64;
            continue;
        }
        const unsigned char *next = p;
        bool bad = false;
        while (leads) {
            const unsigned char *q = p + __builtin_ctzll(leads);
            leads &= leads - 1;
            uint32_t value;
            int n = decode4(q, value);
            if (q != next || n == 0) {
                bad = true;
                break;
            }
            next = q + n;
            o = put_unit(o, value);
        }
        // A window without a lead byte is a run of stray continuation bytes.
        if (bad || next == p) {
            p = next;
            break;
        }
        p = next;
    }
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
    // No unit writes more than three bytes (a pair writes four for two
    // units); four more give the branch-free writer room for a whole word.
    size_t units = KorvWideStrLen(s);
    if (units >= (SIZE_MAX - 4) / 3)
        return nullptr;
    size_t room = 3 * units + 4;
    auto *out = static_cast<unsigned char *>(korv_internal_malloc(room));
    if (!out)
        return nullptr;
    bool swapping = false;
    const uint16_t *p = s, *end = s + units;
    unsigned char *o = out;
    while (p < end) {
        // Runs of ASCII four units at a time, until a mark has switched on
        // swapping.
        if (!swapping) {
            while (end - p >= 4 && (load64(p) & 0xFF80FF80FF80FF80ull) == 0) {
                o[0] = (unsigned char)p[0];
                o[1] = (unsigned char)p[1];
                o[2] = (unsigned char)p[2];
                o[3] = (unsigned char)p[3];
                o += 4;
                p += 4;
            }
            if (p == end)
                break;
        }
        uint32_t u = *p++;
        if (swapping)
            u = swap_bytes((uint16_t)u);
        if ((u - 0xD800) >= 0x800 && u != 0xFEFF && u != 0xFFFE) {
            // One to three bytes, built as one little-endian word.
            uint32_t two = (0xC0 | (u >> 6)) | ((0x80 | (u & 0x3F)) << 8);
            uint32_t three = (0xE0 | (u >> 12)) | ((0x80 | ((u >> 6) & 0x3F)) << 8)
                             | ((0x80 | (u & 0x3F)) << 16);
            uint32_t word = u < 0x80 ? u : u < 0x800 ? two : three;
            o[0] = (unsigned char)word;
            o[1] = (unsigned char)(word >> 8);
            o[2] = (unsigned char)(word >> 16);
            o += 1 + (u >= 0x80) + (u >= 0x800);
            continue;
        }
        if (u == 0xFEFF)
            continue;
        if (u == 0xFFFE) {
            swapping = true;
            continue;
        }
        // The unit after a lead surrogate is read even at the end: it is the
        // terminator then, and fails the pair.
        uint16_t second = *p;
        if (u >= 0xDC00 || second < 0xDC00 || second > 0xDFFF) {
            korv_internal_free(out);
            return nullptr;
        }
        p++;
        o += encode(((u & 0x3FF) << 10) | (second & 0x3FFu), o);
    }
    *o = 0;
    // Give back a result much shorter than its bound.
    size_t used = (size_t)(o - out) + 1;
    if (used < room / 2) {
        if (auto *shrunk = static_cast<unsigned char *>(korv_internal_realloc(out, used)))
            out = shrunk;
    }
    return reinterpret_cast<char *>(out);
}

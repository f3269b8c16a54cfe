// Blocks of sixteen bytes of UTF-8 decoded, and of eight units of UTF-16
// encoded, with SSE2, which every x86-64 machine has. The lanes of a block
// are gathered one at a time: SSE2 has no byte shuffle.
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include "util/utf16_paths.h"
#include "util/whole_reads.h"

#if defined(__SSE2__)

namespace korv::utf16 {
namespace {

__m128i load16(const void *p)
{
    return _mm_loadu_si128(static_cast<const __m128i *>(p));
}

// Lanes of m pick a, the others b.
__m128i select(__m128i m, __m128i a, __m128i b)
{
    return _mm_or_si128(_mm_and_si128(m, a), _mm_andnot_si128(m, b));
}

// Bytes as signed values shifted by 0x80, so that signed compares order
// them as unsigned bytes.
__m128i biased(__m128i x)
{
    return _mm_xor_si128(x, _mm_set1_epi8((char)0x80));
}

__m128i in_range(__m128i biased_x, int low, int high)
{
    return _mm_and_si128(_mm_cmpgt_epi8(biased_x, _mm_set1_epi8((char)((low - 1) ^ 0x80))),
                         _mm_cmplt_epi8(biased_x, _mm_set1_epi8((char)((high + 1) ^ 0x80))));
}

// Sixteen bytes of ASCII widened to units; false when a byte is not ASCII.
bool widen_ascii(const unsigned char *p, uint16_t *o)
{
    __m128i x = load16(p);
    if (_mm_movemask_epi8(x) != 0)
        return false;
    __m128i zero = _mm_setzero_si128();
    _mm_storeu_si128(reinterpret_cast<__m128i *>(o), _mm_unpacklo_epi8(x, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(o + 8), _mm_unpackhi_epi8(x, zero));
    return true;
}

// The values of every position of eight bytes taken as the start of a one-,
// two- or three-byte sequence, chosen by the lead masks.
__m128i values8(__m128i b0, __m128i b1, __m128i b2, __m128i lead2, __m128i lead3)
{
    __m128i low6 = _mm_set1_epi16(0x3F);
    __m128i v2 = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(b0, _mm_set1_epi16(0x1F)), 6),
                              _mm_and_si128(b1, low6));
    __m128i v3 = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(b0, _mm_set1_epi16(0x0F)), 12),
                              _mm_or_si128(_mm_slli_epi16(_mm_and_si128(b1, low6), 6),
                                           _mm_and_si128(b2, low6)));
    return select(lead3, v3, select(lead2, v2, b0));
}

// Decodes the characters that start in the sixteen bytes at p (the last may
// run two bytes past them; eighteen more bytes must be readable). All must
// be valid one- to three-byte sequences. Returns the bytes consumed (16 to
// 18) and moves o past the units written, or 0 to decline the block.
// Up to sixteen units are written at o, whatever the count of characters.
size_t decode_block(const unsigned char *p, uint16_t *&o)
{
    __m128i x0 = load16(p), x1 = load16(p + 1), x2 = load16(p + 2), after = load16(p + 16);
    __m128i s0 = biased(x0);
    __m128i top2 = _mm_set1_epi8((char)0xC0), tag = _mm_set1_epi8((char)0x80);
    __m128i ascii = _mm_cmplt_epi8(s0, _mm_setzero_si128());
    __m128i cont = _mm_cmpeq_epi8(_mm_and_si128(x0, top2), tag);
    __m128i lead2 = in_range(s0, 0xC2, 0xDF);
    __m128i lead3 = in_range(s0, 0xE0, 0xEF);
    unsigned known = (unsigned)_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(ascii, cont),
                                                              _mm_or_si128(lead2, lead3)));
    if (known != 0xFFFF)
        return 0;
    uint32_t m2 = (uint32_t)_mm_movemask_epi8(lead2), m3 = (uint32_t)_mm_movemask_epi8(lead3);
    uint32_t conts = (uint32_t)_mm_movemask_epi8(cont)
                     | (uint32_t)_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(after, top2), tag)) << 16;
    // Continuation bytes exactly where the leads want them; those wanted
    // past the block must be there too.
    uint32_t wanted = (m2 << 1) | (m3 << 1) | (m3 << 2);
    if (((conts ^ wanted) & 0xFFFF) != 0 || (wanted & ~conts) != 0)
        return 0;
    // E0 must be followed by A0 or more, or the value would be overlong.
    __m128i overlong = _mm_and_si128(_mm_cmpeq_epi8(x0, _mm_set1_epi8((char)0xE0)),
                                     _mm_cmplt_epi8(biased(x1), _mm_set1_epi8((char)(0xA0 ^ 0x80))));
    if (_mm_movemask_epi8(overlong) != 0)
        return 0;

    __m128i zero = _mm_setzero_si128();
    uint16_t values[16];
    _mm_storeu_si128(reinterpret_cast<__m128i *>(values),
                     values8(_mm_unpacklo_epi8(x0, zero), _mm_unpacklo_epi8(x1, zero),
                             _mm_unpacklo_epi8(x2, zero), _mm_unpacklo_epi8(lead2, lead2),
                             _mm_unpacklo_epi8(lead3, lead3)));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(values + 8),
                     values8(_mm_unpackhi_epi8(x0, zero), _mm_unpackhi_epi8(x1, zero),
                             _mm_unpackhi_epi8(x2, zero), _mm_unpackhi_epi8(lead2, lead2),
                             _mm_unpackhi_epi8(lead3, lead3)));
    // Keep the values of the lead positions, without a branch per byte.
    uint32_t leads = ~conts & 0xFFFF;
    size_t n = 0;
    for (int i = 0; i < 16; i++) {
        o[n] = values[i];
        n += (leads >> i) & 1;
    }
    o += n;
    return 16 + ((wanted >> 16) & 1) + ((wanted >> 17) & 1);
}

// Encodes eight units at p that are all below 0xD800, or from 0xE000 up to
// 0xFEFE. Returns the bytes written at o (up to 24, but 32 may be
// touched), or 0 to decline the block.
size_t encode_block(const uint16_t *p, unsigned char *o)
{
    __m128i u = load16(p);
    // Unsigned compares of 16-bit lanes through a bias of 0x8000.
    __m128i bias = _mm_set1_epi16((short)0x8000);
    __m128i s = _mm_xor_si128(u, bias);
    auto below = [&](int v) { return _mm_cmplt_epi16(s, _mm_set1_epi16((short)(v ^ 0x8000))); };
    __m128i plain = _mm_or_si128(below(0xD800), _mm_andnot_si128(below(0xE000), below(0xFEFF)));
    if (_mm_movemask_epi8(plain) != 0xFFFF)
        return 0;
    __m128i one = below(0x80), two = _mm_andnot_si128(one, below(0x800));
    // Each unit's bytes in a 32-bit word, first byte lowest.
    __m128i low6 = _mm_set1_epi16(0x3F), tag = _mm_set1_epi16(0x80);
    __m128i last = _mm_or_si128(_mm_and_si128(u, low6), tag);                         // 10xxxxxx
    __m128i mid = _mm_or_si128(_mm_and_si128(_mm_srli_epi16(u, 6), low6), tag);         // 10xxxxxx
    __m128i lead2 = _mm_or_si128(_mm_srli_epi16(u, 6), _mm_set1_epi16(0xC0));           // 110xxxxx
    __m128i lead3 = _mm_or_si128(_mm_srli_epi16(u, 12), _mm_set1_epi16(0xE0));          // 1110xxxx
    // Low half of each word: byte 0 and byte 1; high half: byte 2.
    __m128i first = select(one, u, select(two, lead2, lead3));
    __m128i second = select(two, last, mid);
    __m128i lowhalf = _mm_or_si128(first, _mm_slli_epi16(second, 8));
    __m128i highhalf = _mm_andnot_si128(_mm_or_si128(one, two), last);
    uint32_t words[8];
    _mm_storeu_si128(reinterpret_cast<__m128i *>(words), _mm_unpacklo_epi16(lowhalf, highhalf));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(words + 4), _mm_unpackhi_epi16(lowhalf, highhalf));
    // Lengths 1 to 3: one plus each "not one" and "not two or one" lane.
    uint16_t lengths[8];
    __m128i len = _mm_sub_epi16(_mm_set1_epi16(3), _mm_add_epi16(_mm_and_si128(one, _mm_set1_epi16(2)),
                                                                 _mm_and_si128(two, _mm_set1_epi16(1))));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(lengths), len);
    size_t n = 0;
    for (int i = 0; i < 8; i++) {
        uint32_t w = words[i];
        o[n] = (unsigned char)w;
        o[n + 1] = (unsigned char)(w >> 8);
        o[n + 2] = (unsigned char)(w >> 16);
        n += lengths[i];
    }
    return n;
}

// Measures a NUL-terminated UTF-16 text: its units, and the UTF-8 bytes
// they make unswapped (one, two or three a unit).
// Sets *swapped when a swapped byte-order mark is among them, after which
// the byte count no longer holds. Reads aligned blocks, which never cross
// into another page.
KORV_WHOLE_WORD_READS void measure_sse2(const uint16_t *s, size_t *units, size_t *bytes, bool *swapped)
{
    const uint16_t *p = s;
    size_t total = 0;
    bool mark = false;
    auto one = [&](uint16_t u) {
        total += 1 + (u >= 0x80) + (u >= 0x800);
        mark |= u == 0xFFFE;
    };
    while ((reinterpret_cast<uintptr_t>(p) & 15) != 0 && *p)
        one(*p++);
    if ((reinterpret_cast<uintptr_t>(p) & 15) == 0) {
        __m128i zero = _mm_setzero_si128(), bias = _mm_set1_epi16((short)0x8000);
        __m128i lim1 = _mm_set1_epi16((short)(0x80 ^ 0x8000)), lim2 = _mm_set1_epi16((short)(0x800 ^ 0x8000));
        __m128i swapped_mark = _mm_set1_epi16((short)0xFFFE);
        __m128i extra = zero, marks = zero;
        size_t blocks = 0;
        for (;;) {
            __m128i u = _mm_load_si128(reinterpret_cast<const __m128i *>(p));
            if (_mm_movemask_epi8(_mm_cmpeq_epi16(u, zero)) != 0)
                break;
            __m128i s16 = _mm_xor_si128(u, bias);
            // Each lane adds 0, 1 or 2 extra bytes (compares give -1 when
            // the unit is below the limit).
            __m128i wide = _mm_add_epi16(_mm_add_epi16(_mm_cmplt_epi16(s16, lim1), _mm_cmplt_epi16(s16, lim2)),
                                         _mm_set1_epi16(2));
            extra = _mm_add_epi16(extra, wide);
            marks = _mm_or_si128(marks, _mm_cmpeq_epi16(u, swapped_mark));
            p += 8;
            // Lanes hold at most 2 a block: fold them before they overflow.
            if (++blocks == 8192) {
                uint16_t lanes[8];
                _mm_storeu_si128(reinterpret_cast<__m128i *>(lanes), extra);
                for (uint16_t v : lanes)
                    total += v;
                extra = zero;
                blocks = 0;
            }
            total += 8;
        }
        uint16_t lanes[8];
        _mm_storeu_si128(reinterpret_cast<__m128i *>(lanes), extra);
        for (uint16_t v : lanes)
            total += v;
        mark |= _mm_movemask_epi8(marks) != 0;
        while (*p)
            one(*p++);
    }
    *units = (size_t)(p - s);
    *bytes = total;
    *swapped = mark;
}

const unsigned char *decode_sse2(const unsigned char *p, const unsigned char *end, uint16_t *&o)
{
    // A block reads two bytes past its sixteen, and the sixteen after it
    // are checked for continuation bytes.
    while (end - p >= 32) {
        if (widen_ascii(p, o)) {
            p += 16;
            o += 16;
            continue;
        }
        size_t n = decode_block(p, o);
        if (n == 0)
            break;
        p += n;
    }
    return p;
}

const uint16_t *encode_sse2(const uint16_t *p, const uint16_t *end, unsigned char *&o)
{
    while (end - p >= 8) {
        __m128i u = load16(p);
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(u, _mm_set1_epi16((short)0xFF80)),
                                              _mm_setzero_si128())) == 0xFFFF) {
            _mm_storel_epi64(reinterpret_cast<__m128i *>(o), _mm_packus_epi16(u, u));
            o += 8;
            p += 8;
            continue;
        }
        size_t n = encode_block(p, o);
        if (n == 0)
            break;
        o += n;
        p += 8;
    }
    return p;
}

const Blocks kSse2 = {decode_sse2, encode_sse2, measure_sse2};

} // namespace

const Blocks *sse2_blocks()
{
    return &kSse2;
}

} // namespace korv::utf16

#else

namespace korv::utf16 {

const Blocks *sse2_blocks()
{
    return nullptr;
}

} // namespace korv::utf16

#endif

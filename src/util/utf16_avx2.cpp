// Blocks of thirty-two bytes of UTF-8 decoded, and of sixteen units of
// UTF-16 encoded, with AVX2, on the machines that have it (chosen at run
// time). Each function here is compiled for AVX2 through its own attribute
// and has internal linkage: no AVX2 code may stand in for an inline function
// that machines without AVX2 share.
#include "util/utf16_paths.h"

#if (defined(__x86_64__) || defined(__i386__)) && defined(__GNUC__)
#include <immintrin.h>
#include "util/utf16_tables.h"
#include "util/whole_reads.h"

#define KORV_AVX2 __attribute__((target("avx2,popcnt")))
#define KORV_AVX2_INLINE __attribute__((target("avx2,popcnt"), always_inline)) inline

namespace korv::utf16 {
namespace {

KORV_AVX2_INLINE __m256i set16(int v)
{
    return _mm256_set1_epi16((short)v);
}

KORV_AVX2_INLINE __m128i table_row(const uint8_t *row)
{
    return _mm_load_si128(reinterpret_cast<const __m128i *>(row));
}

// Sixteen bytes from p, each widened to a 16-bit lane.
KORV_AVX2_INLINE __m256i widen(const unsigned char *p)
{
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p)));
}

// The values of the sixteen positions from p, each taken as the lead of a
// one-, two- or three-byte sequence (reads two bytes past the sixteen).
// Positions of continuation bytes get values that are never kept.
KORV_AVX2_INLINE __m256i values(const unsigned char *p)
{
    __m256i b0 = widen(p), b1 = widen(p + 1), b2 = widen(p + 2);
    __m256i low6 = set16(0x3F);
    // The lead's bits above the first continuation's six: the low eleven
    // bits are a two-byte value, and six more bits make a three-byte one
    // (the lead's tag falls off the top of the lane).
    __m256i w = _mm256_or_si256(_mm256_slli_epi16(b0, 6), _mm256_and_si256(b1, low6));
    __m256i v2 = _mm256_and_si256(w, set16(0x7FF));
    __m256i v3 = _mm256_or_si256(_mm256_slli_epi16(w, 6), _mm256_and_si256(b2, low6));
    __m256i lead = _mm256_cmpgt_epi16(b0, set16(0xBF));
    __m256i lead3 = _mm256_cmpgt_epi16(b0, set16(0xDF));
    return _mm256_blendv_epi8(_mm256_blendv_epi8(b0, v2, lead), v3, lead3);
}

// Writes the lanes of v whose bits are set in keep (sixteen bits), in order.
KORV_AVX2_INLINE void put_lanes(__m256i v, uint32_t keep, uint16_t *&o)
{
    uint32_t k0 = keep & 0xFF, k1 = (keep >> 8) & 0xFF;
    __m256i index = _mm256_inserti128_si256(_mm256_castsi128_si256(table_row(kGatherLanes.index[k0])),
                                            table_row(kGatherLanes.index[k1]), 1);
    __m256i packed = _mm256_shuffle_epi8(v, index);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(o), _mm256_castsi256_si128(packed));
    o += __builtin_popcount(k0);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(o), _mm256_extracti128_si256(packed, 1));
    o += __builtin_popcount(k1);
}

// The blocks stand at fixed steps of thirty-two bytes, so that finding the
// next one waits for nothing. A character that runs past a block is written
// with it (its continuation bytes checked first), and the next block knows
// that it starts with those bytes.
KORV_AVX2 const unsigned char *decode_avx2(const unsigned char *p, const unsigned char *end, uint16_t *&out)
{
    uint16_t *o = out;
    // Continuation bytes at the start of the block that belong to the
    // character written with the block before.
    uint32_t carried = 0;
    // A block reads the two bytes after its thirty-two.
    while (end - p >= 34) {
        __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p));
        uint32_t b7 = (uint32_t)_mm256_movemask_epi8(x);
        if (b7 == 0) {
            // Nothing was carried: carried bytes were checked to be
            // continuation bytes, which are not ASCII.
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(o), widen(p));
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(o + 16), widen(p + 16));
            p += 32;
            o += 32;
            continue;
        }
        // Bits 6, 5 and 4 of each byte: a 16-bit shift moves each byte's
        // bits up within the byte, where the mask takes its top bit.
        uint32_t b6 = (uint32_t)_mm256_movemask_epi8(_mm256_slli_epi16(x, 1));
        uint32_t b5 = (uint32_t)_mm256_movemask_epi8(_mm256_slli_epi16(x, 2));
        uint32_t b4 = (uint32_t)_mm256_movemask_epi8(_mm256_slli_epi16(x, 3));
        uint32_t lead = b7 & b6, cont = b7 & ~b6, lead3 = lead & b5 & ~b4;
        // Leads of four bytes or more, and C0 and C1 (always overlong), are
        // for the careful decoder.
        uint32_t c0c1 = (uint32_t)_mm256_movemask_epi8(
            _mm256_cmpeq_epi8(_mm256_and_si256(x, _mm256_set1_epi8((char)0xFE)), _mm256_set1_epi8((char)0xC0)));
        if ((lead & b5 & b4) != 0 || c0c1 != 0)
            break;
        // Continuation bytes exactly where the leads want them, and in the
        // two bytes after the block (next, first byte lowest) where the
        // last leads want them: 10xxxxxx under the top two bits.
        uint64_t wanted = (uint64_t)lead << 1 | (uint64_t)lead3 << 2 | carried;
        uint32_t beyond = (uint32_t)(wanted >> 32);
        uint32_t next = (uint32_t)p[32] | (uint32_t)p[33] << 8;
        uint32_t tops = (beyond & 1) * 0xC0 | (beyond & 2) * 0x6000;
        if (cont != (uint32_t)wanted || ((next ^ 0x8080) & tops) != 0)
            break;
        // E0 must be followed by A0 or more (bit 5 set), or the value would
        // be overlong.
        uint32_t e0 = (uint32_t)_mm256_movemask_epi8(_mm256_cmpeq_epi8(x, _mm256_set1_epi8((char)0xE0)));
        uint32_t after5 = b5 >> 1 | (next << 26 & 0x80000000u);
        if ((e0 & ~after5) != 0)
            break;
        put_lanes(values(p), ~cont & 0xFFFF, o);
        put_lanes(values(p + 16), ~cont >> 16, o);
        carried = beyond;
        p += 32;
    }
    out = o;
    return p + __builtin_popcount(carried);
}

KORV_AVX2 const uint16_t *encode_avx2(const uint16_t *p, const uint16_t *end, unsigned char *&out)
{
    unsigned char *o = out;
    const __m256i zero = _mm256_setzero_si256();
    while (end - p >= 16) {
        __m256i u = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p));
        // Surrogates, and units from 0xFEFF up (a unit plus 0x100 then
        // saturates), are for the careful encoder.
        __m256i odd = _mm256_or_si256(_mm256_cmpeq_epi16(_mm256_and_si256(u, set16(0xF800)), set16(0xD800)),
                                      _mm256_cmpeq_epi16(_mm256_adds_epu16(u, set16(0x100)), set16(0xFFFF)));
        if (!_mm256_testz_si256(odd, odd))
            break;
        __m256i one = _mm256_cmpeq_epi16(_mm256_and_si256(u, set16(0xFF80)), zero);
        __m256i upto2 = _mm256_cmpeq_epi16(_mm256_and_si256(u, set16(0xF800)), zero);
        // Byte g of m is the key of units 4g to 4g + 3 (see the encode
        // table): the packed compares are put in that order first.
        uint32_t m = (uint32_t)_mm256_movemask_epi8(
            _mm256_shuffle_epi32(_mm256_packs_epi16(one, upto2), _MM_SHUFFLE(3, 1, 2, 0)));
        if ((m & 0x0F0F0F0F) == 0x0F0F0F0F) {
            __m256i bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(u, u), 0x08);
            _mm_storeu_si128(reinterpret_cast<__m128i *>(o), _mm256_castsi256_si128(bytes));
            o += 16;
            p += 16;
            // A run of ASCII goes on thirty-two units at a time.
            while (end - p >= 32) {
                __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p));
                __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p + 16));
                if (!_mm256_testz_si256(_mm256_or_si256(a, b), set16(0xFF80)))
                    break;
                _mm256_storeu_si256(reinterpret_cast<__m256i *>(o),
                                    _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), _MM_SHUFFLE(3, 1, 2, 0)));
                o += 32;
                p += 32;
            }
            continue;
        }
        // Each unit's bytes in a word: last and middle continuation bytes,
        // three-byte lead, one- or two-byte lead (see the encode table).
        __m256i conts = _mm256_or_si256(
            _mm256_or_si256(_mm256_and_si256(u, set16(0x3F)), _mm256_and_si256(_mm256_slli_epi16(u, 2), set16(0x3F00))),
            set16(0x8080));
        __m256i lead3 = _mm256_or_si256(_mm256_srli_epi16(u, 12), set16(0xE0));
        __m256i lead12 = _mm256_blendv_epi8(_mm256_or_si256(_mm256_srli_epi16(u, 6), set16(0xC0)), u, one);
        __m256i leads = _mm256_or_si256(lead3, _mm256_slli_epi16(lead12, 8));
        __m256i lo = _mm256_unpacklo_epi16(conts, leads); // units 0-3 and 8-11
        __m256i hi = _mm256_unpackhi_epi16(conts, leads); // units 4-7 and 12-15
        uint32_t k0 = m & 0xFF, k1 = m >> 8 & 0xFF, k2 = m >> 16 & 0xFF, k3 = m >> 24;
        __m256i r0 = _mm256_shuffle_epi8(
            lo, _mm256_inserti128_si256(_mm256_castsi128_si256(table_row(kEncodeWords.index[k0])),
                                        table_row(kEncodeWords.index[k2]), 1));
        __m256i r1 = _mm256_shuffle_epi8(
            hi, _mm256_inserti128_si256(_mm256_castsi128_si256(table_row(kEncodeWords.index[k1])),
                                        table_row(kEncodeWords.index[k3]), 1));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(o), _mm256_castsi256_si128(r0));
        o += 12 - __builtin_popcount(k0);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(o), _mm256_castsi256_si128(r1));
        o += 12 - __builtin_popcount(k1);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(o), _mm256_extracti128_si256(r0, 1));
        o += 12 - __builtin_popcount(k2);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(o), _mm256_extracti128_si256(r1, 1));
        o += 12 - __builtin_popcount(k3);
        p += 16;
    }
    out = o;
    return p;
}

KORV_AVX2_INLINE size_t unit_bytes(uint32_t u)
{
    return 1 + (u >= 0x80) + (u >= 0x800);
}

// Reads aligned blocks, which never cross into another page.
KORV_AVX2 KORV_WHOLE_WORD_READS void measure_avx2(const uint16_t *s, size_t *units, size_t *bytes, bool *swapped)
{
    const uint16_t *p = s;
    size_t total = 0;
    bool mark = false;
    while ((reinterpret_cast<uintptr_t>(p) & 31) != 0 && *p) {
        total += unit_bytes(*p);
        mark |= *p++ == 0xFFFE;
    }
    if ((reinterpret_cast<uintptr_t>(p) & 31) == 0) {
        const __m256i zero = _mm256_setzero_si256();
        __m256i marks = zero;
        for (;;) {
            __m256i u = _mm256_load_si256(reinterpret_cast<const __m256i *>(p));
            __m256i ends = _mm256_cmpeq_epi16(u, zero);
            if (!_mm256_testz_si256(ends, ends))
                break;
            __m256i one = _mm256_cmpeq_epi16(_mm256_and_si256(u, set16(0xFF80)), zero);
            __m256i upto2 = _mm256_cmpeq_epi16(_mm256_and_si256(u, set16(0xF800)), zero);
            // Three bytes a unit, less one for each limit it is below.
            total += 48 - __builtin_popcount((uint32_t)_mm256_movemask_epi8(_mm256_packs_epi16(one, upto2)));
            marks = _mm256_or_si256(marks, _mm256_cmpeq_epi16(u, set16(0xFFFE)));
            p += 16;
        }
        mark |= !_mm256_testz_si256(marks, marks);
        while (*p) {
            total += unit_bytes(*p);
            mark |= *p++ == 0xFFFE;
        }
    }
    *units = (size_t)(p - s);
    *bytes = total;
    *swapped = mark;
}

const Blocks kAvx2 = {decode_avx2, encode_avx2, measure_avx2};

} // namespace

const Blocks *avx2_blocks()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt") ? &kAvx2 : nullptr;
}

} // namespace korv::utf16

#else

namespace korv::utf16 {

const Blocks *avx2_blocks()
{
    return nullptr;
}

} // namespace korv::utf16

#endif

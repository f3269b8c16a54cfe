// The library's own string routines over NUL-terminated byte strings and
// 16-bit wide strings. A null string reads as an empty one; a copy of null
// is null, and a null destination gives null.
#include <string.h>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <kvsup.h>
#include "util/ascii.h"
#include "util/whole_reads.h"

namespace {

const char *text(const char *s)
{
    return s ? s : "";
}

// Differences are taken between signed bytes: bytes of 0x80 and above sort
// below ASCII.
int32_t byte_diff(unsigned char a, unsigned char b)
{
    return (int32_t)(signed char)a - (int32_t)(signed char)b;
}

// True when a read of sixteen bytes at p stays within p's page.
inline bool block_fits(const unsigned char *p)
{
    return (reinterpret_cast<uintptr_t>(p) & 4095) <= 4096 - 16;
}

#if defined(__SSE2__)
// Sixteen bytes through the lower-case table at once.
inline __m128i fold_block(__m128i x)
{
    // Signed compares: bytes of 0x80 and above are negative and never upper.
    __m128i upper = _mm_and_si128(_mm_cmpgt_epi8(x, _mm_set1_epi8('A' - 1)),
                                  _mm_cmplt_epi8(x, _mm_set1_epi8('[' + 1)));
    return _mm_or_si128(x, _mm_and_si128(upper, _mm_set1_epi8(0x20)));
}

// Bit k set when byte k of the blocks differs (after folding) or the first
// block ends there; 0 while both go on alike.
template <bool Folded>
KORV_WHOLE_WORD_READS inline unsigned stop_mask(const unsigned char *p, const unsigned char *q)
{
    __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
    __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i *>(q));
    __m128i fx = Folded ? fold_block(x) : x, fy = Folded ? fold_block(y) : y;
    unsigned equal = (unsigned)_mm_movemask_epi8(_mm_cmpeq_epi8(fx, fy));
    unsigned ends = (unsigned)_mm_movemask_epi8(_mm_cmpeq_epi8(x, _mm_setzero_si128()));
    return (~equal & 0xFFFF) | ends;
}
#endif

// Compares a block at a time while the blocks stay within their pages; in
// the block where the strings differ or the first one ends, the first such
// byte is found from the block's mask. Whatever is left goes byte by byte.
template <bool Folded, typename Fold>
KORV_WHOLE_WORD_READS int32_t compare(const char *a, const char *b, size_t n, Fold fold)
{
    const auto *p = reinterpret_cast<const unsigned char *>(text(a));
    const auto *q = reinterpret_cast<const unsigned char *>(text(b));
    size_t i = 0;
#if defined(__SSE2__)
    while (n - i >= 16 && block_fits(p + i) && block_fits(q + i)) {
        if (unsigned stop = stop_mask<Folded>(p + i, q + i)) {
            i += (size_t)__builtin_ctz(stop);
            return byte_diff(fold(p[i]), fold(q[i]));
        }
        i += 16;
    }
#endif
    for (; i < n; i++) {
        unsigned char x = fold(p[i]), y = fold(q[i]);
        if (x != y || x == 0)
            return byte_diff(x, y);
    }
    return 0;
}

unsigned char same(unsigned char c)
{
    return c;
}

unsigned char folded(unsigned char c)
{
    return korv::ascii::lower(c);
}

} // namespace

extern "C" KORV_API size_t KorvStrLen(const char *s)
{
    return s ? strlen(s) : 0;
}

extern "C" KORV_API size_t KorvStrNLen(const char *s, size_t n)
{
    if (!s)
        return 0;
    const void *nul = memchr(s, 0, n);
    return nul ? (size_t)(static_cast<const char *>(nul) - s) : n;
}

// Four units at a time from the first eight-byte boundary. An aligned word
// never crosses into another page, so reading the units after the
// terminator within it is harmless.
extern "C" KORV_API KORV_WHOLE_WORD_READS size_t KorvWideStrLen(const uint16_t *s)
{
    if (!s)
        return 0;
    const uint16_t *p = s;
    while ((reinterpret_cast<uintptr_t>(p) & 7) != 0) {
        if (*p == 0)
            return (size_t)(p - s);
        p++;
    }
    const uint64_t ones = 0x0001000100010001ull, highs = 0x8000800080008000ull;
    for (;;) {
        uint64_t w = *reinterpret_cast<const uint64_t *>(p);
        if (((w - ones) & ~w & highs) != 0)
            break;
        p += 4;
    }
    while (*p)
        p++;
    return (size_t)(p - s);
}

namespace {

char *dup_bytes(KorvSmallHeap *heap, const char *s, size_t length)
{
    if (length == SIZE_MAX)
        return nullptr;
    auto *copy = static_cast<char *>(korv_internal_sh_malloc(heap, length + 1));
    if (!copy)
        return nullptr;
    memcpy(copy, s, length);
    copy[length] = 0;
    return copy;
}

} // namespace

extern "C" KORV_API char *KorvShStrNDup(KorvSmallHeap *heap, const char *s, size_t n)
{
    return s ? dup_bytes(heap, s, KorvStrNLen(s, n)) : nullptr;
}

extern "C" KORV_API char *KorvShStrDup(KorvSmallHeap *heap, const char *s)
{
    return s ? dup_bytes(heap, s, strlen(s)) : nullptr;
}

extern "C" KORV_API char *KorvStrDup(const char *s)
{
    return KorvShStrDup(nullptr, s);
}

extern "C" KORV_API char *KorvStrNDup(const char *s, size_t n)
{
    return KorvShStrNDup(nullptr, s, n);
}

extern "C" KORV_API char *KorvStrCpy(char *dest, const char *src)
{
    if (!dest)
        return nullptr;
    src = text(src);
    memmove(dest, src, strlen(src) + 1);
    return dest;
}

extern "C" KORV_API char *KorvStrNCpy(char *dest, const char *src, size_t n)
{
    if (!dest)
        return nullptr;
    size_t length = KorvStrNLen(text(src), n);
    memmove(dest, text(src), length);
    if (length < n)
        dest[length] = 0;
    return dest;
}

extern "C" KORV_API char *KorvStrCat(char *dest, const char *src)
{
    if (!dest)
        return nullptr;
    KorvStrCpy(dest + strlen(dest), src);
    return dest;
}

extern "C" KORV_API char *KorvStrNCat(char *dest, const char *src, size_t n)
{
    if (!dest)
        return nullptr;
    char *end = dest + strlen(dest);
    size_t length = KorvStrNLen(text(src), n);
    memmove(end, text(src), length);
    end[length] = 0;
    return dest;
}

extern "C" KORV_API int32_t KorvStrCmp(const char *a, const char *b)
{
    return compare<false>(a, b, SIZE_MAX, same);
}

extern "C" KORV_API int32_t KorvStrNCmp(const char *a, const char *b, size_t n)
{
    return compare<false>(a, b, n, same);
}

extern "C" KORV_API int32_t KorvStrCaseCmp(const char *a, const char *b)
{
    return compare<true>(a, b, SIZE_MAX, folded);
}

extern "C" KORV_API int32_t KorvStrNCaseCmp(const char *a, const char *b, size_t n)
{
    return compare<true>(a, b, n, folded);
}

extern "C" KORV_API char *KorvStrChr(const char *s, int32_t c)
{
    if (!s || (char)c == 0)
        return nullptr;
    return const_cast<char *>(strchr(s, (char)c));
}

extern "C" KORV_API char *KorvStrRChr(const char *s, int32_t c)
{
    if (!s || (char)c == 0)
        return nullptr;
    return const_cast<char *>(strrchr(s, (char)c));
}

extern "C" KORV_API uint16_t *KorvWideStrChr(const uint16_t *s, uint16_t c)
{
    if (!s || c == 0)
        return nullptr;
    for (; *s; s++)
        if (*s == c)
            return const_cast<uint16_t *>(s);
    return nullptr;
}

extern "C" KORV_API uint16_t *KorvWideStrRChr(const uint16_t *s, uint16_t c)
{
    if (!s || c == 0)
        return nullptr;
    const uint16_t *found = nullptr;
    for (; *s; s++)
        if (*s == c)
            found = s;
    return const_cast<uint16_t *>(found);
}

extern "C" KORV_API char *KorvStrStr(const char *haystack, const char *needle)
{
    if (!haystack || !*haystack)
        return nullptr;
    return const_cast<char *>(strstr(haystack, text(needle)));
}

extern "C" KORV_API char *KorvStrRStr(const char *haystack, const char *needle)
{
    if (!haystack)
        return nullptr;
    size_t hl = strlen(haystack), nl = strlen(text(needle));
    if (nl > hl)
        return nullptr;
    if (nl == 0)
        return const_cast<char *>(haystack + hl);
    for (const char *p = haystack + (hl - nl);; p--) {
        if (memcmp(p, needle, nl) == 0)
            return const_cast<char *>(p);
        if (p == haystack)
            return nullptr;
    }
}

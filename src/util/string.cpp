// The library's own string routines over NUL-terminated byte strings and
// 16-bit wide strings. A null string reads as an empty one; a copy of null
// is null, and a null destination gives null.
#include <string.h>
#include <kvsup.h>
#include "util/ascii.h"

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

template <typename Fold>
int32_t compare(const char *a, const char *b, size_t n, Fold fold)
{
    const auto *p = reinterpret_cast<const unsigned char *>(text(a));
    const auto *q = reinterpret_cast<const unsigned char *>(text(b));
    for (size_t i = 0; i < n; i++) {
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
// terminator within it is harmless; the address checker is told so.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KORV_WHOLE_WORD_READS __attribute__((no_sanitize("address")))
#endif
#endif
#if !defined(KORV_WHOLE_WORD_READS) && defined(__SANITIZE_ADDRESS__)
#define KORV_WHOLE_WORD_READS __attribute__((no_sanitize("address")))
#endif
#ifndef KORV_WHOLE_WORD_READS
#define KORV_WHOLE_WORD_READS
#endif

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
    return compare(a, b, SIZE_MAX, same);
}

extern "C" KORV_API int32_t KorvStrNCmp(const char *a, const char *b, size_t n)
{
    return compare(a, b, n, same);
}

extern "C" KORV_API int32_t KorvStrCaseCmp(const char *a, const char *b)
{
    return compare(a, b, SIZE_MAX, folded);
}

extern "C" KORV_API int32_t KorvStrNCaseCmp(const char *a, const char *b, size_t n)
{
    return compare(a, b, n, folded);
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

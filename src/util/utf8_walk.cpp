// Character-level walks over UTF-8 strings. A walk ends at the terminator
// or at the first bad sequence, whichever comes first.
#include <stdint.h>
#include <kvsup.h>
#include "util/utf8_codec.h"

using korv::utf8::decode;
using korv::utf8::Decoded;

namespace {

const unsigned char *bytes(const char *s)
{
    return reinterpret_cast<const unsigned char *>(s);
}

const size_t kUnlimited = SIZE_MAX;

} // namespace

extern "C" KORV_API uint32_t KorvUTF8NextChar(const char **position, size_t *remaining,
                                              int32_t *error)
{
    if (!position || !*position) {
        if (error)
            *error = 1;
        return 0;
    }
    Decoded d = decode(bytes(*position), remaining ? *remaining : kUnlimited);
    if (d.length < 0) {
        if (error)
            *error = 1;
        return 0;
    }
    *position += d.length;
    if (remaining)
        *remaining -= (size_t)d.length;
    return d.value;
}

extern "C" KORV_API int32_t KorvUTF8NextCharLen(const char *position)
{
    return position ? decode(bytes(position), kUnlimited).length : -1;
}

extern "C" KORV_API uint32_t KorvUTF8IsNextCharValid(const char *position)
{
    return position && decode(bytes(position), kUnlimited).length >= 0;
}

extern "C" KORV_API char *KorvUTF8Inc(const char *position)
{
    if (!position)
        return nullptr;
    int length = decode(bytes(position), kUnlimited).length;
    // A bad sequence is stepped over one byte at a time, so that a walk
    // always moves on.
    return const_cast<char *>(position + (length < 0 ? 1 : length));
}

extern "C" KORV_API int32_t KorvUTF8StrNLen(const char *s, size_t limit)
{
    if (!s)
        return -1;
    const unsigned char *p = bytes(s);
    // The count stops at the largest value it can hold.
    int32_t count = 0;
    while (limit > 0 && count < INT32_MAX) {
        Decoded d = decode(p, limit);
        if (d.length <= 0)
            break;
        p += d.length;
        limit -= (size_t)d.length;
        count++;
    }
    return count;
}

extern "C" KORV_API int32_t KorvUTF8StrLen(const char *s)
{
    return KorvUTF8StrNLen(s, kUnlimited);
}

extern "C" KORV_API char *KorvUTF8StrChr(const char *s, uint32_t c)
{
    if (!s || c == 0)
        return nullptr;
    const unsigned char *p = bytes(s);
    for (Decoded d; (d = decode(p, kUnlimited)).length > 0; p += d.length)
        if (d.value == c)
            return const_cast<char *>(reinterpret_cast<const char *>(p));
    return nullptr;
}

extern "C" KORV_API char *KorvUTF8StrRChr(const char *s, uint32_t c)
{
    if (!s || c == 0)
        return nullptr;
    const unsigned char *p = bytes(s), *found = nullptr;
    for (Decoded d; (d = decode(p, kUnlimited)).length > 0; p += d.length)
        if (d.value == c)
            found = p;
    return const_cast<char *>(reinterpret_cast<const char *>(found));
}

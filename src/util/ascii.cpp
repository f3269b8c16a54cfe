// ASCII classification and case mapping of single bytes. Values outside
// 0..255 (a sign-extended byte, for instance) belong to no class and map to
// themselves.
#include <kvsup.h>
#include "util/ascii.h"

using korv::ascii::kTables;

namespace {

bool in_byte_range(int32_t c)
{
    return c >= 0 && c < 256;
}

uint32_t has_class(int32_t c, uint8_t k)
{
    return in_byte_range(c) && (kTables.cls[c] & k) ? 1u : 0u;
}

} // namespace

extern "C" KORV_API int32_t KorvAsciiToUpper(int32_t c)
{
    return in_byte_range(c) ? kTables.upper[c] : c;
}

extern "C" KORV_API int32_t KorvAsciiToLower(int32_t c)
{
    return in_byte_range(c) ? kTables.lower[c] : c;
}

extern "C" KORV_API uint32_t KorvIsAsciiPrint(int32_t c)
{
    return c >= 32 && c < 127;
}

extern "C" KORV_API uint32_t KorvIsAsciiChar(int32_t c)
{
    return (c & 0x80) == 0;
}

extern "C" KORV_API uint32_t KorvIsAsciiSpace(int32_t c)
{
    return has_class(c, korv::ascii::kSpace);
}

extern "C" KORV_API uint32_t KorvIsAsciiAlpha(int32_t c)
{
    return has_class(c, korv::ascii::kAlpha);
}

extern "C" KORV_API uint32_t KorvIsAsciiDigit(int32_t c)
{
    return has_class(c, korv::ascii::kDigit);
}

extern "C" KORV_API uint32_t KorvIsAsciiHexDigit(int32_t c)
{
    return has_class(c, korv::ascii::kHex);
}

// Conversions between UTF-8 and named encodings, and the process-wide
// file-name encoding. Code pages go through UTF-16 and the platform's
// converter, so they share the UTF-16 conversions' rules (a bad UTF-8
// sequence ends the text).
#include <string.h>
#include <kvsup.h>
#include "util/codepage.h"

using korv::codepage::Encoding;
using korv::codepage::Kind;

namespace {

bool same_name(const char *a, const char *b)
{
    return KorvStrCaseCmp(a, b) == 0;
}

// The file-name encoding, read without a lock. Empty means UTF-8.
char g_filename_encoding[16];

} // namespace

Encoding korv::codepage::parse(const char *name)
{
    if (!name || same_name(name, "utf8") || same_name(name, "utf-8"))
        return {Kind::Utf8, 0};
    if (same_name(name, "ACP"))
        return {Kind::Ansi, 0};
    if (same_name(name, "OEMCP"))
        return {Kind::Oem, 0};
    if (KorvStrNCaseCmp(name, "CP", 2) != 0 || !name[2])
        return {Kind::Unknown, 0};
    // Code pages are 16-bit numbers; 0 to 3 are the platform's aliases for
    // the current pages, not pages of their own.
    uint32_t number = 0;
    for (const char *p = name + 2; *p; p++) {
        if (!KorvIsAsciiDigit(*p) || number > 6553)
            return {Kind::Unknown, 0};
        number = number * 10 + (uint32_t)(*p - '0');
    }
    if (number < 4 || number > 65535)
        return {Kind::Unknown, 0};
    return {Kind::Numbered, number};
}

extern "C" KORV_API char *KorvUTF8ConvertTo(const char *s, const char *encoding, int32_t *length)
{
    if (length)
        *length = 0;
    if (!s)
        return nullptr;
    Encoding e = korv::codepage::parse(encoding);
    if (e.kind == Kind::Unknown)
        return nullptr;
    if (e.kind == Kind::Utf8) {
        // A text longer than the length can say is refused, not truncated.
        size_t n = strlen(s);
        if (n > (size_t)INT32_MAX)
            return nullptr;
        char *copy = KorvStrNDup(s, n);
        if (copy && length)
            *length = (int32_t)n;
        return copy;
    }
    uint16_t *wide = KorvUTF8ConvertToUTF16(s);
    if (!wide)
        return nullptr;
    int32_t n = 0;
    char *result = korv::codepage::from_utf16(e, wide, &n);
    korv_internal_free(wide);
    if (result && length)
        *length = n;
    return result;
}

extern "C" KORV_API char *KorvUTF8ConvertFrom(const char *s, int32_t length, const char *encoding)
{
    if (!s)
        return nullptr;
    Encoding e = korv::codepage::parse(encoding);
    if (e.kind == Kind::Unknown)
        return nullptr;
    if (e.kind == Kind::Utf8)
        return length > 0 ? KorvStrNDup(s, (size_t)length) : KorvStrDup(s);
    uint16_t *wide = korv::codepage::to_utf16(e, s, length > 0 ? length : -1);
    if (!wide)
        return nullptr;
    char *result = KorvUTF8ConvertFromUTF16(wide);
    korv_internal_free(wide);
    return result;
}

extern "C" KORV_API uint32_t KorvUTF8SetFilenameEncoding(const char *encoding)
{
    Encoding e = korv::codepage::parse(encoding);
    if (e.kind == Kind::Unknown || (encoding && strlen(encoding) >= sizeof g_filename_encoding))
        return 0;
    if (e.kind == Kind::Utf8)
        g_filename_encoding[0] = 0;
    else
        KorvStrCpy(g_filename_encoding, encoding);
    return 1;
}

extern "C" KORV_API const char *KorvUTF8GetFilenameEncoding(void)
{
    return g_filename_encoding[0] ? g_filename_encoding : nullptr;
}

extern "C" KORV_API char *KorvUTF8ConvertToFilename(const char *s)
{
    return s ? KorvUTF8ConvertTo(s, KorvUTF8GetFilenameEncoding(), nullptr) : nullptr;
}

extern "C" KORV_API char *KorvUTF8ConvertFromFilename(const char *s)
{
    return s ? KorvUTF8ConvertFrom(s, -1, KorvUTF8GetFilenameEncoding()) : nullptr;
}

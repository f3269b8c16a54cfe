// Code pages on Windows through WideCharToMultiByte and MultiByteToWideChar.
// Characters a page cannot hold become its default character; bytes that
// are not valid in a page become U+FFFD.
#include <windows.h>
#include <string.h>
#include <kvsup.h>
#include "util/codepage.h"

namespace korv::codepage {

namespace {

UINT page_of(Encoding encoding)
{
    switch (encoding.kind) {
    case Kind::Ansi: return CP_ACP;
    case Kind::Oem: return CP_OEMCP;
    default: return encoding.number;
    }
}

} // namespace

char *from_utf16(Encoding encoding, const uint16_t *text, int32_t *length)
{
    UINT page = page_of(encoding);
    auto *wide = reinterpret_cast<const wchar_t *>(text);
    int needed = WideCharToMultiByte(page, 0, wide, -1, nullptr, 0, nullptr, nullptr);
    if (needed <= 0)
        return nullptr;
    auto *out = static_cast<char *>(korv_internal_malloc((size_t)needed));
    if (!out)
        return nullptr;
    if (WideCharToMultiByte(page, 0, wide, -1, out, needed, nullptr, nullptr) <= 0) {
        korv_internal_free(out);
        return nullptr;
    }
    *length = needed - 1;
    return out;
}

uint16_t *to_utf16(Encoding encoding, const char *text, int32_t length)
{
    UINT page = page_of(encoding);
    // The system counts in int: a longer text fails.
    size_t whole = strlen(text);
    if (whole >= (size_t)INT32_MAX)
        return nullptr;
    // Room for the whole NUL-terminated text and one more unit, zero-filled,
    // so that a converted prefix is terminated too.
    int needed = MultiByteToWideChar(page, 0, text, -1, nullptr, 0);
    if (needed <= 0)
        return nullptr;
    auto *out = static_cast<wchar_t *>(korv_internal_calloc((size_t)needed + 1, sizeof(wchar_t)));
    if (!out)
        return nullptr;
    int n = length < 0 || (size_t)length > whole ? -1 : length;
    if (n != 0 && MultiByteToWideChar(page, 0, text, n, out, needed) <= 0) {
        korv_internal_free(out);
        return nullptr;
    }
    return reinterpret_cast<uint16_t *>(out);
}

} // namespace korv::codepage

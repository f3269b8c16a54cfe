// Code pages on POSIX through iconv. "ACP" is the codeset of the user's
// locale (the process's global locale is left alone), "OEMCP" is CP437, and
// a numbered page is iconv's "CP<number>", or its usual name for the pages
// iconv knows under another one. Like the Windows converter, a character
// the target cannot hold becomes '?', and a byte that is not valid in the
// source becomes U+FFFD.
#include <errno.h>
#include <iconv.h>
#include <langinfo.h>
#include <locale.h>
#include <string.h>
#include <bit>
#include <kvsup.h>
#include "util/codepage.h"

namespace korv::codepage {

namespace {

const char *const kUtf16 = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

struct Alias {
    uint32_t number;
    const char *name;
};

const Alias kAliases[] = {
    {65001, "UTF-8"},      {20127, "ASCII"},      {28591, "ISO-8859-1"}, {28592, "ISO-8859-2"},
    {28593, "ISO-8859-3"}, {28594, "ISO-8859-4"}, {28595, "ISO-8859-5"}, {28596, "ISO-8859-6"},
    {28597, "ISO-8859-7"}, {28598, "ISO-8859-8"}, {28599, "ISO-8859-9"}, {28603, "ISO-8859-13"},
    {28605, "ISO-8859-15"}, {20866, "KOI8-R"},    {21866, "KOI8-U"},     {54936, "GB18030"},
    {20932, "EUC-JP"},     {51949, "EUC-KR"},     {10000, "MACINTOSH"},
};

// The iconv name of an encoding.
void iconv_name(Encoding encoding, char *name, size_t size)
{
    switch (encoding.kind) {
    case Kind::Ansi: {
        locale_t user = newlocale(LC_CTYPE_MASK, "", (locale_t)0);
        if (!user)
            user = newlocale(LC_CTYPE_MASK, "C", (locale_t)0);
        const char *codeset = user ? nl_langinfo_l(CODESET, user) : "ANSI_X3.4-1968";
        KorvSNPrintf(name, size, "%s", codeset && *codeset ? codeset : "ANSI_X3.4-1968");
        if (user)
            freelocale(user);
        return;
    }
    case Kind::Oem:
        KorvSNPrintf(name, size, "CP437");
        return;
    default:
        for (const Alias &alias : kAliases) {
            if (alias.number == encoding.number) {
                KorvSNPrintf(name, size, "%s", alias.name);
                return;
            }
        }
        KorvSNPrintf(name, size, "CP%u", encoding.number);
    }
}

// An iconv conversion into a growing buffer of bytes.
struct Output {
    char *data = nullptr;
    size_t capacity = 0;
    size_t used = 0;

    bool reserve(size_t more)
    {
        if (capacity - used >= more)
            return true;
        size_t want = capacity ? capacity : 64;
        while (want - used < more)
            want *= 2;
        auto *grown = static_cast<char *>(korv_internal_realloc(data, want));
        if (!grown)
            return false;
        data = grown;
        capacity = want;
        return true;
    }
};

// How many input bytes a rejected sequence at `at` takes.
using SkipFn = size_t (*)(const char *at, size_t left);

// Runs iconv over the whole input and flushes its shift state. On a
// sequence the converter rejects, writes the replacement (already in the
// target encoding) and skips the sequence.
bool convert(iconv_t cd, const char *in, size_t in_left, Output &out, const char *replacement,
             size_t replacement_size, SkipFn skip)
{
    auto *src = const_cast<char *>(in);
    bool flushing = false;
    for (;;) {
        if (!out.reserve(in_left * 2 + 16))
            return false;
        char *dst = out.data + out.used;
        size_t dst_left = out.capacity - out.used;
        size_t r = flushing ? iconv(cd, nullptr, nullptr, &dst, &dst_left)
                            : iconv(cd, &src, &in_left, &dst, &dst_left);
        out.used = out.capacity - dst_left;
        if (r != (size_t)-1) {
            if (flushing)
                return true;
            flushing = true;
            continue;
        }
        if (errno == E2BIG) {
            if (!out.reserve(out.capacity - out.used + 64))
                return false;
            continue;
        }
        if (flushing || (errno != EILSEQ && errno != EINVAL))
            return false;
        if (!out.reserve(replacement_size))
            return false;
        memcpy(out.data + out.used, replacement, replacement_size);
        out.used += replacement_size;
        size_t n = skip(src, in_left);
        n = n < in_left ? n : in_left;
        src += n;
        in_left -= n;
    }
}

uint16_t unit_at(const char *at)
{
    uint16_t u;
    memcpy(&u, at, 2);
    return u;
}

// A whole surrogate pair, or one unit.
size_t skip_utf16(const char *at, size_t left)
{
    if (left >= 4 && unit_at(at) >= 0xD800 && unit_at(at) <= 0xDBFF && unit_at(at + 2) >= 0xDC00 &&
        unit_at(at + 2) <= 0xDFFF)
        return 4;
    return 2;
}

size_t skip_byte(const char *, size_t)
{
    return 1;
}

} // namespace

char *from_utf16(Encoding encoding, const uint16_t *text, int32_t *length)
{
    char name[64];
    iconv_name(encoding, name, sizeof name);
    iconv_t cd = iconv_open(name, kUtf16);
    if (cd == (iconv_t)-1)
        return nullptr;
    // The target's own '?' stands for what it cannot hold.
    char question[8] = {'?'};
    size_t question_size = 1;
    {
        const uint16_t mark = '?';
        auto *src = const_cast<char *>(reinterpret_cast<const char *>(&mark));
        size_t src_left = 2, dst_left = sizeof question;
        char *dst = question;
        if (iconv(cd, &src, &src_left, &dst, &dst_left) != (size_t)-1)
            question_size = sizeof question - dst_left;
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
    }
    size_t units = 0;
    while (text[units])
        units++;
    Output out;
    bool ok = convert(cd, reinterpret_cast<const char *>(text), units * 2, out, question,
                      question_size, skip_utf16);
    iconv_close(cd);
    // A result longer than a 32-bit length can say fails.
    if (!ok || out.used > (size_t)INT32_MAX || !out.reserve(1)) {
        korv_internal_free(out.data);
        return nullptr;
    }
    out.data[out.used] = 0;
    *length = (int32_t)out.used;
    return out.data;
}

uint16_t *to_utf16(Encoding encoding, const char *text, int32_t length)
{
    char name[64];
    iconv_name(encoding, name, sizeof name);
    iconv_t cd = iconv_open(kUtf16, name);
    if (cd == (iconv_t)-1)
        return nullptr;
    size_t whole = strlen(text);
    size_t n = length < 0 || (size_t)length > whole ? whole : (size_t)length;
    const uint16_t replacement = 0xFFFD;
    Output out;
    bool ok = convert(cd, text, n, out, reinterpret_cast<const char *>(&replacement), 2, skip_byte);
    iconv_close(cd);
    if (!ok || !out.reserve(2)) {
        korv_internal_free(out.data);
        return nullptr;
    }
    memset(out.data + out.used, 0, 2);
    return reinterpret_cast<uint16_t *>(out.data);
}

} // namespace korv::codepage

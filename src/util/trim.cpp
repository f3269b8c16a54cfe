// Trimming whitespace in place, and the test that tells inline numeric data
// from a file name.
#include <string.h>
#include <kvsup.h>
#include "util/ascii.h"

using korv::ascii::is_alpha;
using korv::ascii::is_digit;
using korv::ascii::is_space;

extern "C" KORV_API char *KorvStripLeadingSpaces(char *s)
{
    if (!s)
        return nullptr;
    size_t skip = 0;
    while (is_space((unsigned char)s[skip]))
        skip++;
    if (skip)
        memmove(s, s + skip, strlen(s + skip) + 1);
    return s;
}

extern "C" KORV_API char *KorvStripTrailingSpaces(char *s)
{
    if (!s)
        return nullptr;
    size_t n = strlen(s);
    while (n > 0 && is_space((unsigned char)s[n - 1]))
        s[--n] = 0;
    return s;
}

// A list of numbers written inline ("1 2 3", "1,2") rather than a file name:
// mostly digits, with whitespace or a comma between them. Paths are allowed
// slashes, so a string with any slash needs three quarters of digits.
extern "C" KORV_API uint32_t KorvIsImmediateData(const char *s)
{
    if (!s || !*s || s[0] == '/')
        return 0;
    size_t length = strlen(s);
    if (length > 3 && is_alpha((unsigned char)s[0]) && s[1] == ':' && s[2] == '\\')
        return 0;
    size_t digits = 0, spaces = 0, commas = 0, slashes = 0;
    for (const char *p = s; *p; p++) {
        auto c = (unsigned char)*p;
        digits += is_digit(c);
        spaces += is_space(c);
        commas += c == ',';
        slashes += c == '/' || c == '\\';
    }
    size_t threshold = slashes ? length - length / 4 : length / 4;
    if (spaces)
        return digits >= threshold;
    return commas && digits >= threshold;
}

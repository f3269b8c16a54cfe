// Argument readers of the kvfx functions. Values come through the library's
// argument parser, so any stored type converts; a value the user typed is
// also checked to be a whole number, since the parser's scan would take
// "1.5x" as 1.5.
#include <math.h>
#include <stdlib.h>
#include <string.h>
#include "fx.h"

namespace kvfx {

namespace {

const size_t kNameMax = 64;

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

bool is_hex(char c)
{
    return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool is_separator(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == ',';
}

// The whole word is a decimal real ("-1.5e3", ".5", "2.").
bool whole_real(const char *p)
{
    if (*p == '+' || *p == '-')
        p++;
    bool digits = false;
    while (is_digit(*p)) {
        p++;
        digits = true;
    }
    if (*p == '.') {
        p++;
        while (is_digit(*p)) {
            p++;
            digits = true;
        }
    }
    if (!digits)
        return false;
    if (*p == 'e' || *p == 'E') {
        p++;
        if (*p == '+' || *p == '-')
            p++;
        if (!is_digit(*p))
            return false;
        while (is_digit(*p))
            p++;
    }
    return *p == '\0';
}

// The whole word is an integer as C writes it: decimal, hexadecimal after
// "0x", octal after a leading 0.
bool whole_integer(const char *p)
{
    if (*p == '+' || *p == '-')
        p++;
    if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) {
        p += 2;
        if (!is_hex(*p))
            return false;
        while (is_hex(*p))
            p++;
        return *p == '\0';
    }
    if (!is_digit(*p))
        return false;
    char top = p[0] == '0' ? '7' : '9';
    while (is_digit(*p) && *p <= top)
        p++;
    return *p == '\0';
}

// "name:types" into buf; false when the name is too long to be one of ours.
bool request(char *buf, const char *name, const char *types)
{
    size_t n = strlen(name), t = strlen(types);
    if (n + t + 2 > kNameMax)
        return false;
    memcpy(buf, name, n);
    buf[n] = ':';
    memcpy(buf + n + 1, types, t + 1);
    return true;
}

// One word converted by the parser, as if the user had given it alone.
bool convert_word(const char *name, char *word, double *value)
{
    char stored[kNameMax], wanted[kNameMax];
    if (!request(stored, name, "s") || !request(wanted, name, "d"))
        return false;
    KorvArgWord list[] = {(KorvArgWord)stored, (KorvArgWord)word, KORV_ARG_NULL, KORV_ARG_END};
    return KorvParseArgs(list, wanted, nullptr, value, KORV_ARG_END) == 1;
}

void free_texts(char **texts)
{
    if (!texts)
        return;
    for (char **t = texts; *t; t++)
        korv_internal_free(*t);
    korv_internal_free(texts);
}

} // namespace

uint32_t arg_text(Fx *fx, const KorvArgWord *args, const char *name, char **text)
{
    char req[kNameMax];
    if (!request(req, name, "s"))
        return fail(fx, "argument name '%s' is too long", name);
    int32_t found = 0;
    char *value = nullptr;
    if (!KorvParseArgs(args, req, &found, &value, KORV_ARG_END)) {
        korv_internal_free(value);
        return fail(fx, "argument '%s' cannot be read", name);
    }
    if (!found)
        return 2;
    *text = value;
    return 1;
}

uint32_t arg_reals(Fx *fx, const KorvArgWord *args, const char *name, double *values,
                   uint32_t max, uint32_t *count)
{
    char req[kNameMax];
    if (!request(req, name, "#s"))
        return fail(fx, "argument name '%s' is too long", name);
    int32_t found = 0, n = 0;
    char **texts = nullptr;
    if (!KorvParseArgs(args, req, &found, &n, &texts, KORV_ARG_END)) {
        free_texts(texts);
        return fail(fx, "argument '%s' cannot be read", name);
    }
    if (!found)
        return 2;
    // Every stored value as text, cut into words in place.
    uint32_t words = 0;
    uint32_t result = 1;
    for (int32_t i = 0; i < n && result; i++) {
        char *p = texts[i];
        while (*p && result) {
            while (is_separator(*p))
                p++;
            if (!*p)
                break;
            char *word = p;
            while (*p && !is_separator(*p))
                p++;
            char keep = *p;
            *p = '\0';
            double v = 0;
            if (!whole_real(word) || !convert_word(name, word, &v))
                result = fail(fx, "argument '%s' is not a number: '%s'", name, word);
            else if (!isfinite(v))
                result = fail(fx, "argument '%s' is not a finite number: '%s'", name, word);
            else if (words == max)
                result = fail(fx, "argument '%s' takes at most %u value%s", name, max,
                              max == 1 ? "" : "s");
            else
                values[words++] = v;
            *p = keep;
        }
    }
    free_texts(texts);
    if (result && words == 0)
        result = fail(fx, "argument '%s' has no value", name);
    if (result)
        *count = words;
    return result;
}

uint32_t arg_real(Fx *fx, const KorvArgWord *args, const char *name, double *value)
{
    uint32_t count = 0;
    return arg_reals(fx, args, name, value, 1, &count);
}

uint32_t arg_int(Fx *fx, const KorvArgWord *args, const char *name, int32_t *value)
{
    char *text = nullptr;
    uint32_t r = arg_text(fx, args, name, &text);
    if (r != 1)
        return r;
    // Blanks around the value are not part of it.
    char *p = text;
    while (is_separator(*p))
        p++;
    char *e = p + strlen(p);
    while (e > p && is_separator(e[-1]))
        *--e = '\0';
    int32_t v = 0;
    char stored[kNameMax], wanted[kNameMax];
    request(stored, name, "s");
    request(wanted, name, "i");
    KorvArgWord list[] = {(KorvArgWord)stored, (KorvArgWord)p, KORV_ARG_NULL, KORV_ARG_END};
    // The integer syntax decides; values past 32 bits are refused, not cut.
    bool ok = whole_integer(p) && KorvParseArgs(list, wanted, nullptr, &v, KORV_ARG_END) == 1;
    if (ok)
        ok = strtoll(p, nullptr, 0) == (long long)v;
    if (!ok)
        r = fail(fx, "argument '%s' is not an integer: '%s'", name, p);
    else
        *value = v;
    korv_internal_free(text);
    return r;
}

} // namespace kvfx

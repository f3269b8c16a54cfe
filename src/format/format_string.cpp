// The character and string formatters, with their C escapes and quoting.
#include "format/format_write.h"

namespace korv::fmt {

namespace {

constexpr char hex_digits[] = "0123456789abcdef";

bool plain(unsigned char c)
{
    return c >= 0x20 && c < 0x7f && c != '\\';
}

// Bytes that n bytes of s take once escaped.
uint64_t escaped_length(const unsigned char *s, size_t n)
{
    uint64_t length = 0;
    for (size_t i = 0; i < n; ++i) {
        unsigned char c = s[i];
        length += plain(c) ? 1 : (c == '\\' || (c >= 7 && c <= 13)) ? 2 : 4;
    }
    return length;
}

void put_escaped(Output &out, const unsigned char *s, size_t n)
{
    size_t i = 0;
    while (i < n) {
        size_t run = i;
        while (run < n && plain(s[run]))
            ++run;
        if (run > i)
            out.put(reinterpret_cast<const char *>(s + i), run - i);
        if (run == n)
            break;
        unsigned char c = s[run];
        char escape[4] = {'\\', 0, 0, 0};
        size_t length = 2;
        if (c == '\\') {
            escape[1] = '\\';
        } else if (c >= 7 && c <= 13) {
            escape[1] = "abtnvfr"[c - 7];
        } else {
            escape[1] = 'x';
            escape[2] = hex_digits[c >> 4];
            escape[3] = hex_digits[c & 15];
            length = 4;
        }
        out.put(escape, length);
        i = run + 1;
    }
}

// n bytes of text, escaped with '#', quoted with flag_quote, padded.
void write_text(Output &out, const char *text, size_t n, const Style &style)
{
    const uint32_t f = style.flags;
    const auto *bytes = reinterpret_cast<const unsigned char *>(text);
    const bool escape = f & flag_alt;
    const bool quote = f & flag_quote;
    uint64_t length = (escape ? escaped_length(bytes, n) : n) + (quote ? 2 : 0);
    const uint64_t width = style.width > 0 ? static_cast<uint64_t>(style.width) : 0;
    const uint64_t pad = width > length ? width - length : 0;
    if (!(f & flag_minus))
        out.fill(' ', pad);
    if (quote)
        out.put('"');
    if (escape)
        put_escaped(out, bytes, n);
    else
        out.put(text, n);
    if (quote)
        out.put('"');
    if (f & flag_minus)
        out.fill(' ', pad);
}

} // namespace

void write_char(Output &out, int c, const Style &style)
{
    char byte = static_cast<char>(c);
    write_text(out, &byte, 1, style);
}

void write_string(Output &out, const char *s, const Style &style)
{
    if (!s) {
        Style nil = style;
        nil.flags &= ~flag_alt;
        write_text(out, "(nil)", 5, nil);
        return;
    }
    size_t n;
    if (style.precision >= 0) {
        const void *nul = memchr(s, 0, static_cast<size_t>(style.precision));
        n = nul ? static_cast<size_t>(static_cast<const char *>(nul) - s) : static_cast<size_t>(style.precision);
    } else {
        n = strlen(s);
    }
    write_text(out, s, n, style);
}

} // namespace korv::fmt

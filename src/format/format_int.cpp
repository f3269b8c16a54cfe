// The integer and pointer formatters.
#include "format/format_digits.h"

namespace korv::fmt {

namespace {

constexpr char lower_hex[] = "0123456789abcdef";

} // namespace

void write_int(Output &out, uint64_t value, const Style &style)
{
    IntLayout l;
    layout_int(value, style, style.base, &l);
    char digits[64];
    if (l.ndigits)
        digits_of(l.magnitude, style.base, style.flags & flag_upper, digits + l.ndigits);
    out.fill(' ', l.pad_before);
    if (l.sign)
        out.put(l.sign);
    if (l.prefix_length == 2)
        out.put(l.prefix, 2);
    else if (l.prefix_length == 1)
        out.put(l.prefix[0]);
    out.fill('0', l.zeros);
    out.put(digits, static_cast<size_t>(l.ndigits));
    out.fill(' ', l.pad_after);
}

void write_pointer(Output &out, const void *p, const Style &style)
{
    if (!p) {
        Style nil = style;
        nil.flags &= ~flag_alt;
        nil.precision = -1;
        write_string(out, nullptr, nil);
        return;
    }
    char text[18];
    uint64_t value = reinterpret_cast<uintptr_t>(p);
    text[0] = '0';
    text[1] = 'x';
    for (int i = 17; i >= 2; --i) {
        text[i] = lower_hex[value & 15];
        value >>= 4;
    }
    const uint64_t width = style.width > 0 ? static_cast<uint64_t>(style.width) : 0;
    const uint64_t pad = width > sizeof text ? width - sizeof text : 0;
    if (!(style.flags & flag_minus))
        out.fill(' ', pad);
    out.put(text, sizeof text);
    if (style.flags & flag_minus)
        out.fill(' ', pad);
}

} // namespace korv::fmt

// The output driver: argument fetching and the walk over the format.
#include "format/format_print.h"

#include "format/format_parse.h"
#include "format/format_write.h"

namespace korv::fmt {

namespace {

// The size of an integer argument, in bytes.
int int_size(uint32_t flags)
{
    if (flags & flag_64)
        return 8;
    if (flags & (flag_hh | flag_I8))
        return 1;
    if (flags & (flag_h | flag_I16))
        return 2;
    return 4;
}

// An integer of `size` bytes widened to 64 bits, sign-extended for the
// signed conversions.
uint64_t widen(uint64_t raw, int size, bool is_signed)
{
    switch (size) {
    case 1: return is_signed ? static_cast<uint64_t>(static_cast<int8_t>(raw)) : static_cast<uint8_t>(raw);
    case 2: return is_signed ? static_cast<uint64_t>(static_cast<int16_t>(raw)) : static_cast<uint16_t>(raw);
    case 4: return is_signed ? static_cast<uint64_t>(static_cast<int32_t>(raw)) : static_cast<uint32_t>(raw);
    default: return raw;
    }
}

template <typename T>
T read_as(const void *p)
{
    T value;
    memcpy(&value, p, sizeof value);
    return value;
}

void fetch_from_list(Record &r, va_list &list)
{
    switch (r.type) {
    case arg_int: {
        const int size = int_size(r.flags);
        uint64_t raw = size == 8 ? va_arg(list, uint64_t) : va_arg(list, unsigned int);
        r.value.u = widen(raw, size, r.flags & flag_signed);
        break;
    }
    case arg_star:
        r.value.i = va_arg(list, int);
        break;
    case arg_char:
        r.value.i = va_arg(list, int);
        break;
    case arg_float:
        r.value.d = va_arg(list, double);
        break;
    case arg_string:
    case arg_pointer:
    case arg_count:
    case arg_scanset:
        r.value.p = va_arg(list, const void *);
        break;
    }
}

// A missing array or element reads as zero (a null string or pointer).
void fetch_from_array(Record &r, const void *element)
{
    r.value.u = 0;
    if (!element)
        return;
    switch (r.type) {
    case arg_int: {
        const int size = int_size(r.flags);
        uint64_t raw = size == 8 ? read_as<uint64_t>(element)
                     : size == 4 ? read_as<uint32_t>(element)
                     : size == 2 ? read_as<uint16_t>(element)
                                 : read_as<uint8_t>(element);
        r.value.u = widen(raw, size, r.flags & flag_signed);
        break;
    }
    case arg_star:
        r.value.i = read_as<int32_t>(element);
        break;
    case arg_char:
        r.value.i = read_as<unsigned char>(element);
        break;
    case arg_float:
        r.value.d = (r.flags & flag_h) && !(r.flags & flag_L) ? read_as<float>(element) : read_as<double>(element);
        break;
    case arg_string:
    case arg_pointer:
    case arg_count:
    case arg_scanset:
        r.value.p = read_as<const void *>(element);
        break;
    }
}

// Literal text from p to end: "%%" writes one '%', the rest is copied in runs.
void put_literal(Output &out, const char *p, const char *end)
{
    while (p < end) {
        const char *q = p;
        while (q < end && *q != '%')
            ++q;
        if (q == end) {
            out.put(p, static_cast<size_t>(end - p));
            return;
        }
        out.put(p, static_cast<size_t>(q + 1 - p));
        p = q + 2;
    }
}

// The count of stored characters, through the record's pointer.
void store_count(const Record &r, uint64_t count)
{
    void *target = const_cast<void *>(r.value.p);
    if (!target)
        return;
    switch (int_size(r.flags)) {
    case 8: { int64_t v = static_cast<int64_t>(count); memcpy(target, &v, sizeof v); break; }
    case 2: { int16_t v = static_cast<int16_t>(count); memcpy(target, &v, sizeof v); break; }
    case 1: { int8_t v = static_cast<int8_t>(count); memcpy(target, &v, sizeof v); break; }
    default: { int32_t v = static_cast<int32_t>(count); memcpy(target, &v, sizeof v); break; }
    }
}

// The record with its '*' values applied.
Style resolve(const Parsed &parsed, const Record &r)
{
    Style style{r.flags, r.width > 0 ? r.width : 0, r.precision, r.base, r.conversion};
    if (r.width_star >= 0) {
        int64_t w = static_cast<int32_t>(parsed.records[r.width_star].value.i);
        if (w < 0) {
            style.flags |= flag_minus;
            w = -w;
        }
        style.width = w > 0x7fffffff ? 0x7fffffff : static_cast<int32_t>(w);
    }
    if (r.precision_star >= 0) {
        int32_t p = static_cast<int32_t>(parsed.records[r.precision_star].value.i);
        style.precision = p < 0 ? -1 : p;
    }
    if (r.base_star >= 0) {
        int32_t b = static_cast<int32_t>(parsed.records[r.base_star].value.i);
        style.base = b >= 2 && b <= 36 ? b : 10;
    }
    return style;
}

} // namespace

int print(Output &out, const char *format, Args args)
{
    Parsed parsed;
    int code = parse(format, false, &parsed);
    if (code != parse_ok)
        return code;

    for (int i = 0; i < parsed.count; ++i) {
        Record &r = parsed.records[i];
        if (args.list)
            fetch_from_list(r, *args.list);
        else
            fetch_from_array(r, args.array ? args.array[i] : nullptr);
    }

    const char *p = format;
    for (int i = 0; i < parsed.count; ++i) {
        const Record &r = parsed.records[i];
        if (r.type == arg_star)
            continue;
        put_literal(out, p, r.start);
        p = r.next;
        const Style style = resolve(parsed, r);
        switch (r.type) {
        case arg_int:
            write_int(out, r.value.u, style);
            break;
        case arg_float:
            write_float(out, r.value.d, style);
            break;
        case arg_char:
            write_char(out, static_cast<int>(r.value.i), style);
            break;
        case arg_string:
            write_string(out, static_cast<const char *>(r.value.p), style);
            break;
        case arg_pointer:
            write_pointer(out, r.value.p, style);
            break;
        case arg_count:
            store_count(r, out.stored);
            break;
        case arg_star:
        case arg_scanset:
            break;
        }
    }
    const char *end = p;
    while (*end)
        ++end;
    put_literal(out, p, end);
    return parse_ok;
}

} // namespace korv::fmt

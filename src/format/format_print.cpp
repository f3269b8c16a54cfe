// The output driver: the walk over the format, fetching each argument and
// handing literal text and formatted conversions to the sink.
#include "format/format_print.h"

#include "format/format_args.h"
#include "format/format_parse.h"
#include "format/format_write.h"

namespace korv::fmt {

namespace {

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

// One conversion written with its value.
void write_value(Output &out, const Record &r, const Style &style)
{
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

// The first conversions as check() read them, for print_direct() to take
// without reading them again.
constexpr int kept_directives = 8;

struct Checked {
    int count;
    Directive directives[kept_directives];
};

// Checks a format without '*' conversions: parse_ok, the parser's code, or
// parse_needs_table when a '*' asks for the table of records.
int check(const char *format, Checked *checked)
{
    checked->count = 0;
    if (!format)
        return parse_bad_format;
    int count = 0;
    const char *p = format;
    for (;;) {
        while (*p && *p != '%')
            ++p;
        if (!*p)
            return parse_ok;
        if (p[1] == '%') {
            p += 2;
            continue;
        }
        Directive directive;
        Directive *into = count < kept_directives ? &checked->directives[count] : &directive;
        int code = read_directive(p, false, nullptr, into);
        if (code != parse_ok)
            return code;
        if (++count > max_records)
            return parse_too_many;
        checked->count = count < kept_directives ? count : kept_directives;
        p = into->next;
    }
}

// Formats a checked format without '*' conversions in one walk: each
// conversion is read again, its argument fetched and written at once.
void print_direct(Output &out, const char *format, Args args, const Checked &checked)
{
    int index = 0;
    const char *p = format;
    for (;;) {
        const char *q = p;
        while (*q && *q != '%')
            ++q;
        if (q != p)
            out.put(p, static_cast<size_t>(q - p));
        if (!*q)
            return;
        if (q[1] == '%') {
            out.put('%');
            p = q + 2;
            continue;
        }
        Directive read;
        if (index >= checked.count)
            read_directive(q, false, nullptr, &read);
        const Directive &directive = index < checked.count ? checked.directives[index] : read;
        Record r;
        r.type = directive.type;
        r.flags = directive.flags;
        if (args.list)
            fetch_from_list(r, *args.list);
        else
            fetch_from_array(r, args.array ? args.array[index] : nullptr);
        ++index;
        const Style style{directive.flags, directive.width > 0 ? directive.width : 0, directive.precision, directive.base,
                          directive.conversion};
        write_value(out, r, style);
        p = directive.next;
    }
}

} // namespace

int print(Output &out, const char *format, Args args)
{
    // A format is checked whole before anything is written or fetched, so
    // that a rejected one leaves the sink untouched. Without '*' it is then
    // written in one walk; with one it takes the table of records.
    Checked checked;
    int code = check(format, &checked);
    if (code == parse_ok) {
        print_direct(out, format, args, checked);
        return parse_ok;
    }
    if (code != parse_needs_table)
        return code;

    Parsed parsed;
    code = parse(format, false, &parsed);
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
        write_value(out, r, resolve(parsed, r));
    }
    const char *end = p;
    while (*end)
        ++end;
    put_literal(out, p, end);
    return parse_ok;
}

} // namespace korv::fmt

// The scan driver: literal text, white space, and one field per conversion.
#include "format/scan_driver.h"

#include "format/format_parse.h"
#include "format/scan_fields.h"

namespace korv::scan {

namespace {

using fmt::Record;

enum class Literal { matched, mismatch, bad_format };

// Matches the format text from p up to end (or its NUL) against the input.
// Input that has ended is a plain mismatch whatever the format holds; a
// different character where "%%" or a multi-byte sequence stands is a fault
// of the format.
template <typename Src>
Literal match_literal(Src &s, const char *p, const char *end) {
    while (p != end && *p) {
        const unsigned char c = static_cast<unsigned char>(*p);
        if (is_space(c)) {
            skip_space(s);
            ++p;
            continue;
        }
        if (s.ended()) return Literal::mismatch;
        if (c == '%') {
            // Only "%%" reaches here: the parser turned every other '%' into
            // a record.
            if (s.peek() != '%') return Literal::bad_format;
            s.next();
            p += 2;
        } else if (c >= 0x80) {
            // A UTF-8 sequence must be found byte for byte.
            int length = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1;
            do {
                if (s.ended()) return Literal::mismatch;
                if (s.peek() != static_cast<unsigned char>(*p)) return Literal::bad_format;
                s.next();
                ++p;
            } while (--length > 0 && p != end && (static_cast<unsigned char>(*p) & 0xC0) == 0x80);
        } else {
            if (s.peek() != c) return Literal::mismatch;
            s.next();
            ++p;
        }
    }
    return Literal::matched;
}

// Integers and counts: 64-bit, 8-bit, 16-bit, else 32-bit.
void store_integer(void *dst, uint32_t flags, uint64_t value) {
    if (!dst) return;
    if (flags & fmt::flag_64)
        *static_cast<uint64_t *>(dst) = value;
    else if (flags & (fmt::flag_hh | fmt::flag_I8))
        *static_cast<uint8_t *>(dst) = static_cast<uint8_t>(value);
    else if (flags & (fmt::flag_h | fmt::flag_I16))
        *static_cast<uint16_t *>(dst) = static_cast<uint16_t>(value);
    else
        *static_cast<uint32_t *>(dst) = static_cast<uint32_t>(value);
}

// Reads the field of r and stores it through dst (null: read and drop).
template <typename Src>
bool read_field(Src &s, const Record &r, const char *point, void *dst) {
    const uint32_t flags = r.flags;
    const uint32_t width =
        (flags & fmt::flag_has_width) && r.width > 0 ? static_cast<uint32_t>(r.width) : no_limit;
    switch (r.type) {
    case fmt::arg_int: {
        IntStyle style;
        style.base = r.base;
        style.is_signed = (flags & fmt::flag_signed) != 0;
        style.alt = (flags & fmt::flag_alt) != 0;
        style.detect_base = style.alt && !(flags & fmt::flag_has_base) &&
                           (r.conversion == 'i' || r.conversion == 'u');
        uint64_t value;
        if (!read_integer(s, width, style, &value)) return false;
        store_integer(dst, flags, value);
        return true;
    }
    case fmt::arg_float: {
        const bool single = !(flags & (fmt::flag_l | fmt::flag_L | fmt::flag_64));
        FloatValue value;
        if (!read_float(s, width, point, single, &value)) return false;
        if (dst) {
            if (single)
                *static_cast<float *>(dst) = value.f;
            else
                *static_cast<double *>(dst) = value.d;
        }
        return true;
    }
    case fmt::arg_char:
        return read_chars(s, width == no_limit ? 1 : width, (flags & fmt::flag_alt) != 0,
                          static_cast<char *>(dst));
    case fmt::arg_string:
        return read_string(s, width, (flags & fmt::flag_alt) != 0, static_cast<char *>(dst));
    case fmt::arg_pointer: {
        uint64_t value;
        if (!read_pointer(s, width, &value)) return false;
        if (dst) *static_cast<void **>(dst) = reinterpret_cast<void *>(static_cast<uintptr_t>(value));
        return true;
    }
    case fmt::arg_scanset: {
        ScanSet set;
        build_set(r.set, r.set_length, (flags & fmt::flag_negated) != 0, &set);
        return read_scanset(s, width, set, static_cast<char *>(dst));
    }
    case fmt::arg_count:
        store_integer(dst, flags, s.consumed());
        return true;
    default:
        return false;
    }
}

template <typename Src>
int32_t drive(Src &s, const fmt::Parsed &parsed, const char *format, const char *point,
              Destinations &out) {
    int32_t count = 0;
    const char *p = format;
    for (int i = 0; i < parsed.count; ++i) {
        const Record &r = parsed.records[i];
        Literal lit = match_literal(s, p, r.start);
        if (lit == Literal::bad_format) return result_bad_format;
        if (lit == Literal::mismatch) return count || !s.ended() ? count : result_no_input;
        p = r.next;

        if (r.type != fmt::arg_char && r.type != fmt::arg_scanset && r.type != fmt::arg_count)
            skip_space(s);
        if (s.ended() && r.type != fmt::arg_count) return count ? count : result_no_input;

        const bool assign = !(r.flags & fmt::flag_suppress);
        if (!read_field(s, r, point, assign ? out.next() : nullptr)) return count;
        if (assign && r.type != fmt::arg_count) ++count;
    }
    Literal lit = match_literal(s, p, nullptr);
    if (lit == Literal::bad_format) return result_bad_format;
    return count;
}

const char *decimal_point(const KorvLocale *locale) {
    if (locale && locale->decimalPoint && *locale->decimalPoint) return locale->decimalPoint;
    return ".";
}

} // namespace

int32_t scan_string(const KorvLocale *locale, const char *string, const char *format,
                    Destinations &out) {
    if (!format) return result_bad_format;
    if (!*format) return 0;
    fmt::Parsed parsed;
    if (fmt::parse(format, true, &parsed) != fmt::parse_ok) return result_bad_format;
    StringSource s(string);
    return drive(s, parsed, format, decimal_point(locale), out);
}

int32_t scan_stream(const KorvLocale *locale, KorvIO *io, const char *format,
                    Destinations &out) {
    if (!format) return result_bad_format;
    if (!*format) return 0;
    fmt::Parsed parsed;
    if (fmt::parse(format, true, &parsed) != fmt::parse_ok) return result_bad_format;
    StreamSource s(io);
    int32_t result = drive(s, parsed, format, decimal_point(locale), out);
    return s.error() ? read_failed : result;
}

} // namespace korv::scan

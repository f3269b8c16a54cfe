// Field readers for integers, floating values and pointers.
#include "format/scan_fields.h"

#include <charconv>
#include <limits>
#include <string_view>
#include <string.h>

namespace korv::scan {

namespace {

// The value of c as a digit of any base up to 36, or 99.
inline int digit_value(int c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'z') return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    return 99;
}

inline bool is_alpha(int c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

inline int lower(int c) {
    return (c >= 'A' && c <= 'Z') ? c + ('a' - 'A') : c;
}

// Reads the letters of INF, INFINITE or NAN; the first letter is current.
template <typename S>
bool read_word(S &s, uint32_t &n, uint32_t limit, bool negative, bool single,
               FloatValue *out) {
    char word[9];
    uint32_t length = 0;
    while (n < limit && is_alpha(s.peek())) {
        if (length < sizeof word) word[length] = static_cast<char>(lower(s.peek()));
        ++length;
        s.next();
        ++n;
    }
    std::string_view w(word, length <= sizeof word ? length : 0);
    if (w == "inf" || w == "infinite") {
        if (single)
            out->f = negative ? -std::numeric_limits<float>::infinity()
                              : std::numeric_limits<float>::infinity();
        else
            out->d = negative ? -std::numeric_limits<double>::infinity()
                              : std::numeric_limits<double>::infinity();
        return true;
    }
    if (w == "nan") {
        if (single)
            out->f = std::numeric_limits<float>::quiet_NaN();
        else
            out->d = std::numeric_limits<double>::quiet_NaN();
        return true;
    }
    return false;
}

template <typename T>
T convert(const char *text, uint32_t length, bool hex, bool overflow) {
    T value = 0;
    auto r = std::from_chars(text, text + length, value,
                             hex ? std::chars_format::hex : std::chars_format::general);
    if (r.ec == std::errc::result_out_of_range)
        return overflow ? std::numeric_limits<T>::infinity() : T(0);
    if (r.ec != std::errc()) return T(0);   // "0x" alone, or "0x." : the zero
    return value;
}

} // namespace

template <typename Src>
bool read_integer(Src &src, uint32_t width, const IntStyle &style, uint64_t *value) {
    Cursor<Src> s(src);
    uint32_t n = 0;
    bool negative = false;
    bool any = false;
    int base = style.base;
    if (style.is_signed && n < width && (s.peek() == '+' || s.peek() == '-')) {
        negative = s.peek() == '-';
        s.next();
        ++n;
    }
    if (style.alt && style.detect_base) {
        if (n < width && s.peek() == '0') {
            any = true;
            s.next();
            ++n;
            base = 8;
            if (n < width && (s.peek() == 'x' || s.peek() == 'X')) {
                base = 16;
                s.next();
                ++n;
            } else if (n < width && (s.peek() == 'b' || s.peek() == 'B')) {
                base = 2;
                s.next();
                ++n;
            }
        }
    } else if (style.alt && (base == 2 || base == 8 || base == 16)) {
        if (n >= width || s.peek() != '0') return false;
        any = true;
        s.next();
        ++n;
        if (n < width && ((base == 16 && (s.peek() == 'x' || s.peek() == 'X')) ||
                          (base == 2 && (s.peek() == 'b' || s.peek() == 'B')))) {
            s.next();
            ++n;
        }
    }
    uint64_t u = 0;
    const uint64_t b = static_cast<uint64_t>(base);
    while (n < width) {
        int d = digit_value(s.peek());
        if (d >= base) break;
        u = u * b + static_cast<uint64_t>(d);
        any = true;
        s.next();
        ++n;
    }
    if (!any) return false;
    *value = negative ? 0 - u : u;
    return true;
}

template <typename Src>
bool read_float(Src &src, uint32_t width, const char *point, bool single, FloatValue *out) {
    Cursor<Src> s(src);
    const uint32_t limit = width < max_float_chars ? width : max_float_chars;
    uint32_t n = 0;         // characters consumed
    bool negative = false;
    bool sign = false;
    if (n < limit && (s.peek() == '+' || s.peek() == '-')) {
        negative = s.peek() == '-';
        sign = true;
        s.next();
        ++n;
    }
    if (n < limit && (s.peek() == 'i' || s.peek() == 'I' || (!sign && (s.peek() == 'n' || s.peek() == 'N'))))
        return read_word(s, n, limit, negative, single, out);

    // The text handed to the conversion: mantissa digits, '.', exponent.
    // Every byte of it stands for at least one consumed character.
    char text[max_float_chars + 1];
    uint32_t length = 0;
    bool hex = false;
    bool any = false;           // a mantissa digit (or the 0 of "0x")
    if (n < limit && s.peek() == '0') {
        any = true;
        text[length++] = '0';
        s.next();
        ++n;
        if (n < limit && (s.peek() == 'x' || s.peek() == 'X')) {
            hex = true;
            length = 0;
            s.next();
            ++n;
        }
    }

    // Magnitude estimate, to tell an overflow from an underflow: the digits
    // before the point (leading zeros aside), or minus the zeros after it.
    int64_t magnitude = 0;
    bool significant = false;
    bool seen_point = false;
    const int digit_limit = hex ? 16 : 10;
    const unsigned char *p = reinterpret_cast<const unsigned char *>(point);
    while (n < limit) {
        int c = s.peek();
        if (digit_value(c) < digit_limit) {
            if (c != '0') significant = true;
            if (!seen_point) {
                if (significant) ++magnitude;
            } else if (!significant) {
                --magnitude;
            }
            any = true;
            text[length++] = static_cast<char>(c);
            s.next();
            ++n;
            continue;
        }
        if (seen_point || !p[0] || c != p[0]) break;
        // The locale's decimal point may be several bytes long; a partial
        // match ends the field where it stopped.
        s.next();
        ++n;
        size_t k = 1;
        while (p[k] && n < limit && s.peek() == p[k]) {
            s.next();
            ++n;
            ++k;
        }
        if (p[k]) break;
        seen_point = true;
        text[length++] = '.';
    }
    if (!any) return false;

    int64_t exponent = 0;
    if (n < limit && (hex ? (s.peek() == 'p' || s.peek() == 'P') : (s.peek() == 'e' || s.peek() == 'E'))) {
        text[length++] = hex ? 'p' : 'e';
        s.next();
        ++n;
        bool exponent_negative = false;
        if (n < limit && (s.peek() == '+' || s.peek() == '-')) {
            exponent_negative = s.peek() == '-';
            text[length++] = static_cast<char>(s.peek());
            s.next();
            ++n;
        }
        while (n < limit && s.peek() >= '0' && s.peek() <= '9') {
            if (exponent < 100000000) exponent = exponent * 10 + (s.peek() - '0');
            text[length++] = static_cast<char>(s.peek());
            s.next();
            ++n;
        }
        if (exponent_negative) exponent = -exponent;
    }

    const bool overflow = (hex ? magnitude * 4 : magnitude) + exponent > 0;
    if (single) {
        float f = convert<float>(text, length, hex, overflow);
        out->f = negative ? -f : f;
    } else {
        double d = convert<double>(text, length, hex, overflow);
        out->d = negative ? -d : d;
    }
    return true;
}

template <typename Src>
bool read_pointer(Src &src, uint32_t width, uint64_t *value) {
    Cursor<Src> s(src);
    const uint32_t limit = width < max_pointer_chars ? width : max_pointer_chars;
    uint32_t n = 0;
    if (s.peek() == '(') {
        for (const char *w = "(nil)"; *w; ++w, ++n) {
            if (n >= limit || s.peek() != *w) return false;
            s.next();
        }
        *value = 0;
        return true;
    }
    bool any = false;
    if (n < limit && s.peek() == '0') {
        any = true;
        s.next();
        ++n;
        if (n < limit && (s.peek() == 'x' || s.peek() == 'X')) {
            s.next();
            ++n;
        }
    }
    uint64_t u = 0;
    while (n < limit) {
        int d = digit_value(s.peek());
        if (d >= 16) break;
        u = u * 16 + static_cast<uint64_t>(d);
        any = true;
        s.next();
        ++n;
    }
    if (!any) return false;
    *value = u;
    return true;
}

template bool read_integer(StringSource &, uint32_t, const IntStyle &, uint64_t *);
template bool read_integer(StreamSource &, uint32_t, const IntStyle &, uint64_t *);
template bool read_float(StringSource &, uint32_t, const char *, bool, FloatValue *);
template bool read_float(StreamSource &, uint32_t, const char *, bool, FloatValue *);
template bool read_pointer(StringSource &, uint32_t, uint64_t *);
template bool read_pointer(StreamSource &, uint32_t, uint64_t *);

} // namespace korv::scan

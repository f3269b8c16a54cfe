// Field readers for characters, strings and scan sets.
#include "format/scan_fields.h"

namespace korv::scan {

namespace {

inline int hex_value(int c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

inline void add_member(ScanSet *set, unsigned char c) {
    set->bits[c >> 6] |= uint64_t(1) << (c & 63);
}

// The byte a backslash escape names; the backslash has been consumed and
// the source has not ended.
template <typename S>
[[gnu::noinline]] int read_escape(S &s) {
    int e = s.peek();
    s.next();
    switch (e) {
    case 'a': return 7;
    case 'b': return 8;
    case 't': return 9;
    case 'n': return 10;
    case 'v': return 11;
    case 'f': return 12;
    case 'r': return 13;
    case 'x': {
        int value = 0;
        int digits = 0;
        for (int d; digits < 2 && (d = hex_value(s.peek())) >= 0; ++digits) {
            value = value * 16 + d;
            s.next();
        }
        return digits ? value : 'x';
    }
    default:
        break;
    }
    if (e >= '0' && e <= '7') {
        int value = e - '0';
        for (int digits = 1; digits < 3 && s.peek() >= '0' && s.peek() <= '7'; ++digits) {
            value = value * 8 + (s.peek() - '0');
            s.next();
        }
        return value & 0xFF;
    }
    return e;   // "\\" and any other escaped character stand for themselves
}

// One character, decoding a backslash escape when asked; the source must
// not have ended. The escape works on a copy of the source so that the
// cursor's own address stays inside its reader.
template <typename Src>
inline int read_char(Cursor<Src> &s, bool escapes) {
    int c = s.peek();
    s.next();
    if (escapes && c == '\\' && !s.ended()) {
        Src copy = s;
        c = read_escape(copy);
        static_cast<Src &>(s) = copy;
    }
    return c;
}

} // namespace

template <typename Src>
bool read_chars(Src &src, uint32_t count, bool escapes, char *dst) {
    Cursor<Src> s(src);
    for (uint32_t i = 0; i < count; ++i) {
        if (s.ended()) return false;
        int c = read_char(s, escapes);
        if (dst) dst[i] = static_cast<char>(c);
    }
    return true;
}

template <typename Src>
bool read_string(Src &src, uint32_t width, bool escapes, char *dst) {
    Cursor<Src> s(src);
    uint32_t i = 0;
    while (i < width && !s.ended() && !is_space(s.peek())) {
        int c = read_char(s, escapes);
        if (dst) dst[i] = static_cast<char>(c);
        ++i;
    }
    if (i == 0) return false;
    if (dst) dst[i] = '\0';
    return true;
}

void build_set(const char *members, uint32_t length, bool negated, ScanSet *set) {
    set->bits[0] = set->bits[1] = set->bits[2] = set->bits[3] = 0;
    set->negated = negated;
    const unsigned char *m = reinterpret_cast<const unsigned char *>(members);
    for (uint32_t i = 0; i < length; ++i) {
        if (m[i] == '-' && i > 0 && i + 1 < length && m[i - 1] <= m[i + 1]) {
            for (unsigned c = m[i - 1]; c <= m[i + 1]; ++c) add_member(set, static_cast<unsigned char>(c));
            continue;
        }
        add_member(set, m[i]);
    }
}

template <typename Src>
bool read_scanset(Src &src, uint32_t width, const ScanSet &set, char *dst) {
    Cursor<Src> s(src);
    uint32_t i = 0;
    while (i < width && set.accepts(s.peek())) {
        if (dst) dst[i] = static_cast<char>(s.peek());
        s.next();
        ++i;
    }
    if (i == 0) return false;
    if (dst) dst[i] = '\0';
    return true;
}

template bool read_chars(StringSource &, uint32_t, bool, char *);
template bool read_chars(StreamSource &, uint32_t, bool, char *);
template bool read_string(StringSource &, uint32_t, bool, char *);
template bool read_string(StreamSource &, uint32_t, bool, char *);
template bool read_scanset(StringSource &, uint32_t, const ScanSet &, char *);
template bool read_scanset(StreamSource &, uint32_t, const ScanSet &, char *);

} // namespace korv::scan

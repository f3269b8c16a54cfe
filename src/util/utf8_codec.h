// Decoding and encoding of single UTF-8 sequences, shared by the walks and
// the conversions.
//
// Decoding accepts a lead byte 110xxxxx, 1110xxxx or 11110xxx with one, two
// or three continuation bytes 10xxxxxx, and rejects overlong forms (a value
// below 128, 2048 or 65536 for its length). Four-byte values have no upper
// bound and surrogate code points in three-byte form are accepted.
#ifndef KVSUP_UTIL_UTF8_CODEC_H
#define KVSUP_UTIL_UTF8_CODEC_H

#include <stddef.h>
#include <stdint.h>

namespace korv::utf8 {

struct Decoded {
    uint32_t value;
    int length; // 1 to 4; 0 at the terminator; -1 for a bad sequence
};

// Decodes the sequence at p, of which at most avail bytes may be read (a
// sequence longer than that is bad). Never reads past a NUL byte.
inline Decoded decode(const unsigned char *p, size_t avail)
{
    if (avail == 0)
        return {0, -1};
    unsigned char b = p[0];
    if (b < 0x80)
        return {b, b ? 1 : 0};
    int extra;
    uint32_t value, least;
    if ((b & 0xE0) == 0xC0) {
        extra = 1, value = b & 0x1F, least = 0x80;
    } else if ((b & 0xF0) == 0xE0) {
        extra = 2, value = b & 0x0F, least = 0x800;
    } else if ((b & 0xF8) == 0xF0) {
        extra = 3, value = b & 0x07, least = 0x10000;
    } else {
        return {0, -1};
    }
    if (avail <= (size_t)extra)
        return {0, -1};
    for (int i = 1; i <= extra; i++) {
        if ((p[i] & 0xC0) != 0x80)
            return {0, -1};
        value = (value << 6) | (p[i] & 0x3F);
    }
    if (value < least)
        return {0, -1};
    return {value, extra + 1};
}

// Bytes needed to write value; 0 when it does not fit four bytes.
inline int encoded_length(uint32_t value)
{
    if (value < 0x80)
        return 1;
    if (value < 0x800)
        return 2;
    if (value < 0x10000)
        return 3;
    return value < 0x200000 ? 4 : 0;
}

// Writes value (below 0x200000) and returns the bytes written.
inline int encode(uint32_t value, unsigned char *out)
{
    if (value < 0x80) {
        out[0] = (unsigned char)value;
        return 1;
    }
    if (value < 0x800) {
        out[0] = (unsigned char)(0xC0 | (value >> 6));
        out[1] = (unsigned char)(0x80 | (value & 0x3F));
        return 2;
    }
    if (value < 0x10000) {
        out[0] = (unsigned char)(0xE0 | (value >> 12));
        out[1] = (unsigned char)(0x80 | ((value >> 6) & 0x3F));
        out[2] = (unsigned char)(0x80 | (value & 0x3F));
        return 3;
    }
    out[0] = (unsigned char)(0xF0 | (value >> 18));
    out[1] = (unsigned char)(0x80 | ((value >> 12) & 0x3F));
    out[2] = (unsigned char)(0x80 | ((value >> 6) & 0x3F));
    out[3] = (unsigned char)(0x80 | (value & 0x3F));
    return 4;
}

} // namespace korv::utf8

#endif

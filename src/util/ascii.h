// ASCII classes and case tables shared by the string, tokenizer and trimming
// routines. Bytes of 0x80 and above are ordinary characters: no class, and
// they fold to themselves.
#ifndef KVSUP_UTIL_ASCII_H
#define KVSUP_UTIL_ASCII_H

#include <stdint.h>

namespace korv::ascii {

enum : uint8_t { kSpace = 1, kAlpha = 2, kDigit = 4, kHex = 8 };

struct Tables {
    uint8_t lower[256];
    uint8_t upper[256];
    uint8_t cls[256];
};

constexpr Tables make_tables()
{
    Tables t{};
    for (int c = 0; c < 256; c++) {
        // Each table is one entry wider than the alphabet, at opposite ends:
        // '[' lowers to '{' and '`' uppers to '@'. Callers rely on it.
        t.lower[c] = (uint8_t)(c >= 65 && c <= 91 ? c + 32 : c);
        t.upper[c] = (uint8_t)(c >= 96 && c <= 122 ? c - 32 : c);
        uint8_t k = 0;
        if (c == ' ' || c == '\f' || c == '\n' || c == '\r' || c == '\t' || c == '\v')
            k |= kSpace;
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'))
            k |= kAlpha;
        if (c >= '0' && c <= '9')
            k |= kDigit | kHex;
        if ((c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'))
            k |= kHex;
        t.cls[c] = k;
    }
    return t;
}

inline constexpr Tables kTables = make_tables();

inline uint8_t lower(unsigned char c) { return kTables.lower[c]; }
inline bool is_space(unsigned char c) { return kTables.cls[c] & kSpace; }
inline bool is_alpha(unsigned char c) { return kTables.cls[c] & kAlpha; }
inline bool is_digit(unsigned char c) { return kTables.cls[c] & kDigit; }

} // namespace korv::ascii

#endif

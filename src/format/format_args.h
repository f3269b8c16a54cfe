/*
 * Fetching the argument of a conversion record: from a va_list (one slot
 * per argument; integers narrower than 64 bits take an int's slot) or
 * through an element of an argument array (read with exactly the
 * argument's size).
 */
#ifndef KVSUP_FORMAT_FORMAT_ARGS_H
#define KVSUP_FORMAT_FORMAT_ARGS_H

#include <stdarg.h>
#include <string.h>

#include "format/format_parse.h"

namespace korv::fmt {

// The size of an integer argument, in bytes.
inline int int_size(uint32_t flags)
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
inline uint64_t widen(uint64_t raw, int size, bool is_signed)
{
    switch (size) {
    case 1: return is_signed ? static_cast<uint64_t>(static_cast<int8_t>(raw)) : static_cast<uint8_t>(raw);
    case 2: return is_signed ? static_cast<uint64_t>(static_cast<int16_t>(raw)) : static_cast<uint16_t>(raw);
    case 4: return is_signed ? static_cast<uint64_t>(static_cast<int32_t>(raw)) : static_cast<uint32_t>(raw);
    default: return raw;
    }
}

template <typename T>
inline T read_as(const void *p)
{
    T value;
    memcpy(&value, p, sizeof value);
    return value;
}

inline void fetch_from_list(Record &r, va_list &list)
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
inline void fetch_from_array(Record &r, const void *element)
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

} // namespace korv::fmt

#endif

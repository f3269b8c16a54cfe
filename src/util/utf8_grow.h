// Growth of the result buffers of the UTF conversions: they start at 64
// elements and double when full.
#ifndef KVSUP_UTIL_UTF8_GROW_H
#define KVSUP_UTIL_UTF8_GROW_H

#include <stddef.h>
#include <stdint.h>
#include <kvsup.h>

namespace korv::utf8 {

const size_t kInitialRoom = 64;

template <typename T>
T *start_buffer(size_t &capacity)
{
    capacity = kInitialRoom;
    return static_cast<T *>(korv_internal_malloc(capacity * sizeof(T)));
}

// Doubles the buffer; on failure frees it and returns false.
template <typename T>
bool double_buffer(T *&buffer, size_t &capacity)
{
    T *grown = nullptr;
    if (capacity <= SIZE_MAX / 2 / sizeof(T))
        grown = static_cast<T *>(korv_internal_realloc(buffer, 2 * capacity * sizeof(T)));
    if (!grown) {
        korv_internal_free(buffer);
        buffer = nullptr;
        return false;
    }
    buffer = grown;
    capacity *= 2;
    return true;
}

} // namespace korv::utf8

#endif

/*
 * Private helpers of the image description: ASCII case-insensitive
 * comparisons over string views, the compression vocabulary for callers
 * that hold a word inside a longer text, and the separation count of a
 * header bounded by the room of its arrays.
 */
#ifndef KVSUP_IMAGE_IMAGE_PRIVATE_H
#define KVSUP_IMAGE_IMAGE_PRIVATE_H

#include "kvsup.h"

#include <stdint.h>
#include <string_view>

namespace kvimage {

constexpr char fold(char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + ('a' - 'A')) : c;
}

/* Whole-string equality without regard to ASCII letter case. */
constexpr bool ci_equal(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); i++)
        if (fold(a[i]) != fold(b[i]))
            return false;
    return true;
}

/* The NUL-terminated text begins with name, without regard to case. */
constexpr bool ci_starts_with(const char *text, std::string_view name)
{
    for (size_t i = 0; i < name.size(); i++) {
        if (text[i] == '\0' || fold(text[i]) != fold(name[i]))
            return false;
    }
    return true;
}

/* The compression code of a word, -1 when it names no method. */
int32_t comp_from_word(std::string_view word);

/* Separations of a header: the sum of its image parts, never more than
 * room (the entries its arrays, or a block, hold). */
uint32_t parts_sum(const KorvGenericHeader *header, uint32_t room);

} // namespace kvimage

#endif

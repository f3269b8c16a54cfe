/*
 * Shared by the info-field list operations and their parsers.
 */
#ifndef KVSUP_MODULES_INFOFIELD_INTERNAL_H
#define KVSUP_MODULES_INFOFIELD_INTERNAL_H

#include "kvsup.h"

namespace kvinfo {

/* Bytes of a field: count for 'c', count x 8 for 'f', count x 4 for 'i',
 * 0 for any other type (and for a size beyond 32 bits). */
uint32_t field_size(char type, uint32_t count);

/* Sets each field's offset to the sum of the sizes before it. */
void recompute_offsets(KorvInfoField **list);

/* Appends a new field; its index, or -1 when it could not be added or its
 * size is 0 (it then stays in the list). */
int32_t add_field(KorvInfoField ***list, const char *name, char type, uint32_t count);

} // namespace kvinfo

#endif

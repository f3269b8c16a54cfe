/*
 * Shared by the conversion and the combined read and write calls.
 */
#ifndef KVSUP_HEADER_CONVERT_H
#define KVSUP_HEADER_CONVERT_H

#include "kvsup.h"

namespace kvhdr {

/* Copies the manager's nine entries into the header, in their order. */
void copy_entries(KorvGenericHeader *header, const KVHdrManager *manager);

} // namespace kvhdr

#endif

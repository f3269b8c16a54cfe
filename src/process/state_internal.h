/*
 * Private helpers of the process-state record.
 */
#ifndef KVSUP_PROCESS_STATE_INTERNAL_H
#define KVSUP_PROCESS_STATE_INTERNAL_H

#include <kvsup.h>

namespace korv {

/* Writes header as a binary header in this machine's byte order into buffer
 * (size bytes), or, for a null buffer, returns the size it needs. Returns
 * the size written, -1 when the buffer is too small, 0 on failure. */
int32_t output_bin_header(KorvGenericHeader *header, void *buffer, uint32_t size);

} // namespace korv

#endif

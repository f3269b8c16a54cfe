/*
 * Private helpers of the function descriptor record, shared by its reader
 * and its copy and free operations.
 */
#ifndef KVSUP_MODULES_FUNCDESC_INTERNAL_H
#define KVSUP_MODULES_FUNCDESC_INTERNAL_H

#include <kvsup.h>

namespace korv::fd {

/* Frees every string and array the descriptor holds and sets them to NULL;
 * the record itself and its scalar fields stay. */
void release_fields(KorvFuncDesc *desc);

/* The defaults a descriptor read from a document starts with: no strings or
 * arrays, one input, one output, synchronous, every interleave. */
void set_read_defaults(KorvFuncDesc *desc);

} // namespace korv::fd

#endif

/*
 * The clean-up registry: process-wide caches register a function that frees
 * them. Entries are pushed at the head and run newest first.
 */
#ifndef KVSUP_CORE_CLEANUP_H
#define KVSUP_CORE_CLEANUP_H

#include <stdint.h>

namespace korv {

/* The engine-end walk, run with the master lock held: entries whose `when`
 * is 0 are skipped and kept; the others run. Returns 1 when every one that
 * ran returned 1; otherwise the code that stopped the walk (0 after removing
 * its entry, any other code with its entry kept). */
int32_t cleanup_run_at_end();

} // namespace korv

#endif

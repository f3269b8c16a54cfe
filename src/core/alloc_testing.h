/*
 * Allocation failure injection, present only in the testing build of the
 * library (compiled with KORV_TESTING). Tests use it to make the N-th
 * allocation from now fail, so that failure paths really run.
 */
#ifndef KVSUP_CORE_ALLOC_TESTING_H
#define KVSUP_CORE_ALLOC_TESTING_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Make the n-th allocation from now fail (1 = the next one); 0 disarms.
 * Counts malloc, calloc, realloc and the aligned allocators. */
void korv_testing_fail_alloc(unsigned long n);

/* Number of allocations made since the last call to korv_testing_fail_alloc. */
unsigned long korv_testing_alloc_count(void);

#ifdef __cplusplus
}
#endif

#endif

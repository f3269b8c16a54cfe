// The library's allocation wrappers. Every allocation of the library goes
// through these, so memory handed across the interface is always freed by
// the same heap. They forward to the C runtime unchanged.
//
// The testing build (KORV_TESTING) adds a countdown that makes one chosen
// allocation fail, so tests can walk the failure paths.
#include <kvsup.h>
#include <stdlib.h>

#ifdef KORV_TESTING
#include <atomic>
#include "core/alloc_testing.h"

static std::atomic<unsigned long> g_fail_at{0};
static std::atomic<unsigned long> g_count{0};

extern "C" void korv_testing_fail_alloc(unsigned long n)
{
    g_count = 0;
    g_fail_at = n;
}

extern "C" unsigned long korv_testing_alloc_count(void)
{
    return g_count;
}

// True when this allocation is the one chosen to fail.
static bool injected_failure()
{
    unsigned long n = ++g_count;
    unsigned long at = g_fail_at.load();
    if (at != 0 && n == at) {
        g_fail_at = 0;
        return true;
    }
    return false;
}
#else
static inline bool injected_failure() { return false; }
#endif

extern "C" KORV_API void *korv_internal_malloc(size_t size)
{
    if (injected_failure())
        return nullptr;
    return malloc(size);
}

extern "C" KORV_API void *korv_internal_calloc(size_t count, size_t size)
{
    if (injected_failure())
        return nullptr;
    return calloc(count, size);
}

extern "C" KORV_API void *korv_internal_realloc(void *block, size_t size)
{
    if (injected_failure())
        return nullptr;
    return realloc(block, size);
}

extern "C" KORV_API void korv_internal_free(void *block)
{
    free(block);
}

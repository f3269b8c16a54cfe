// Engine lifecycle: the master lock, the reference count of initialisations,
// the eight global locks taken by key, and the ends that run the clean-up
// registry.
#include <kvsup.h>
#include "core/cleanup.h"
#include "core/engine_internal.h"
#include "core/lock.h"
#include "core/trace.h"

namespace {

const unsigned kGlobalLocks = 8;

// The master lock guards the count and the start and end of the engine. It
// lives from attach to detach.
korv::Lock g_master;
bool g_master_ready = false;
uint32_t g_count = 0;

// The global locks exist from the first init to the last end.
korv::Lock g_locks[kGlobalLocks];
bool g_locks_ready = false;

void create_global_locks()
{
    for (auto &lock : g_locks)
        korv::lock_init(&lock);
    g_locks_ready = true;
}

void destroy_global_locks()
{
    g_locks_ready = false;
    for (auto &lock : g_locks)
        korv::lock_destroy(&lock);
}

// Shared steps of KorvaneEnd and KorvaneAbsoluteEnd. *retry is set when a
// clean-up refused with a code other than 0 or 1.
uint32_t end_once(bool *retry)
{
    *retry = false;
    KorvDebug("Korvane System shutdown.\n");
    korv::lock_enter(&g_master);
    if (g_count == 0) {
        korv::lock_leave(&g_master);
        return 0;
    }
    if (--g_count > 0) {
        korv::lock_leave(&g_master);
        return 1;
    }
    int32_t code = korv::cleanup_run_at_end();
    if (code != 1) {
        // A refused shutdown leaves the engine initialised.
        g_count = 1;
        korv::lock_leave(&g_master);
        *retry = code != 0;
        return (uint32_t)code;
    }
    destroy_global_locks();
    KorvDebug("Korvane System shutdown complete.\n");
    korv::lock_leave(&g_master);
    return 1;
}

} // namespace

namespace korv {

uint32_t global_lock_slot(uint32_t key)
{
    return (key + (key >> 16)) % kGlobalLocks;
}

Lock *global_lock(uint32_t key)
{
    return g_locks_ready ? &g_locks[global_lock_slot(key)] : nullptr;
}

} // namespace korv

void korv_engine_attach(void)
{
    korv::lock_init(&g_master);
    g_master_ready = true;
    KorvaneInit();
}

void korv_engine_detach(void)
{
    KorvaneAbsoluteEnd();
    g_master_ready = false;
    korv::lock_destroy(&g_master);
}

extern "C" KORV_API uint32_t KorvaneInit(void)
{
    KorvDebug("Korvane System initialization\n");
    korv::lock_enter(&g_master);
    if (g_count++ == 0) {
        create_global_locks();
        korv::trace_read_flags();
        KorvDebug("Korvane System initialized.\n");
    }
    korv::lock_leave(&g_master);
    return 1;
}

extern "C" KORV_API uint32_t KorvaneEnd(void)
{
    bool retry;
    return end_once(&retry);
}

extern "C" KORV_API uint32_t KorvaneAbsoluteEnd(void)
{
    // A clean-up that is not done yet is asked again at once, from the
    // registry's head; only 0 or success ends the loop.
    for (;;) {
        bool retry;
        uint32_t result = end_once(&retry);
        if (!retry)
            return result;
    }
}

extern "C" KORV_API uint32_t KorvaneLock(uint32_t key)
{
    korv::Lock *lock = korv::global_lock(key);
    return lock ? korv::lock_enter(lock) : 0;
}

extern "C" KORV_API uint32_t KorvaneUnlock(uint32_t key)
{
    korv::Lock *lock = korv::global_lock(key);
    return lock ? korv::lock_leave(lock) : 0;
}

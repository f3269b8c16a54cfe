// The clean-up registry: registration, the engine-end walk and the walk of
// KorvaneCleanup.
#include <kvsup.h>
#include "core/cleanup.h"
#include "core/engine_internal.h"

namespace {

struct CleanupEntry {
    uint32_t when;
    KorvCleanupFn fn;
    uintptr_t arg;
    CleanupEntry *next;
};

CleanupEntry *g_head = nullptr;

// Enter and leave the registry's lock; before the first init there is none
// and the registry is only touched by the thread that loads the library.
void registry_enter()
{
    if (korv::Lock *lock = korv::cleanup_lock())
        korv::lock_enter(lock);
}

void registry_leave()
{
    if (korv::Lock *lock = korv::cleanup_lock())
        korv::lock_leave(lock);
}

} // namespace

namespace korv {

int32_t cleanup_run_at_end()
{
    CleanupEntry **link = &g_head;
    while (CleanupEntry *entry = *link) {
        if (entry->when == 0) {
            link = &entry->next;
            continue;
        }
        int32_t code = entry->fn(entry->arg);
        if (code != 0 && code != 1)
            return code;
        *link = entry->next;
        korv_internal_free(entry);
        if (code == 0)
            return 0;
    }
    return 1;
}

} // namespace korv

extern "C" KORV_API uint32_t KorvaneRegisterCleanup(uint32_t when, KorvCleanupFn fn, uintptr_t arg)
{
    if (!fn)
        return 0;
    auto *entry = static_cast<CleanupEntry *>(korv_internal_calloc(1, sizeof(CleanupEntry)));
    if (!entry)
        return 0;
    registry_enter();
    entry->when = when;
    entry->fn = fn;
    entry->arg = arg;
    entry->next = g_head;
    g_head = entry;
    registry_leave();
    return 1;
}

extern "C" KORV_API uint32_t KorvaneRegisterCleanupFunc(KorvCleanupFn fn, uintptr_t arg)
{
    return KorvaneRegisterCleanup(0, fn, arg);
}

extern "C" KORV_API uint32_t KorvaneCleanup(void)
{
    registry_enter();
    while (CleanupEntry *entry = g_head) {
        int32_t code = entry->fn(entry->arg);
        if (code == 0 || code == 1) {
            g_head = entry->next;
            korv_internal_free(entry);
        }
        if (code != 1) {
            registry_leave();
            return (uint32_t)code;
        }
    }
    registry_leave();
    return 1;
}

// Engine locks on Windows: critical sections, re-entrant for their owner.
#include <windows.h>
#include <new>
#include "core/lock.h"

namespace korv {

static_assert(sizeof(CRITICAL_SECTION) <= sizeof(Lock::storage), "lock storage too small");

static CRITICAL_SECTION *section_of(Lock *lock)
{
    return reinterpret_cast<CRITICAL_SECTION *>(lock->storage);
}

void lock_init(Lock *lock)
{
    InitializeCriticalSection(new (lock->storage) CRITICAL_SECTION);
}

void lock_destroy(Lock *lock)
{
    DeleteCriticalSection(section_of(lock));
}

uint32_t lock_enter(Lock *lock)
{
    EnterCriticalSection(section_of(lock));
    return 1;
}

uint32_t lock_leave(Lock *lock)
{
    LeaveCriticalSection(section_of(lock));
    return 1;
}

} // namespace korv

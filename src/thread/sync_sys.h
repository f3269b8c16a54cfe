/*
 * The platform half of the synchronisation objects. Each object is an
 * opaque platform handle; the portable half (sync.cpp, conditional.cpp)
 * wraps it in the caller's heap cell and applies the null-object rules.
 *
 * Waits return 1 (acquired or signalled), 2 (timed out) or 0 (failure);
 * KORV_INFINITE waits without limit.
 */
#ifndef KVSUP_THREAD_SYNC_SYS_H
#define KVSUP_THREAD_SYNC_SYS_H

#include <kvsup.h>

// The caller's cells: one pointer holding the platform object.
struct KorvMutex { void *handle; };
struct KorvSemaphore { void *handle; };
struct KorvEvent { void *handle; };

namespace korv::sys {

inline constexpr uint32_t kWaitOk = 1;
inline constexpr uint32_t kWaitTimeout = 2;
inline constexpr uint32_t kWaitFailed = 0;
inline constexpr uint32_t kSemaphoreMax = 65535;
inline constexpr uint32_t kMaxWaitObjects = 64;

// A mutex is re-entrant for its owner; unlock by another thread fails.
void *mutex_create();
bool mutex_close(void *m);
uint32_t mutex_wait(void *m, uint32_t ms);
bool mutex_unlock(void *m);

// Creation fails for an initial count above the maximum; a post that would
// pass the maximum fails and leaves the count alone.
void *semaphore_create(uint32_t initial);
bool semaphore_close(void *s);
uint32_t semaphore_wait(void *s, uint32_t ms);
bool semaphore_post(void *s);

void *event_create(bool manual_reset, bool initial_state);
bool event_close(void *e);
bool event_set(void *e);
bool event_reset(void *e);
bool event_pulse(void *e);
uint32_t event_wait(void *e, uint32_t ms);
// count is 1..kMaxWaitObjects; *index gets the signalled object (0 for a
// wait for all).
uint32_t event_wait_multiple(void *const *events, uint32_t count, bool wait_all,
                             uint32_t ms, uint32_t *index);

// Releases mutex m and waits on semaphore s, as one step where the platform
// has it. Returns the wait's result.
uint32_t release_mutex_and_wait(void *m, void *s, uint32_t ms);
// Sets event e and waits for mutex m without limit; 1 or 0.
uint32_t set_event_and_lock(void *e, void *m);

}  // namespace korv::sys

#endif

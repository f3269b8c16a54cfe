// Mutexes, semaphores and events on kernel objects; the handle is the
// platform object itself.
#include <windows.h>

#include "thread/sync_sys.h"

namespace korv::sys {
namespace {

HANDLE h(void *p) { return static_cast<HANDLE>(p); }

uint32_t wait_result(DWORD r) {
  if (r == WAIT_OBJECT_0) return kWaitOk;
  if (r == WAIT_TIMEOUT) return kWaitTimeout;
  return kWaitFailed;
}

}  // namespace

void *mutex_create() { return CreateMutexA(nullptr, FALSE, nullptr); }
bool mutex_close(void *m) { return CloseHandle(h(m)) != 0; }
uint32_t mutex_wait(void *m, uint32_t ms) { return wait_result(WaitForSingleObject(h(m), ms)); }
bool mutex_unlock(void *m) { return ReleaseMutex(h(m)) != 0; }

void *semaphore_create(uint32_t initial) {
  return CreateSemaphoreA(nullptr, static_cast<LONG>(initial), static_cast<LONG>(kSemaphoreMax),
                          nullptr);
}
bool semaphore_close(void *s) { return CloseHandle(h(s)) != 0; }
uint32_t semaphore_wait(void *s, uint32_t ms) { return wait_result(WaitForSingleObject(h(s), ms)); }
bool semaphore_post(void *s) { return ReleaseSemaphore(h(s), 1, nullptr) != 0; }

void *event_create(bool manual_reset, bool initial_state) {
  return CreateEventA(nullptr, manual_reset, initial_state, nullptr);
}
bool event_close(void *e) { return CloseHandle(h(e)) != 0; }
bool event_set(void *e) { return SetEvent(h(e)) != 0; }
bool event_reset(void *e) { return ResetEvent(h(e)) != 0; }
bool event_pulse(void *e) { return PulseEvent(h(e)) != 0; }
uint32_t event_wait(void *e, uint32_t ms) { return wait_result(WaitForSingleObject(h(e), ms)); }

uint32_t event_wait_multiple(void *const *events, uint32_t count, bool wait_all, uint32_t ms,
                             uint32_t *index) {
  HANDLE handles[kMaxWaitObjects];
  for (uint32_t i = 0; i < count; i++) handles[i] = h(events[i]);
  DWORD r = WaitForMultipleObjects(count, handles, wait_all, ms);
  if (r == WAIT_TIMEOUT) return kWaitTimeout;
  if (r >= WAIT_OBJECT_0 && r < WAIT_OBJECT_0 + count) {
    *index = r - WAIT_OBJECT_0;
    return kWaitOk;
  }
  return kWaitFailed;
}

uint32_t release_mutex_and_wait(void *m, void *s, uint32_t ms) {
  return wait_result(SignalObjectAndWait(h(m), h(s), ms, FALSE));
}

uint32_t set_event_and_lock(void *e, void *m) {
  return wait_result(SignalObjectAndWait(h(e), h(m), INFINITE, FALSE));
}

}  // namespace korv::sys

extern "C" KORV_API uint32_t KorvLockMutex(KorvMutex *m) {
  if (!m) return 1;
  return korv::sys::mutex_wait(m->handle, KORV_INFINITE) == korv::sys::kWaitOk ? 1 : 0;
}

extern "C" KORV_API uint32_t KorvTryLockMutex(KorvMutex *m) {
  if (!m) return 1;
  return korv::sys::mutex_wait(m->handle, 0);
}

extern "C" KORV_API uint32_t KorvUnlockMutex(KorvMutex *m) {
  if (!m) return 1;
  return korv::sys::mutex_unlock(m->handle) ? 1 : 0;
}

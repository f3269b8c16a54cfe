// Condition variable over a mutex of this library: a waiter count, a
// semaphore on which waiters sleep, and an auto-reset "done" event by which
// a broadcaster learns that every waiter it released has woken.
#include <kvsup.h>
#include "thread/sync_sys.h"

using namespace korv;

namespace {

// How long a broadcaster waits for its released waiters to wake.
constexpr uint32_t kBroadcastLimitMs = 1000;

// Releases what a condition record holds; true when both handles closed.
bool release_parts(KorvConditional *c) {
  bool ok = true;
  if (c->queue && KorvFreeSemaphore(c->queue) != 1) ok = false;
  if (c->done && KorvFreeEvent(c->done) != 1) ok = false;
  KorvFreeCriticalSection(c->lock);
  korv_internal_free(c);
  return ok;
}

// Steps shared by the waits. The caller holds m; returns the result of the
// queue wait (1/2/0) and always comes back holding m.
uint32_t wait_on(KorvConditional *c, KorvMutex *m, uint32_t ms) {
  KorvEnterCriticalSection(c->lock);
  c->waiters++;
  KorvLeaveCriticalSection(c->lock);

  uint32_t r = sys::release_mutex_and_wait(m->handle, c->queue->handle, ms);

  KorvEnterCriticalSection(c->lock);
  c->waiters--;
  bool last = c->broadcasting && c->waiters == 0;
  KorvLeaveCriticalSection(c->lock);

  // The last waiter released by a broadcast wakes the broadcaster; the
  // mutex is re-acquired without limit in every case.
  if (last)
    sys::set_event_and_lock(c->done->handle, m->handle);
  else
    sys::mutex_wait(m->handle, KORV_INFINITE);
  return r;
}

}  // namespace

// 0 when any part cannot be made; what was made is released again.
extern "C" KORV_API uint32_t KorvInitConditional(KorvConditional **out) {
  if (!out) return 0;
  *out = nullptr;
  auto *c = static_cast<KorvConditional *>(korv_internal_calloc(1, sizeof(KorvConditional)));
  if (!c) return 0;
  if (KorvInitCriticalSection(&c->lock) != 1 || KorvInitSemaphore(&c->queue, 0) != 1 ||
      !c->queue || KorvInitEvent(&c->done, 0, 0) != 1 || !c->done) {
    release_parts(c);
    return 0;
  }
  *out = c;
  return 1;
}

extern "C" KORV_API uint32_t KorvFreeConditional(KorvConditional *c) {
  if (!c) return 1;
  return release_parts(c) ? 1 : 0;
}

extern "C" KORV_API uint32_t KorvSignalConditional(KorvConditional *c) {
  if (!c) return 1;
  KorvEnterCriticalSection(c->lock);
  bool have_waiters = c->waiters > 0;
  KorvLeaveCriticalSection(c->lock);
  if (have_waiters) KorvPostSemaphore(c->queue);
  return 1;
}

// The broadcaster is expected to hold the mutex and release it afterwards.
// Returns 0, with an error line, when the released waiters do not all wake
// within the limit.
extern "C" KORV_API uint32_t KorvBroadcastConditional(KorvConditional *c) {
  if (!c) return 1;
  KorvEnterCriticalSection(c->lock);
  int32_t n = c->waiters;
  if (n <= 0) {
    KorvLeaveCriticalSection(c->lock);
    return 1;
  }
  c->broadcasting = 1;
  for (int32_t i = 0; i < n; i++) KorvPostSemaphore(c->queue);
  KorvLeaveCriticalSection(c->lock);

  uint32_t r = KorvWaitSingleEvent(c->done, kBroadcastLimitMs);
  if (r == sys::kWaitTimeout)
    KorvError("KorvBroadcastConditional: timed out waiting for cv waiters to wake up.\n");
  KorvEnterCriticalSection(c->lock);
  c->broadcasting = 0;
  KorvLeaveCriticalSection(c->lock);
  return r == sys::kWaitTimeout ? 0 : 1;
}

extern "C" KORV_API uint32_t KorvWaitConditional(KorvConditional *c, KorvMutex *m) {
  if (!c || !m) return 1;
  wait_on(c, m, KORV_INFINITE);
  return 1;
}

extern "C" KORV_API uint32_t KorvTimedWaitConditional(KorvConditional *c, KorvMutex *m,
                                                      uint32_t ms) {
  if (!c || !m) return 1;
  return wait_on(c, m, ms);
}

// Mutexes, semaphores and events for POSIX. A mutex is a re-entrant lock
// (recursive_lock_posix.h); semaphores and events sleep on pthread
// condition variables with a monotonic deadline. Nothing spins.
//
// Events live under one process-wide lock so that a thread can wait on
// several of them at once: each event wakes its own single waiters and,
// when any multi-event wait is running, the shared multi-wait condition.
#include <errno.h>
#include <pthread.h>
#include <sched.h>
#include <time.h>

#include <atomic>

#include "thread/recursive_lock_posix.h"
#include "thread/sync_sys.h"

namespace korv::sys {
namespace {

struct Deadline {
  bool infinite;
  timespec at;
};

Deadline deadline_after(uint32_t ms) {
  Deadline d{ms == KORV_INFINITE, {}};
  if (!d.infinite) {
    clock_gettime(CLOCK_MONOTONIC, &d.at);
    d.at.tv_sec += ms / 1000;
    d.at.tv_nsec += long(ms % 1000) * 1000000L;
    if (d.at.tv_nsec >= 1000000000L) {
      d.at.tv_sec++;
      d.at.tv_nsec -= 1000000000L;
    }
  }
  return d;
}

// Sleeps once on cv; false when the deadline has passed.
bool sleep_on(pthread_cond_t *cv, pthread_mutex_t *mx, const Deadline &d) {
  if (d.infinite) return pthread_cond_wait(cv, mx) == 0;
  return pthread_cond_timedwait(cv, mx, &d.at) != ETIMEDOUT;
}

bool init_cond(pthread_cond_t *cv) {
  pthread_condattr_t attr;
  if (pthread_condattr_init(&attr) != 0) return false;
  pthread_condattr_setclock(&attr, CLOCK_MONOTONIC);
  bool ok = pthread_cond_init(cv, &attr) == 0;
  pthread_condattr_destroy(&attr);
  return ok;
}

template <typename T>
T *alloc_object() {
  return static_cast<T *>(korv_internal_calloc(1, sizeof(T)));
}

}  // namespace

// ---- mutex: a re-entrant lock ----

void *mutex_create() {
  auto *m = alloc_object<RecursiveLock>();
  if (!m) return nullptr;
  if (!m->init()) {
    korv_internal_free(m);
    return nullptr;
  }
  return m;
}

bool mutex_close(void *m) {
  bool ok = static_cast<RecursiveLock *>(m)->destroy();
  korv_internal_free(m);
  return ok;
}

// Only 0 (try) and KORV_INFINITE are asked for; any other limit waits in
// full.
uint32_t mutex_wait(void *m, uint32_t ms) {
  int rc = static_cast<RecursiveLock *>(m)->lock(ms == 0);
  if (rc == EBUSY) return kWaitTimeout;
  return rc == 0 ? kWaitOk : kWaitFailed;
}

bool mutex_unlock(void *m) { return static_cast<RecursiveLock *>(m)->unlock(); }

// ---- semaphore ----

namespace {
// A post wakes its waiter after leaving the lock, so that the waiter does
// not wake only to sleep again on the lock the poster still holds. The
// waiter may then take the count and free the semaphore before the poster
// has finished: `posting` counts the posts still touching it, and close
// waits for them.
struct Semaphore {
  pthread_mutex_t lock;
  pthread_cond_t cv;
  uint32_t count;
  uint32_t waiters;
  std::atomic<uint32_t> posting;
};
}  // namespace

void *semaphore_create(uint32_t initial) {
  if (initial > kSemaphoreMax) return nullptr;
  auto *s = alloc_object<Semaphore>();
  if (!s) return nullptr;
  if (pthread_mutex_init(&s->lock, nullptr) != 0) {
    korv_internal_free(s);
    return nullptr;
  }
  if (!init_cond(&s->cv)) {
    pthread_mutex_destroy(&s->lock);
    korv_internal_free(s);
    return nullptr;
  }
  s->count = initial;
  return s;
}

bool semaphore_close(void *sv) {
  auto *s = static_cast<Semaphore *>(sv);
  while (s->posting.load(std::memory_order_acquire) != 0) sched_yield();
  bool ok = pthread_cond_destroy(&s->cv) == 0;
  ok = pthread_mutex_destroy(&s->lock) == 0 && ok;
  korv_internal_free(s);
  return ok;
}

uint32_t semaphore_wait(void *sv, uint32_t ms) {
  auto *s = static_cast<Semaphore *>(sv);
  Deadline d = deadline_after(ms);
  pthread_mutex_lock(&s->lock);
  bool in_time = true;
  while (s->count == 0 && in_time && ms != 0) {
    s->waiters++;
    in_time = sleep_on(&s->cv, &s->lock, d);
    s->waiters--;
  }
  uint32_t r = kWaitTimeout;
  if (s->count > 0) {
    s->count--;
    r = kWaitOk;
  }
  pthread_mutex_unlock(&s->lock);
  return r;
}

bool semaphore_post(void *sv) {
  auto *s = static_cast<Semaphore *>(sv);
  pthread_mutex_lock(&s->lock);
  bool ok = s->count < kSemaphoreMax;
  if (ok) s->count++;
  bool wake = ok && s->waiters > 0;
  if (wake) s->posting.fetch_add(1, std::memory_order_relaxed);
  pthread_mutex_unlock(&s->lock);
  if (wake) {
    pthread_cond_signal(&s->cv);
    s->posting.fetch_sub(1, std::memory_order_release);
  }
  return ok;
}

// ---- events ----

namespace {

struct Event {
  pthread_cond_t cv;   // wakes threads waiting on this event alone
  bool manual;
  bool signalled;
  uint32_t waiters;    // threads waiting on it, alone or in a multi-wait
  uint64_t pulses;     // manual reset: bumped by each pulse
  uint32_t pulse_tokens;  // auto reset: one waiter may pass per pulse
};

pthread_mutex_t g_event_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t g_multi_cv;
pthread_once_t g_multi_once = PTHREAD_ONCE_INIT;
uint32_t g_multi_waiters = 0;

void init_multi_cv() { init_cond(&g_multi_cv); }

// Wakes everyone who may be waiting on e. Called under g_event_lock.
void wake_waiters(Event *e) {
  pthread_cond_broadcast(&e->cv);
  if (g_multi_waiters > 0) pthread_cond_broadcast(&g_multi_cv);
}

// Whether e lets a waiter that started at pulse count `seen` pass.
bool is_ready(const Event *e, uint64_t seen) {
  if (e->signalled) return true;
  return e->manual ? e->pulses != seen : e->pulse_tokens > 0;
}

// Takes e for a waiter that found it ready: an auto-reset event resets.
void consume(Event *e) {
  if (e->manual) return;
  if (e->signalled)
    e->signalled = false;
  else if (e->pulse_tokens > 0)
    e->pulse_tokens--;
}

// A waiter leaves; a pulse no one took is forgotten.
void leave(Event *e) {
  if (--e->waiters == 0) e->pulse_tokens = 0;
}

}  // namespace

void *event_create(bool manual_reset, bool initial_state) {
  pthread_once(&g_multi_once, init_multi_cv);
  auto *e = alloc_object<Event>();
  if (!e) return nullptr;
  if (!init_cond(&e->cv)) {
    korv_internal_free(e);
    return nullptr;
  }
  e->manual = manual_reset;
  e->signalled = initial_state;
  return e;
}

bool event_close(void *ev) {
  auto *e = static_cast<Event *>(ev);
  bool ok = pthread_cond_destroy(&e->cv) == 0;
  korv_internal_free(e);
  return ok;
}

bool event_set(void *ev) {
  auto *e = static_cast<Event *>(ev);
  pthread_mutex_lock(&g_event_lock);
  e->signalled = true;
  wake_waiters(e);
  pthread_mutex_unlock(&g_event_lock);
  return true;
}

bool event_reset(void *ev) {
  auto *e = static_cast<Event *>(ev);
  pthread_mutex_lock(&g_event_lock);
  e->signalled = false;
  pthread_mutex_unlock(&g_event_lock);
  return true;
}

// Releases the threads waiting right now (one for an auto-reset event) and
// leaves the event reset.
bool event_pulse(void *ev) {
  auto *e = static_cast<Event *>(ev);
  pthread_mutex_lock(&g_event_lock);
  e->signalled = false;
  if (e->waiters > 0) {
    if (e->manual)
      e->pulses++;
    else
      e->pulse_tokens = 1;
    wake_waiters(e);
  }
  pthread_mutex_unlock(&g_event_lock);
  return true;
}

uint32_t event_wait(void *ev, uint32_t ms) {
  auto *e = static_cast<Event *>(ev);
  Deadline d = deadline_after(ms);
  pthread_mutex_lock(&g_event_lock);
  uint64_t seen = e->pulses;
  e->waiters++;
  bool in_time = ms != 0;
  while (!is_ready(e, seen) && in_time) in_time = sleep_on(&e->cv, &g_event_lock, d);
  uint32_t r = kWaitTimeout;
  if (is_ready(e, seen)) {
    consume(e);
    r = kWaitOk;
  }
  leave(e);
  pthread_mutex_unlock(&g_event_lock);
  return r;
}

// Wait for any: the lowest ready index wins and only it is consumed. Wait
// for all: nothing is consumed until every event is ready at once.
uint32_t event_wait_multiple(void *const *events, uint32_t count, bool wait_all,
                             uint32_t ms, uint32_t *index) {
  Event *ev[kMaxWaitObjects];
  uint64_t seen[kMaxWaitObjects];
  Deadline d = deadline_after(ms);
  pthread_mutex_lock(&g_event_lock);
  for (uint32_t i = 0; i < count; i++) {
    ev[i] = static_cast<Event *>(events[i]);
    seen[i] = ev[i]->pulses;
    ev[i]->waiters++;
  }
  g_multi_waiters++;
  uint32_t r = kWaitTimeout;
  for (bool in_time = true;;) {
    uint32_t ready = 0, first = count;
    for (uint32_t i = 0; i < count; i++) {
      if (is_ready(ev[i], seen[i])) {
        ready++;
        if (first == count) first = i;
      }
    }
    if (wait_all ? ready == count : ready > 0) {
      if (wait_all) {
        for (uint32_t i = 0; i < count; i++) consume(ev[i]);
        *index = 0;
      } else {
        consume(ev[first]);
        *index = first;
      }
      r = kWaitOk;
      break;
    }
    if (!in_time || ms == 0) break;
    in_time = sleep_on(&g_multi_cv, &g_event_lock, d);
  }
  g_multi_waiters--;
  for (uint32_t i = 0; i < count; i++) leave(ev[i]);
  pthread_mutex_unlock(&g_event_lock);
  return r;
}

// ---- the condition variable's two combined steps ----

// No single step exists here; a post that comes between the release and the
// wait is kept by the semaphore's count, so no wake-up is lost.
uint32_t release_mutex_and_wait(void *m, void *s, uint32_t ms) {
  if (!mutex_unlock(m)) return kWaitFailed;
  return semaphore_wait(s, ms);
}

uint32_t set_event_and_lock(void *e, void *m) {
  event_set(e);
  return mutex_wait(m, KORV_INFINITE);
}

}  // namespace korv::sys

// The mutex entry points live here rather than in the portable half so
// that the lock's uncontended path is compiled into them.
using korv::sys::RecursiveLock;

extern "C" KORV_API uint32_t KorvLockMutex(KorvMutex *m) {
  if (!m) return 1;
  return static_cast<RecursiveLock *>(m->handle)->lock(false) == 0 ? 1 : 0;
}

extern "C" KORV_API uint32_t KorvTryLockMutex(KorvMutex *m) {
  if (!m) return 1;
  return korv::sys::mutex_wait(m->handle, 0);
}

extern "C" KORV_API uint32_t KorvUnlockMutex(KorvMutex *m) {
  if (!m) return 1;
  return static_cast<RecursiveLock *>(m->handle)->unlock() ? 1 : 0;
}

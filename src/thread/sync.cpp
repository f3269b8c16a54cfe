// Mutexes, semaphores and events: a heap cell of one pointer holding the
// platform object. The platform object is made first; when only the cell
// cannot be allocated the object is released again and init still reports
// 1 with a null pointer, which later calls treat as "no locking".
#include <kvsup.h>
#include "thread/sync_sys.h"

namespace {

template <typename Cell, typename Make, typename Close>
uint32_t init_cell(Cell **out, Make make, Close close) {
  if (!out) return 0;
  *out = nullptr;
  void *handle = make();
  if (!handle) return 0;
  Cell *cell = static_cast<Cell *>(korv_internal_malloc(sizeof(Cell)));
  if (!cell) {
    close(handle);
    return 1;
  }
  cell->handle = handle;
  *out = cell;
  return 1;
}

template <typename Cell, typename Close>
uint32_t free_cell(Cell *cell, Close close) {
  if (!cell) return 1;
  bool closed = close(cell->handle);
  korv_internal_free(cell);
  return closed ? 1 : 0;
}

}  // namespace

using namespace korv;

extern "C" KORV_API uint32_t KorvInitMutex(KorvMutex **m) {
  return init_cell(m, [] { return sys::mutex_create(); }, sys::mutex_close);
}

extern "C" KORV_API uint32_t KorvFreeMutex(KorvMutex *m) {
  return free_cell(m, sys::mutex_close);
}

// KorvLockMutex, KorvTryLockMutex and KorvUnlockMutex are in the platform
// half, where the lock itself is visible.

extern "C" KORV_API uint32_t KorvInitSemaphore(KorvSemaphore **s, uint32_t initial) {
  return init_cell(s, [initial] { return sys::semaphore_create(initial); }, sys::semaphore_close);
}

extern "C" KORV_API uint32_t KorvFreeSemaphore(KorvSemaphore *s) {
  return free_cell(s, sys::semaphore_close);
}

extern "C" KORV_API uint32_t KorvTimedWaitSemaphore(KorvSemaphore *s, uint32_t ms) {
  if (!s) return 1;
  return sys::semaphore_wait(s->handle, ms);
}

extern "C" KORV_API uint32_t KorvPostSemaphore(KorvSemaphore *s) {
  if (!s) return 1;
  return sys::semaphore_post(s->handle) ? 1 : 0;
}

extern "C" KORV_API uint32_t KorvInitEvent(KorvEvent **e, uint32_t manual_reset,
                                           uint32_t initial_state) {
  return init_cell(
      e, [=] { return sys::event_create(manual_reset != 0, initial_state != 0); },
      sys::event_close);
}

extern "C" KORV_API uint32_t KorvFreeEvent(KorvEvent *e) {
  return free_cell(e, sys::event_close);
}

extern "C" KORV_API uint32_t KorvSetEvent(KorvEvent *e) {
  return !e || sys::event_set(e->handle) ? 1 : 0;
}

extern "C" KORV_API uint32_t KorvResetEvent(KorvEvent *e) {
  return !e || sys::event_reset(e->handle) ? 1 : 0;
}

extern "C" KORV_API uint32_t KorvPulseEvent(KorvEvent *e) {
  return !e || sys::event_pulse(e->handle) ? 1 : 0;
}

extern "C" KORV_API uint32_t KorvWaitSingleEvent(KorvEvent *e, uint32_t ms) {
  if (!e) return 1;
  return sys::event_wait(e->handle, ms);
}

// A null array counts as success. Every element must be a live event: a
// null element, a count of 0 or more than 64 objects is a failure, as the
// platform reports for an invalid wait.
extern "C" KORV_API uint32_t KorvWaitMultipleEvent(KorvEvent **events, uint32_t count,
                                                   uint32_t wait_all, uint32_t ms,
                                                   uint32_t *index) {
  if (index) *index = 0;
  if (!events) return 1;
  if (count == 0 || count > sys::kMaxWaitObjects) return 0;
  void *handles[sys::kMaxWaitObjects];
  for (uint32_t i = 0; i < count; i++) {
    if (!events[i]) return 0;
    handles[i] = events[i]->handle;
  }
  uint32_t which = 0;
  uint32_t r = sys::event_wait_multiple(handles, count, wait_all != 0, ms, &which);
  if (r == sys::kWaitOk && index) *index = which;
  return r;
}

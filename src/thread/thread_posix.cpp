// Critical sections, thread-local slots and threads on pthreads.
#include <pthread.h>
#include <stdint.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <kvsup.h>
#include "thread/recursive_lock_posix.h"

// A re-entrant lock: the owning thread may enter again and leaves as often.
struct KorvCriticalSection {
  korv::sys::RecursiveLock lock;
};

extern "C" KORV_API uint32_t KorvInitCriticalSection(KorvCriticalSection **cs) {
  if (!cs) return 0;
  *cs = nullptr;
  auto *c = static_cast<KorvCriticalSection *>(korv_internal_calloc(1, sizeof(KorvCriticalSection)));
  if (!c) return 0;
  if (!c->lock.init()) {
    korv_internal_free(c);
    return 0;
  }
  *cs = c;
  return 1;
}

extern "C" KORV_API uint32_t KorvFreeCriticalSection(KorvCriticalSection *cs) {
  if (!cs) return 1;
  cs->lock.destroy();
  korv_internal_free(cs);
  return 1;
}

extern "C" KORV_API uint32_t KorvEnterCriticalSection(KorvCriticalSection *cs) {
  if (cs) cs->lock.lock(false);
  return 1;
}

extern "C" KORV_API uint32_t KorvLeaveCriticalSection(KorvCriticalSection *cs) {
  if (cs) cs->lock.unlock();
  return 1;
}

// ---- thread-local slots: a pthread key is the index ----

static_assert(sizeof(pthread_key_t) <= sizeof(uint32_t), "a slot index is 32 bits");

extern "C" KORV_API uint32_t KorvTLSAlloc(uint32_t *index) {
  if (!index) return 0;
  pthread_key_t key;
  if (pthread_key_create(&key, nullptr) != 0) return 0;
  *index = static_cast<uint32_t>(key);
  return 1;
}

extern "C" KORV_API uint32_t KorvTLSFree(uint32_t index) {
  return pthread_key_delete(static_cast<pthread_key_t>(index)) == 0 ? 1 : 0;
}

extern "C" KORV_API uint32_t KorvTLSSetValue(uint32_t index, void *value) {
  return pthread_setspecific(static_cast<pthread_key_t>(index), value) == 0 ? 1 : 0;
}

extern "C" KORV_API void *KorvTLSGetValue(uint32_t index) {
  return pthread_getspecific(static_cast<pthread_key_t>(index));
}

// ---- threads: the handle carries the pthread_t itself ----

static_assert(sizeof(pthread_t) <= sizeof(void *), "a thread handle holds a pthread_t");

namespace {

struct ThreadStart {
  KorvThreadFunc func;
  void *arg;
};

KorvThread *to_handle(pthread_t t) {
  uintptr_t v = 0;
  __builtin_memcpy(&v, &t, sizeof t);
  return reinterpret_cast<KorvThread *>(v);
}

pthread_t from_handle(KorvThread *h) {
  uintptr_t v = reinterpret_cast<uintptr_t>(h);
  pthread_t t;
  __builtin_memcpy(&t, &v, sizeof t);
  return t;
}

// The entry's result is the exit code, carried in the thread's result word.
void *thread_main(void *p) {
  ThreadStart start = *static_cast<ThreadStart *>(p);
  korv_internal_free(p);
  uint32_t code = start.func(start.arg);
  return reinterpret_cast<void *>(static_cast<uintptr_t>(code));
}

}  // namespace

// Default stack size. With a null address the thread is detached at once.
extern "C" KORV_API uint32_t KorvCreateThread(KorvThread **thread, KorvThreadFunc func, void *arg) {
  if (!func) return 0;
  auto *start = static_cast<ThreadStart *>(korv_internal_malloc(sizeof(ThreadStart)));
  if (!start) return 0;
  start->func = func;
  start->arg = arg;
  pthread_t t;
  if (pthread_create(&t, nullptr, thread_main, start) != 0) {
    korv_internal_free(start);
    return 0;
  }
  if (thread)
    *thread = to_handle(t);
  else
    pthread_detach(t);
  return 1;
}

extern "C" KORV_API void KorvExitThread(uint32_t code) {
  pthread_exit(reinterpret_cast<void *>(static_cast<uintptr_t>(code)));
}

// Waits for the thread to end and stores its exit code; the handle is gone
// afterwards. 0 when the thread cannot be joined (a null or unknown handle).
extern "C" KORV_API uint32_t KorvJoinThread(KorvThread *thread, uint32_t *code) {
  if (!thread) return 0;
  void *result = nullptr;
  if (pthread_join(from_handle(thread), &result) != 0) return 0;
  if (code) *code = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(result));
  return 1;
}

extern "C" KORV_API uint32_t KorvGetCurrentThreadId(void) {
  return static_cast<uint32_t>(syscall(SYS_gettid));
}

extern "C" KORV_API KorvThread *KorvGetCurrentThread(void) {
  return to_handle(pthread_self());
}

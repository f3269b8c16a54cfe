/*
 * A re-entrant lock whose word names its owner, so that the owner may lock
 * again and an unlock from any other thread fails cleanly instead of
 * touching a lock it does not hold.
 *
 * On Linux the word is a futex: 0 free, (tid << 1) held, (tid << 1) | 1
 * held with possible sleepers. Locking and unlocking without contention is
 * one atomic instruction each and stays inline in the caller; a contended
 * locker sleeps in the kernel. Elsewhere a pthread mutex carries the lock
 * and the word only the owner.
 * `depth` counts the extra entries and is touched only by the owner.
 */
#ifndef KVSUP_THREAD_RECURSIVE_LOCK_POSIX_H
#define KVSUP_THREAD_RECURSIVE_LOCK_POSIX_H

#include <errno.h>
#include <pthread.h>
#include <stdint.h>
#include <unistd.h>

#include <atomic>

#if defined(__linux__)
#include <linux/futex.h>
#include <sys/syscall.h>
#endif

namespace korv::sys {

// Gives the calling thread its tag; run once per thread.
__attribute__((noinline, cold)) inline uint32_t make_thread_tag(uint32_t *tag) {
#if defined(__linux__)
  *tag = static_cast<uint32_t>(syscall(SYS_gettid)) << 1;
#else
  static std::atomic<uint32_t> next{1};
  *tag = next.fetch_add(1, std::memory_order_relaxed) << 1;
#endif
  return *tag;
}

// The calling thread's tag, never 0 and with bit 0 clear.
inline uint32_t thread_tag() {
  static thread_local __attribute__((tls_model("initial-exec"))) uint32_t tag;
  uint32_t t = tag;
  return __builtin_expect(t != 0, 1) ? t : make_thread_tag(&tag);
}

struct RecursiveLock {
  std::atomic<uint32_t> word;
  uint32_t depth;
#if !defined(__linux__)
  pthread_mutex_t mutex;
#endif

  bool init() {
    word.store(0, std::memory_order_relaxed);
    depth = 0;
#if defined(__linux__)
    return true;
#else
    return pthread_mutex_init(&mutex, nullptr) == 0;
#endif
  }

  bool destroy() {
#if defined(__linux__)
    return true;
#else
    return pthread_mutex_destroy(&mutex) == 0;
#endif
  }

  // 0 when held; EBUSY when try_only and another thread holds it.
  int lock(bool try_only) {
    uint32_t me = thread_tag();
#if defined(__linux__)
    uint32_t c = 0;
    if (__builtin_expect(word.compare_exchange_strong(c, me, std::memory_order_acquire), 1))
      return 0;
    if ((c & ~1u) == me) {
      depth++;
      return 0;
    }
    if (try_only) return EBUSY;
    lock_contended(me);
    return 0;
#else
    if (word.load(std::memory_order_relaxed) == me) {
      depth++;
      return 0;
    }
    int rc = try_only ? pthread_mutex_trylock(&mutex) : pthread_mutex_lock(&mutex);
    if (rc == 0) word.store(me, std::memory_order_relaxed);
    return rc;
#endif
  }

  bool unlock() {
    uint32_t me = thread_tag();
    if ((word.load(std::memory_order_relaxed) & ~1u) != me) return false;
    if (depth > 0) {
      depth--;
      return true;
    }
#if defined(__linux__)
    if (word.exchange(0, std::memory_order_release) & 1u) wake_one();
    return true;
#else
    word.store(0, std::memory_order_relaxed);
    return pthread_mutex_unlock(&mutex) == 0;
#endif
  }

#if defined(__linux__)
  // Another thread holds the lock: mark the word and sleep until it is
  // free. There is no spinning first: the holder may be waiting for this
  // very core, and a spinning locker would only delay it.
  __attribute__((noinline)) void lock_contended(uint32_t me) {
    for (;;) {
      uint32_t c = word.load(std::memory_order_relaxed);
      if (c == 0) {
        // Taken after a sleep: others may still sleep, so keep the mark.
        if (word.compare_exchange_weak(c, me | 1u, std::memory_order_acquire)) return;
        continue;
      }
      if (!(c & 1u) && !word.compare_exchange_weak(c, c | 1u, std::memory_order_relaxed)) continue;
      syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, c | 1u, nullptr, nullptr, 0);
    }
  }
  __attribute__((noinline)) void wake_one() {
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
  }
#endif
};

}  // namespace korv::sys

#endif

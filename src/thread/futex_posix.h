/*
 * Sleeping on a 32-bit word (Linux futexes), shared by the re-entrant lock
 * and the semaphore. Both keep their state in user space and enter the
 * kernel only to sleep or to wake a sleeper.
 *
 * A wait returns when the word no longer holds `expected`, when woken, at
 * a signal, or at the deadline; callers always look at the word again.
 */
#ifndef KVSUP_THREAD_FUTEX_POSIX_H
#define KVSUP_THREAD_FUTEX_POSIX_H

#if defined(__linux__)

#include <errno.h>
#include <linux/futex.h>
#include <stdint.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>

namespace korv::sys {

// Sleeps while *word == expected. `deadline` is an absolute CLOCK_MONOTONIC
// time, or null for no limit. False only when the deadline has passed.
inline bool futex_wait(std::atomic<uint32_t> *word, uint32_t expected, const timespec *deadline) {
  long r = syscall(SYS_futex, word, FUTEX_WAIT_BITSET_PRIVATE, expected, deadline, nullptr,
                   FUTEX_BITSET_MATCH_ANY);
  return r == 0 || errno != ETIMEDOUT;
}

inline void futex_wake(std::atomic<uint32_t> *word, int count) {
  syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, count, nullptr, nullptr, 0);
}

}  // namespace korv::sys

#endif
#endif

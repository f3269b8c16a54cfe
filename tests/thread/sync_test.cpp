// Locks, semaphores, events, the condition variable, TLS and threads.
// Every wait is bounded: a broken primitive fails the test instead of
// hanging it.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <kvsup.h>
#include "core/alloc_testing.h"

namespace {

constexpr uint32_t kLong = 5000;  // ms; only reached when something is broken

#if defined(_WIN32)
constexpr unsigned long kCellAllocation = 1;  // the kernel object costs no allocation
#else
constexpr unsigned long kCellAllocation = 2;  // the pthread object comes first
#endif

// Runs f on a thread of the library and returns its exit code.
template <typename F>
uint32_t run_thread(F f) {
  KorvThread *t = nullptr;
  EXPECT_EQ(1u, KorvCreateThread(&t, [](void *p) -> uint32_t { return (*static_cast<F *>(p))(); }, &f));
  uint32_t code = 0xDEAD;
  EXPECT_EQ(1u, KorvJoinThread(t, &code));
  return code;
}

TEST(Sync, NullObjectsCountAsSuccess) {
  EXPECT_EQ(0u, KorvInitCriticalSection(nullptr));
  EXPECT_EQ(0u, KorvInitMutex(nullptr));
  EXPECT_EQ(0u, KorvInitConditional(nullptr));
  EXPECT_EQ(0u, KorvTLSAlloc(nullptr));
  EXPECT_EQ(1u, KorvEnterCriticalSection(nullptr));
  EXPECT_EQ(1u, KorvLockMutex(nullptr));
  EXPECT_EQ(1u, KorvTryLockMutex(nullptr));
  EXPECT_EQ(1u, KorvTimedWaitSemaphore(nullptr, 0));
  EXPECT_EQ(1u, KorvWaitSingleEvent(nullptr, 0));
  EXPECT_EQ(1u, KorvPulseEvent(nullptr));
  EXPECT_EQ(1u, KorvBroadcastConditional(nullptr));
  EXPECT_EQ(1u, KorvTimedWaitConditional(nullptr, nullptr, 0));
  uint32_t index = 7;
  EXPECT_EQ(1u, KorvWaitMultipleEvent(nullptr, 3, 0, 0, &index));
  EXPECT_EQ(0u, index);
}

TEST(Sync, CriticalSectionIsReentrantAndExclusive) {
  KorvCriticalSection *cs = nullptr;
  ASSERT_EQ(1u, KorvInitCriticalSection(&cs));
  KorvEnterCriticalSection(cs);
  KorvEnterCriticalSection(cs);
  KorvLeaveCriticalSection(cs);
  KorvLeaveCriticalSection(cs);

  // Contended from four threads, with nested entries, for both lock kinds.
  KorvMutex *m = nullptr;
  ASSERT_EQ(1u, KorvInitMutex(&m));
  long in_cs = 0, in_mutex = 0;
  auto work = [&] {
    for (int i = 0; i < 20000; i++) {
      KorvEnterCriticalSection(cs);
      KorvEnterCriticalSection(cs);
      in_cs++;
      KorvLeaveCriticalSection(cs);
      KorvLeaveCriticalSection(cs);
      KorvLockMutex(m);
      in_mutex++;
      KorvUnlockMutex(m);
    }
  };
  std::thread a(work), b(work), c(work), d(work);
  a.join();
  b.join();
  c.join();
  d.join();
  EXPECT_EQ(80000, in_cs);
  EXPECT_EQ(80000, in_mutex);
  EXPECT_EQ(1u, KorvFreeCriticalSection(cs));
  EXPECT_EQ(1u, KorvFreeMutex(m));
}

TEST(Sync, MutexOwnership) {
  KorvMutex *m = nullptr;
  ASSERT_EQ(1u, KorvInitMutex(&m));
  ASSERT_EQ(1u, KorvLockMutex(m));
  EXPECT_EQ(1u, KorvTryLockMutex(m));  // re-entrant for its owner
  EXPECT_EQ(2u, run_thread([&] { return KorvTryLockMutex(m); }));
  EXPECT_EQ(0u, run_thread([&] { return KorvUnlockMutex(m); }));
  EXPECT_EQ(1u, KorvUnlockMutex(m));
  EXPECT_EQ(1u, KorvUnlockMutex(m));
  EXPECT_EQ(1u, run_thread([&] { return KorvTryLockMutex(m) + KorvUnlockMutex(m) - 1; }));
  EXPECT_EQ(1u, KorvFreeMutex(m));

  // Without memory for the holding cell the object is dropped, yet init
  // reports success with a null mutex, which then does no locking.
  korv_testing_fail_alloc(kCellAllocation);
  m = reinterpret_cast<KorvMutex *>(1);
  EXPECT_EQ(1u, KorvInitMutex(&m));
  korv_testing_fail_alloc(0);
  EXPECT_EQ(nullptr, m);
}

TEST(Sync, SemaphoreCountsAndLimits) {
  KorvSemaphore *s = nullptr;
  EXPECT_EQ(0u, KorvInitSemaphore(&s, 65536));
  EXPECT_EQ(nullptr, s);
  ASSERT_EQ(1u, KorvInitSemaphore(&s, 65534));
  EXPECT_EQ(1u, KorvPostSemaphore(s));
  EXPECT_EQ(0u, KorvPostSemaphore(s));  // at the maximum
  KorvFreeSemaphore(s);

  ASSERT_EQ(1u, KorvInitSemaphore(&s, 1));
  EXPECT_EQ(1u, KorvTimedWaitSemaphore(s, 0));
  EXPECT_EQ(2u, KorvTimedWaitSemaphore(s, 0));
  EXPECT_EQ(2u, KorvTimedWaitSemaphore(s, 20));
  std::thread poster([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    KorvPostSemaphore(s);
  });
  EXPECT_EQ(1u, KorvTimedWaitSemaphore(s, kLong));
  poster.join();
  EXPECT_EQ(1u, KorvFreeSemaphore(s));
}

// Posters and sleepers racing on one semaphore: every post must reach a
// waiter. A lost wake-up leaves a waiter asleep on a raised count until its
// wait runs into the limit (it may still take the count then).
TEST(Sync, SemaphoreLosesNoPostUnderContention) {
  KorvSemaphore *s = nullptr;
  ASSERT_EQ(1u, KorvInitSemaphore(&s, 0));
  constexpr int kPairs = 3, kEach = 2000;
  std::atomic<int> taken{0};
  std::atomic<bool> stalled{false};
  std::vector<std::thread> threads;
  for (int p = 0; p < kPairs; p++) {
    threads.emplace_back([&] {
      for (int i = 0; i < kEach && !stalled; i++) {
        auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(kLong);
        if (KorvTimedWaitSemaphore(s, kLong) == 1) taken++;
        if (std::chrono::steady_clock::now() >= limit) stalled = true;
      }
    });
    threads.emplace_back([&] {
      for (int i = 0; i < kEach; i++) EXPECT_EQ(1u, KorvPostSemaphore(s));
    });
  }
  for (auto &t : threads) t.join();
  EXPECT_FALSE(stalled);
  EXPECT_EQ(kPairs * kEach, taken.load());
  EXPECT_EQ(2u, KorvTimedWaitSemaphore(s, 0));
  EXPECT_EQ(1u, KorvFreeSemaphore(s));
}

// A waiter may free the semaphore as soon as its wait returns, while the
// poster that woke it is still finishing its post.
TEST(Sync, SemaphoreFreedByItsWaiterRightAfterThePost) {
  for (int i = 0; i < 500; i++) {
    KorvSemaphore *s = nullptr;
    ASSERT_EQ(1u, KorvInitSemaphore(&s, 0));
    std::thread waiter([s] {
      EXPECT_EQ(1u, KorvTimedWaitSemaphore(s, kLong));
      EXPECT_EQ(1u, KorvFreeSemaphore(s));
    });
    std::this_thread::yield();
    EXPECT_EQ(1u, KorvPostSemaphore(s));
    waiter.join();
  }
}

TEST(Sync, EventResetModes) {
  KorvEvent *autoev = nullptr, *manual = nullptr;
  ASSERT_EQ(1u, KorvInitEvent(&autoev, 0, 1));
  ASSERT_EQ(1u, KorvInitEvent(&manual, 1, 0));
  EXPECT_EQ(1u, KorvWaitSingleEvent(autoev, 0));
  EXPECT_EQ(2u, KorvWaitSingleEvent(autoev, 0));  // consumed by the wait
  KorvSetEvent(manual);
  EXPECT_EQ(1u, KorvWaitSingleEvent(manual, 0));
  EXPECT_EQ(1u, KorvWaitSingleEvent(manual, 0));  // stays set
  KorvResetEvent(manual);
  EXPECT_EQ(2u, KorvWaitSingleEvent(manual, 10));

  // A pulse with nobody waiting is lost; it never leaves the event set.
  KorvPulseEvent(manual);
  KorvPulseEvent(autoev);
  EXPECT_EQ(2u, KorvWaitSingleEvent(manual, 0));
  EXPECT_EQ(2u, KorvWaitSingleEvent(autoev, 0));
  KorvFreeEvent(autoev);
  KorvFreeEvent(manual);
}

TEST(Sync, PulseReleasesCurrentWaiters) {
  for (uint32_t manual = 0; manual <= 1; manual++) {
    KorvEvent *e = nullptr;
    ASSERT_EQ(1u, KorvInitEvent(&e, manual, 0));
    std::atomic<uint32_t> result{0};
    std::thread waiter([&] { result = KorvWaitSingleEvent(e, kLong); });
    // The waiter may not be asleep yet: pulse until it is released.
    auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(kLong);
    while (result == 0 && std::chrono::steady_clock::now() < until) {
      KorvPulseEvent(e);
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    waiter.join();
    EXPECT_EQ(1u, result.load()) << "manual " << manual;
    EXPECT_EQ(2u, KorvWaitSingleEvent(e, 0));
    KorvFreeEvent(e);
  }
}

TEST(Sync, WaitMultipleEvents) {
  KorvEvent *ev[3] = {};
  for (auto &e : ev) ASSERT_EQ(1u, KorvInitEvent(&e, 0, 0));
  uint32_t index = 9;
  EXPECT_EQ(2u, KorvWaitMultipleEvent(ev, 3, 0, 0, &index));
  EXPECT_EQ(0u, index);

  KorvSetEvent(ev[1]);
  EXPECT_EQ(1u, KorvWaitMultipleEvent(ev, 3, 0, kLong, &index));
  EXPECT_EQ(1u, index);
  EXPECT_EQ(2u, KorvWaitSingleEvent(ev[1], 0));  // only the winner is reset

  // Wait for all takes nothing until every event is set at once.
  KorvSetEvent(ev[0]);
  KorvSetEvent(ev[2]);
  EXPECT_EQ(2u, KorvWaitMultipleEvent(ev, 3, 1, 10, &index));
  EXPECT_EQ(1u, KorvWaitSingleEvent(ev[0], 0));
  KorvSetEvent(ev[0]);
  std::thread setter([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    KorvSetEvent(ev[1]);
  });
  EXPECT_EQ(1u, KorvWaitMultipleEvent(ev, 3, 1, kLong, nullptr));
  setter.join();
  for (auto &e : ev) EXPECT_EQ(2u, KorvWaitSingleEvent(e, 0));

  EXPECT_EQ(0u, KorvWaitMultipleEvent(ev, 0, 0, 0, &index));
  for (auto &e : ev) KorvFreeEvent(e);
}

TEST(Sync, TlsIsPerThread) {
  uint32_t slot = 0;
  ASSERT_EQ(1u, KorvTLSAlloc(&slot));
  int mine = 0, theirs = 0;
  EXPECT_EQ(1u, KorvTLSSetValue(slot, &mine));
  EXPECT_EQ(1u, run_thread([&] {
    uint32_t ok = KorvTLSGetValue(slot) == nullptr;
    KorvTLSSetValue(slot, &theirs);
    return ok && KorvTLSGetValue(slot) == &theirs;
  }));
  EXPECT_EQ(&mine, KorvTLSGetValue(slot));
  EXPECT_EQ(1u, KorvTLSFree(slot));
}

TEST(Threads, ExitCodesAndDetachedThreads) {
  EXPECT_EQ(42u, run_thread([] { return 42u; }));
  EXPECT_EQ(7u, run_thread([]() -> uint32_t {
    KorvExitThread(7);
    return 1;
  }));
  uint32_t main_id = KorvGetCurrentThreadId();
  EXPECT_EQ(1u, run_thread([&] { return KorvGetCurrentThreadId() != main_id; }));

  KorvEvent *ran = nullptr;
  ASSERT_EQ(1u, KorvInitEvent(&ran, 1, 0));
  EXPECT_EQ(1u, KorvCreateThread(nullptr, [](void *e) -> uint32_t {
    KorvSetEvent(static_cast<KorvEvent *>(e));
    return 0;
  }, ran));
  EXPECT_EQ(1u, KorvWaitSingleEvent(ran, kLong));
  EXPECT_EQ(1u, KorvFreeEvent(ran));
  EXPECT_EQ(0u, KorvCreateThread(nullptr, nullptr, nullptr));
}

}  // namespace

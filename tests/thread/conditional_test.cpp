// The condition variable: wake-ups, time-outs, broadcast and its limit.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <kvsup.h>
#include "core/alloc_testing.h"

namespace {

constexpr uint32_t kLong = 5000;

struct CondFixture : ::testing::Test {
  KorvConditional *c = nullptr;
  KorvMutex *m = nullptr;
  void SetUp() override {
    ASSERT_EQ(1u, KorvInitConditional(&c));
    ASSERT_EQ(1u, KorvInitMutex(&m));
    ASSERT_NE(nullptr, m);
  }
  void TearDown() override {
    EXPECT_EQ(1u, KorvFreeConditional(c));
    KorvFreeMutex(m);
  }
  // Blocks until `n` threads are registered as waiters, or the limit passes.
  bool await_waiters(int32_t n) {
    auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(kLong);
    for (;;) {
      KorvEnterCriticalSection(c->lock);
      bool there = c->waiters == n;
      KorvLeaveCriticalSection(c->lock);
      if (there) return true;
      if (std::chrono::steady_clock::now() > until) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
};

TEST_F(CondFixture, TimedWaitTimesOutHoldingTheMutex) {
  KorvLockMutex(m);
  EXPECT_EQ(2u, KorvTimedWaitConditional(c, m, 10));
  // Held again: another thread cannot take it.
  uint32_t other = 0;
  std::thread([&] { other = KorvTryLockMutex(m); }).join();
  EXPECT_EQ(2u, other);
  KorvUnlockMutex(m);
  EXPECT_EQ(0, c->waiters);
}

TEST_F(CondFixture, SignalWakesOneWaiter) {
  bool ready = false;
  uint32_t result = 0;
  std::thread waiter([&] {
    KorvLockMutex(m);
    while (!ready) result = KorvTimedWaitConditional(c, m, kLong);
    KorvUnlockMutex(m);
  });
  ASSERT_TRUE(await_waiters(1));
  KorvLockMutex(m);
  ready = true;
  EXPECT_EQ(1u, KorvSignalConditional(c));
  KorvUnlockMutex(m);
  waiter.join();
  EXPECT_EQ(1u, result);
}

TEST_F(CondFixture, BroadcastReleasesEveryWaiterInTurn) {
  KorvLockMutex(m);
  EXPECT_EQ(1u, KorvBroadcastConditional(c));  // nobody waits
  KorvUnlockMutex(m);

  int inside = 0, woken = 0;
  bool overlap = false;
  std::vector<std::thread> waiters;
  for (int i = 0; i < 3; i++) {
    waiters.emplace_back([&] {
      KorvLockMutex(m);
      KorvWaitConditional(c, m);
      overlap |= ++inside != 1;  // each returns holding the mutex alone
      woken++;
      inside--;
      KorvUnlockMutex(m);
    });
  }
  ASSERT_TRUE(await_waiters(3));
  KorvLockMutex(m);
  EXPECT_EQ(1u, KorvBroadcastConditional(c));
  KorvUnlockMutex(m);
  for (auto &t : waiters) t.join();
  EXPECT_EQ(3, woken);
  EXPECT_FALSE(overlap);
  EXPECT_EQ(0u, c->broadcasting);
}

// A waiter that never wakes (here one counted but absent) makes the
// broadcast give up after its limit with an error line.
TEST_F(CondFixture, BroadcastGivesUpOnMissingWaiter) {
  KorvEnterCriticalSection(c->lock);
  c->waiters = 1;
  KorvLeaveCriticalSection(c->lock);
  testing::internal::CaptureStderr();
  EXPECT_EQ(0u, KorvBroadcastConditional(c));
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_NE(std::string::npos,
            err.find("KorvBroadcastConditional: timed out waiting for cv waiters to wake up.\n"));
  EXPECT_EQ(0u, c->broadcasting);
  c->waiters = 0;
}

TEST(Conditional, InitReleasesPartsOnFailure) {
  for (unsigned long n = 1;; n++) {
    KorvConditional *c = reinterpret_cast<KorvConditional *>(1);
    korv_testing_fail_alloc(n);
    uint32_t r = KorvInitConditional(&c);
    korv_testing_fail_alloc(0);
    if (r == 1) {
      KorvFreeConditional(c);
      break;
    }
    EXPECT_EQ(nullptr, c) << n;
    ASSERT_LT(n, 20u);
  }
}

// Two threads hand a token back and forth many times, each waiting on its
// own condition (a signal goes to whichever thread waits next, so one
// condition shared by both directions could hand a thread its own signal).
// A lost wake-up would stall one side until the bounded wait fails.
TEST_F(CondFixture, PingPong) {
  KorvConditional *other = nullptr;
  ASSERT_EQ(1u, KorvInitConditional(&other));
  KorvConditional *cv[2] = {c, other};
  int turn = 0;
  bool stalled = false;
  auto player = [&](int me) {
    for (int i = 0; i < 500; i++) {
      KorvLockMutex(m);
      while (turn != me && !stalled)
        if (KorvTimedWaitConditional(cv[me], m, kLong) == 2) stalled = true;
      turn = 1 - me;
      KorvSignalConditional(cv[1 - me]);
      KorvUnlockMutex(m);
    }
  };
  std::thread a(player, 0), b(player, 1);
  a.join();
  b.join();
  EXPECT_FALSE(stalled);
  KorvFreeConditional(other);
}

}  // namespace

// The context switch itself: every value a function may keep in a register
// across a call survives a resume and a yield, on both sides, and a body
// starts on a properly aligned stack.
#include <gtest/gtest.h>

#include <stdint.h>

#include <kvsup.h>

namespace {

// Ten integers and eight doubles, all live across each call of `step`: more
// than any ABI keeps in call-preserved registers, so some sit in those
// registers and the rest on the stack. The doubles stay small integers, so
// their sums are exact however the compiler orders them.
struct Churned {
  uint64_t ints;
  double floats;
};

template <class Step>
Churned churn(uint64_t seed, int rounds, Step step) {
  uint64_t a0 = seed, a1 = seed ^ 0x5555, a2 = seed * 3, a3 = seed + 7, a4 = seed << 3,
           a5 = ~seed, a6 = seed * 11, a7 = seed ^ 0xF0F0F0F0, a8 = seed + 1234, a9 = seed * 101;
  double f0 = double(seed & 0xFF), f1 = f0 + 1, f2 = f0 + 2, f3 = f0 + 3, f4 = f0 + 4,
         f5 = f0 + 5, f6 = f0 + 6, f7 = f0 + 7;
  for (int i = 0; i < rounds; i++) {
    step();
    uint64_t t = a0;
    a0 = a1 * 31 + 1; a1 = a2 * 31 + 2; a2 = a3 * 31 + 3; a3 = a4 * 31 + 4; a4 = a5 * 31 + 5;
    a5 = a6 * 31 + 6; a6 = a7 * 31 + 7; a7 = a8 * 31 + 8; a8 = a9 * 31 + 9; a9 = t * 31 + 10;
    double u = f0;
    f0 = f1 + 1; f1 = f2 + 2; f2 = f3 + 3; f3 = f4 + 4; f4 = f5 + 5; f5 = f6 + 6; f6 = f7 + 7;
    f7 = u + 8;
  }
  return {a0 ^ a1 ^ a2 ^ a3 ^ a4 ^ a5 ^ a6 ^ a7 ^ a8 ^ a9,
          f0 * 1 + f1 * 2 + f2 * 3 + f3 * 4 + f4 * 5 + f5 * 6 + f6 * 7 + f7 * 8};
}

void (*volatile g_nothing)() = [] {};

constexpr int kRounds = 40;

struct BodyResult {
  Churned got{};
  bool aligned = true;
};

[[gnu::noinline]] bool stack_aligned() {
  alignas(16) volatile char probe[16];
  probe[0] = 0;
  return (reinterpret_cast<uintptr_t>(&probe[0]) & 15) == 0;
}

void churning_body(KorvCoro *c, void *arg) {
  auto *r = static_cast<BodyResult *>(arg);
  r->aligned = stack_aligned();
  r->got = churn(0xB0D1, kRounds, [&] { KorvCoroYield(c); });
}

TEST(CoroSwitch, RegistersSurviveOnBothSides) {
  Churned want_body = churn(0xB0D1, kRounds, [] { g_nothing(); });
  Churned want_main = churn(0x3A1E, kRounds, [] { g_nothing(); });

  BodyResult body;
  KorvCoro *c = nullptr;
  ASSERT_EQ(1u, KorvCoroCreate(&c, churning_body, &body, 0));
  int resumes = 0;
  Churned got_main = churn(0x3A1E, kRounds, [&] { resumes += KorvCoroResume(c); });
  EXPECT_EQ(kRounds, resumes);
  EXPECT_EQ(1u, KorvCoroResume(c));  // the body's last round, then it returns
  EXPECT_EQ(1u, c->finished);
  KorvCoroFree(c);

  EXPECT_TRUE(body.aligned);
  EXPECT_EQ(want_main.ints, got_main.ints);
  EXPECT_EQ(want_main.floats, got_main.floats);
  EXPECT_EQ(want_body.ints, body.got.ints);
  EXPECT_EQ(want_body.floats, body.got.floats);
}

}  // namespace

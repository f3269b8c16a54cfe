// Coroutines: the resume/yield protocol, state kept across switches, and
// creation failures.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include <kvsup.h>
#include "core/alloc_testing.h"

namespace {

void two_yields(KorvCoro *c, void *arg) {
  auto *trace = static_cast<std::string *>(arg);
  *trace += 'a';
  EXPECT_EQ(1u, KorvCoroYield(c));
  *trace += 'b';
  KorvCoroYield(c);
  *trace += 'c';
}

TEST(Coro, ThreeResumesThenRefused) {
  std::string trace;
  KorvCoro *c = nullptr;
  ASSERT_EQ(1u, KorvCoroCreate(&c, two_yields, &trace, 0));
  EXPECT_EQ("", trace);  // nothing runs before the first resume
  EXPECT_EQ(1u, KorvCoroResume(c));
  EXPECT_EQ("a", trace);
  // Resumes may come from another thread, one after another.
  uint32_t r = 0;
  std::thread([&] { r = KorvCoroResume(c); }).join();
  EXPECT_EQ(1u, r);
  EXPECT_EQ("ab", trace);
  EXPECT_EQ(1u, KorvCoroResume(c));
  EXPECT_EQ(1u, c->finished);
  EXPECT_EQ(nullptr, c->fiber);
  EXPECT_EQ(0u, KorvCoroResume(c));
  EXPECT_EQ("abc", trace);
  EXPECT_EQ(1u, KorvCoroFree(c));
}

TEST(Coro, FreeWithoutRunningOrMidway) {
  std::string trace;
  KorvCoro *c = nullptr;
  ASSERT_EQ(1u, KorvCoroCreate(&c, two_yields, &trace, 64 * 1024));
  EXPECT_EQ(1u, KorvCoroFree(c));
  ASSERT_EQ(1u, KorvCoroCreate(&c, two_yields, &trace, 64 * 1024));
  KorvCoroResume(c);
  EXPECT_EQ(1u, KorvCoroFree(c));
  EXPECT_EQ("a", trace);
}

// Values live in registers and on both stacks across many switches; the
// generator nests a second coroutine and uses a good part of its stack.
struct Gen {
  double value = 0;
  KorvCoro *inner = nullptr;
};

void counter(KorvCoro *c, void *arg) {
  for (int i = 1; i <= 100; i++) {
    *static_cast<double *>(arg) = i;
    KorvCoroYield(c);
  }
}

void fib(KorvCoro *c, void *arg) {
  auto *g = static_cast<Gen *>(arg);
  volatile char scratch[32 * 1024];
  scratch[0] = 1;
  double a = 0, b = 1, step = 0;
  KorvCoroCreate(&g->inner, counter, &step, 0);
  for (int i = 0; i < 100; i++) {
    KorvCoroResume(g->inner);
    g->value = step == i + 1 ? a : -1;
    double next = a + b;
    a = b;
    b = next;
    KorvCoroYield(c);
  }
  KorvCoroFree(g->inner);
  EXPECT_EQ(1, scratch[0]);
}

TEST(Coro, StateSurvivesSwitches) {
  Gen g;
  KorvCoro *c = nullptr;
  ASSERT_EQ(1u, KorvCoroCreate(&c, fib, &g, 0));
  double a = 0, b = 1;
  for (int i = 0; i < 100; i++) {
    ASSERT_EQ(1u, KorvCoroResume(c));
    ASSERT_EQ(a, g.value) << i;
    double next = a + b;
    a = b;
    b = next;
  }
  EXPECT_EQ(1u, KorvCoroResume(c));  // the body returns
  EXPECT_EQ(0u, KorvCoroResume(c));
  KorvCoroFree(c);
}

TEST(Coro, CreateFailsWithoutMemory) {
  EXPECT_EQ(0u, KorvCoroCreate(nullptr, two_yields, nullptr, 0));
  for (unsigned long n = 1;; n++) {
    KorvCoro *c = reinterpret_cast<KorvCoro *>(1);
    korv_testing_fail_alloc(n);
    uint32_t r = KorvCoroCreate(&c, two_yields, nullptr, 0);
    korv_testing_fail_alloc(0);
    if (r == 1) {
      KorvCoroFree(c);
      break;
    }
    EXPECT_EQ(nullptr, c);
    ASSERT_LT(n, 10u);
  }
}

}  // namespace

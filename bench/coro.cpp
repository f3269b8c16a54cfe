// One coroutine resume+yield round trip beside the same round trip through
// ucontext's swapcontext.
#include <benchmark/benchmark.h>
#include <ucontext.h>

#include <cstdlib>

#include <kvsup.h>

static void spin(KorvCoro *c, void *) {
  for (;;) KorvCoroYield(c);
}

static void BM_KorvCoroRoundTrip(benchmark::State &state) {
  KorvCoro *c = nullptr;
  KorvCoroCreate(&c, spin, nullptr, 64 * 1024);
  for (auto _ : state) KorvCoroResume(c);
  KorvCoroFree(c);
}
BENCHMARK(BM_KorvCoroRoundTrip);

static ucontext_t g_main_ctx, g_coro_ctx;

static void uc_spin() {
  for (;;) swapcontext(&g_coro_ctx, &g_main_ctx);
}

static void BM_SwapcontextRoundTrip(benchmark::State &state) {
  void *stack = std::malloc(64 * 1024);
  getcontext(&g_coro_ctx);
  g_coro_ctx.uc_stack.ss_sp = stack;
  g_coro_ctx.uc_stack.ss_size = 64 * 1024;
  g_coro_ctx.uc_link = nullptr;
  makecontext(&g_coro_ctx, uc_spin, 0);
  for (auto _ : state) swapcontext(&g_main_ctx, &g_coro_ctx);
  std::free(stack);
}
BENCHMARK(BM_SwapcontextRoundTrip);

BENCHMARK_MAIN();

// Uncontended lock/unlock of kvsup's mutex and critical section beside
// pthread_mutex and std::mutex, and a two-thread ping-pong through
// KorvConditional beside std::condition_variable.
#include <benchmark/benchmark.h>
#include <pthread.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include <kvsup.h>

static void BM_KorvMutex(benchmark::State &state) {
  KorvMutex *m = nullptr;
  KorvInitMutex(&m);
  for (auto _ : state) {
    KorvLockMutex(m);
    KorvUnlockMutex(m);
  }
  KorvFreeMutex(m);
}
BENCHMARK(BM_KorvMutex);

static void BM_KorvCriticalSection(benchmark::State &state) {
  KorvCriticalSection *cs = nullptr;
  KorvInitCriticalSection(&cs);
  for (auto _ : state) {
    KorvEnterCriticalSection(cs);
    KorvLeaveCriticalSection(cs);
  }
  KorvFreeCriticalSection(cs);
}
BENCHMARK(BM_KorvCriticalSection);

static void BM_PthreadMutex(benchmark::State &state) {
  pthread_mutex_t m = PTHREAD_MUTEX_INITIALIZER;
  for (auto _ : state) {
    pthread_mutex_lock(&m);
    pthread_mutex_unlock(&m);
  }
}
BENCHMARK(BM_PthreadMutex);

static void BM_StdMutex(benchmark::State &state) {
  std::mutex m;
  for (auto _ : state) {
    m.lock();
    m.unlock();
  }
}
BENCHMARK(BM_StdMutex);

// One round trip: the main thread hands the turn over and waits for it to
// come back. Each direction has its own condition.
static void BM_KorvConditionalPingPong(benchmark::State &state) {
  KorvMutex *m = nullptr;
  KorvConditional *cv[2] = {};
  KorvInitMutex(&m);
  KorvInitConditional(&cv[0]);
  KorvInitConditional(&cv[1]);
  int turn = 0;
  bool stop = false;
  std::thread partner([&] {
    KorvLockMutex(m);
    for (;;) {
      while (turn != 1 && !stop) KorvWaitConditional(cv[1], m);
      if (stop) break;
      turn = 0;
      KorvSignalConditional(cv[0]);
    }
    KorvUnlockMutex(m);
  });
  KorvLockMutex(m);
  for (auto _ : state) {
    turn = 1;
    KorvSignalConditional(cv[1]);
    while (turn != 0) KorvWaitConditional(cv[0], m);
  }
  stop = true;
  KorvSignalConditional(cv[1]);
  KorvUnlockMutex(m);
  partner.join();
  KorvFreeConditional(cv[0]);
  KorvFreeConditional(cv[1]);
  KorvFreeMutex(m);
}
BENCHMARK(BM_KorvConditionalPingPong)->UseRealTime();

static void BM_StdConditionPingPong(benchmark::State &state) {
  std::mutex m;
  std::condition_variable cv[2];
  int turn = 0;
  bool stop = false;
  std::thread partner([&] {
    std::unique_lock<std::mutex> lock(m);
    for (;;) {
      cv[1].wait(lock, [&] { return turn == 1 || stop; });
      if (stop) break;
      turn = 0;
      cv[0].notify_one();
    }
  });
  {
    std::unique_lock<std::mutex> lock(m);
    for (auto _ : state) {
      turn = 1;
      cv[1].notify_one();
      cv[0].wait(lock, [&] { return turn == 0; });
    }
    stop = true;
    cv[1].notify_one();
  }
  partner.join();
}
BENCHMARK(BM_StdConditionPingPong)->UseRealTime();

BENCHMARK_MAIN();

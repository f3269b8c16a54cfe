// Reading a setting that has been read before: KorvGetenv (its table) beside
// the C runtime's getenv, with 100 variables in the process environment.
#include <benchmark/benchmark.h>
#include <stdio.h>
#include <stdlib.h>
#include <kvsup.h>

namespace {

// 100 variables, the one asked for among the last of them.
void fill_environment()
{
    static bool done = false;
    if (done)
        return;
    char name[32];
    for (int i = 0; i < 100; i++) {
        snprintf(name, sizeof name, "KVBENCH_VARIABLE_%03d", i);
        setenv(name, "/some/directory/value", 1);
    }
    done = true;
}

const char kName[] = "KVBENCH_VARIABLE_097";

void BM_KorvGetenv(benchmark::State &state)
{
    fill_environment();
    // A few other settings sit in the table too, as in a running engine.
    KorvGetenv("KVBENCH_VARIABLE_001");
    KorvGetenv("KVBENCH_VARIABLE_050");
    KorvGetenv(kName);
    for (auto _ : state)
        benchmark::DoNotOptimize(KorvGetenv(kName));
}
BENCHMARK(BM_KorvGetenv);

void BM_getenv(benchmark::State &state)
{
    fill_environment();
    for (auto _ : state)
        benchmark::DoNotOptimize(getenv(kName));
}
BENCHMARK(BM_getenv);

} // namespace

BENCHMARK_MAIN();

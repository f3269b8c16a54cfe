// Allocation of 16 to 64-byte strings: kvsup's small heap beside malloc and
// free. Each round takes 1024 pieces and gives them all back (a release of
// the heap, a free of each piece), so both sides pay for their clean-up.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <vector>
#include <kvsup.h>

namespace {

const int kRound = 1024;

// Strings of 16 to 64 bytes, the terminator included.
const std::vector<std::string> &strings()
{
    static std::vector<std::string> list = [] {
        std::vector<std::string> v;
        uint32_t x = 88172645u;
        for (int i = 0; i < kRound; i++) {
            x ^= x << 13, x ^= x >> 17, x ^= x << 5;
            v.emplace_back(15 + x % 49, (char)('a' + i % 26));
        }
        return v;
    }();
    return list;
}

void BM_SmallHeap_Alloc(benchmark::State &state)
{
    const auto &list = strings();
    KorvSmallHeap *heap = KorvSmallHeapInit();
    for (auto _ : state) {
        for (const std::string &s : list)
            benchmark::DoNotOptimize(korv_internal_sh_malloc(heap, s.size() + 1));
        KorvSmallHeapRelease(heap);
    }
    KorvSmallHeapFree(heap);
    state.SetItemsProcessed((int64_t)state.iterations() * kRound);
}
BENCHMARK(BM_SmallHeap_Alloc);

void BM_Malloc_Alloc(benchmark::State &state)
{
    const auto &list = strings();
    std::vector<void *> pieces(kRound);
    for (auto _ : state) {
        for (int i = 0; i < kRound; i++) {
            pieces[i] = malloc(list[i].size() + 1);
            benchmark::DoNotOptimize(pieces[i]);
        }
        for (void *p : pieces)
            free(p);
    }
    state.SetItemsProcessed((int64_t)state.iterations() * kRound);
}
BENCHMARK(BM_Malloc_Alloc);

void BM_SmallHeap_StrDup(benchmark::State &state)
{
    const auto &list = strings();
    KorvSmallHeap *heap = KorvSmallHeapInit();
    for (auto _ : state) {
        for (const std::string &s : list)
            benchmark::DoNotOptimize(KorvShStrDup(heap, s.c_str()));
        KorvSmallHeapRelease(heap);
    }
    KorvSmallHeapFree(heap);
    state.SetItemsProcessed((int64_t)state.iterations() * kRound);
}
BENCHMARK(BM_SmallHeap_StrDup);

void BM_Malloc_StrDup(benchmark::State &state)
{
    const auto &list = strings();
    std::vector<char *> pieces(kRound);
    for (auto _ : state) {
        for (int i = 0; i < kRound; i++) {
            pieces[i] = strdup(list[i].c_str());
            benchmark::DoNotOptimize(pieces[i]);
        }
        for (char *p : pieces)
            free(p);
    }
    state.SetItemsProcessed((int64_t)state.iterations() * kRound);
}
BENCHMARK(BM_Malloc_StrDup);

} // namespace

BENCHMARK_MAIN();

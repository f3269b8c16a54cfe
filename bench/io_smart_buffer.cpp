// 256 MiB through a memory-only smart buffer in 4 KiB appends and reads (16
// MiB queued at a time) beside the same bytes moved with memcpy.
#include <benchmark/benchmark.h>
#include <kvsup.h>

#include <cstring>
#include <vector>

namespace {

const size_t kPiece = 4096;
const size_t kBatch = 16u << 20;
const size_t kTotal = 256u << 20;

void BM_KorvSmartBuffer(benchmark::State &state) {
    std::vector<char> in(kPiece, 'i'), out(kPiece);
    for (auto _ : state) {
        KorvSmartBuffer *sb = KorvSBInit(1, 256);
        for (size_t done = 0; done < kTotal; done += kBatch) {
            for (size_t i = 0; i < kBatch; i += kPiece) KorvSBAppend(sb, in.data(), kPiece);
            for (size_t i = 0; i < kBatch; i += kPiece) KorvSBRead(sb, out.data(), kPiece);
        }
        benchmark::DoNotOptimize(out.data());
        KorvSBFree(sb);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
}
BENCHMARK(BM_KorvSmartBuffer)->Unit(benchmark::kMillisecond);

void BM_memcpy(benchmark::State &state) {
    std::vector<char> in(kPiece, 'i'), out(kPiece), queue(kBatch);
    for (auto _ : state) {
        for (size_t done = 0; done < kTotal; done += kBatch) {
            for (size_t i = 0; i < kBatch; i += kPiece) std::memcpy(queue.data() + i, in.data(), kPiece);
            for (size_t i = 0; i < kBatch; i += kPiece) std::memcpy(out.data(), queue.data() + i, kPiece);
            benchmark::ClobberMemory();
        }
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
}
BENCHMARK(BM_memcpy)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();

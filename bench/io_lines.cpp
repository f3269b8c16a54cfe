// Reading 64 MiB of short lines: KorvIOReadString over a memory stream beside
// getline(3) on an in-memory FILE (fmemopen).
#include <benchmark/benchmark.h>
#include <kvsup.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

const std::string &text() {
    static std::string t = [] {
        std::string s;
        s.reserve(64u << 20);
        uint32_t x = 7;
        while (s.size() < (64u << 20)) {
            x = x * 1103515245u + 12345u;
            size_t len = 8 + (x >> 16) % 40;
            s.append(len, static_cast<char>('a' + (x >> 8) % 26));
            s.push_back('\n');
        }
        return s;
    }();
    return t;
}

void BM_KorvIOReadString(benchmark::State &state) {
    const std::string &t = text();
    KorvIO *io = KorvIO_Mem(t.size());
    KorvIOWriteBytes(io, t.data(), t.size());
    char line[256];
    for (auto _ : state) {
        io->seek(io, 0, 0);
        int64_t lines = 0, n;
        while ((n = KorvIOReadString(io, line, 255)) > 0) ++lines;
        benchmark::DoNotOptimize(lines);
    }
    io->close(io);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.size()));
}
BENCHMARK(BM_KorvIOReadString)->Unit(benchmark::kMillisecond);

// The same lines through a string stream, whose bytes come one slot call
// at a time (memory streams are read from their block directly).
void BM_KorvIOReadString_ByteReads(benchmark::State &state) {
    std::string t = text();
    char line[256];
    for (auto _ : state) {
        KorvIO *io = KorvIO_Str(t.data(), t.size());
        int64_t lines = 0;
        while (KorvIOReadString(io, line, 255) > 0) ++lines;
        io->close(io);
        benchmark::DoNotOptimize(lines);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.size()));
}
BENCHMARK(BM_KorvIOReadString_ByteReads)->Unit(benchmark::kMillisecond);

void BM_getline_fmemopen(benchmark::State &state) {
    std::string t = text();
    char *line = nullptr;
    size_t cap = 0;
    for (auto _ : state) {
        FILE *f = fmemopen(t.data(), t.size(), "r");
        int64_t lines = 0;
        while (getline(&line, &cap, f) > 0) ++lines;
        std::fclose(f);
        benchmark::DoNotOptimize(lines);
    }
    std::free(line);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.size()));
}
BENCHMARK(BM_getline_fmemopen)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();

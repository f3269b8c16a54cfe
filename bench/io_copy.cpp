// Copying a 256 MiB file to another file: KorvIOCopyBytes between two file
// streams beside cat(1) on the same file.
#include <benchmark/benchmark.h>
#include <kvsup.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

const uint64_t kSize = 256ull << 20;

struct Files {
    std::filesystem::path dir;
    std::string src, dst;
    Files() {
        dir = std::filesystem::temp_directory_path() / "kvsup_bench_io_copy";
        std::filesystem::create_directories(dir);
        src = (dir / "src.bin").string();
        dst = (dir / "dst.bin").string();
        std::vector<char> block(1 << 20);
        uint32_t x = 1;
        for (auto &b : block) b = static_cast<char>((x = x * 1103515245u + 12345u) >> 16);
        FILE *f = std::fopen(src.c_str(), "wb");
        for (uint64_t i = 0; i < kSize; i += block.size()) std::fwrite(block.data(), 1, block.size(), f);
        std::fclose(f);
    }
    ~Files() { std::filesystem::remove_all(dir); }
};

Files &files() {
    static Files f;
    return f;
}

void BM_KorvIOCopyBytes(benchmark::State &state) {
    Files &f = files();
    for (auto _ : state) {
        KorvIO *in = KorvIO_FileName(f.src.c_str(), "rb");
        KorvIO *out = KorvIO_FileName(f.dst.c_str(), "wb");
        int64_t n = KorvIOCopyBytes(out, in, 0);
        in->close(in);
        out->close(out);
        if (n != static_cast<int64_t>(kSize)) state.SkipWithError("short copy");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}
BENCHMARK(BM_KorvIOCopyBytes)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_cat(benchmark::State &state) {
    Files &f = files();
    std::string cmd = "cat '" + f.src + "' > '" + f.dst + "'";
    for (auto _ : state) {
        if (std::system(cmd.c_str()) != 0) state.SkipWithError("cat failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}
BENCHMARK(BM_cat)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();

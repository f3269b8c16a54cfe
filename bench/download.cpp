// Downloading a 256 MiB file from nginx on 127.0.0.1 into a file: KorvIO_URL
// and KorvIOCopyBytes into a file stream, beside curl -o on the same URL.
// nginx is started by the network tests' own script (tests/net/servers.sh).
#include <benchmark/benchmark.h>
#include <kvsup.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#ifndef KV_SOURCE_DIR
#define KV_SOURCE_DIR "."
#endif

namespace {

const uint64_t kSize = 256ull << 20;

struct Server {
    std::filesystem::path dir;
    std::string script, url, dst, error;

    Server() {
        const char *src = std::getenv("KV_SOURCE_DIR");
        script = std::string(src && *src ? src : KV_SOURCE_DIR) + "/tests/net/servers.sh";
        dir = std::filesystem::temp_directory_path() /
              ("kvsup_bench_download_" + std::to_string(getpid()));
        dst = (dir / "out.bin").string();
        std::string start = "bash '" + script + "' start '" + dir.string() + "' nginx >/dev/null";
        if (std::system(start.c_str()) != 0) {
            error = "nginx did not start (" + script + "); is nginx installed?";
            return;
        }
        int port = 0;
        std::ifstream ports(dir / "ports");
        for (std::string line; std::getline(ports, line);)
            if (line.rfind("nginx=", 0) == 0) port = std::atoi(line.c_str() + 6);
        if (port == 0) {
            error = "nginx gave no port";
            return;
        }
        std::vector<char> block(1 << 20);
        uint32_t x = 1;
        for (auto &b : block) b = static_cast<char>((x = x * 1103515245u + 12345u) >> 16);
        FILE *f = std::fopen((dir / "www" / "files" / "big256.bin").c_str(), "wb");
        if (!f) {
            error = "cannot write the served file";
            return;
        }
        for (uint64_t i = 0; i < kSize; i += block.size()) std::fwrite(block.data(), 1, block.size(), f);
        std::fclose(f);
        url = "http://127.0.0.1:" + std::to_string(port) + "/files/big256.bin";
    }
    ~Server() {
        std::string stop = "bash '" + script + "' stop '" + dir.string() + "' >/dev/null 2>&1";
        std::system(stop.c_str());
        std::error_code ignored;
        std::filesystem::remove_all(dir, ignored);
    }
};

Server &server() {
    static Server s;
    return s;
}

void BM_KorvDownload(benchmark::State &state) {
    Server &s = server();
    if (!s.error.empty()) {
        state.SkipWithError(s.error.c_str());
        return;
    }
    for (auto _ : state) {
        KorvIO *in = KorvIO_URL(s.url.c_str(), "rb");
        KorvIO *out = KorvIO_FileName(s.dst.c_str(), "wb");
        if (!in || !out) {
            if (in) in->close(in);
            if (out) out->close(out);
            state.SkipWithError("cannot open the download or the file");
            return;
        }
        int64_t n = KorvIOCopyBytes(out, in, 0);
        in->close(in);
        out->close(out);
        if (n != static_cast<int64_t>(kSize)) {
            state.SkipWithError("short download");
            return;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}
BENCHMARK(BM_KorvDownload)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_CurlDownload(benchmark::State &state) {
    Server &s = server();
    if (!s.error.empty()) {
        state.SkipWithError(s.error.c_str());
        return;
    }
    std::string cmd = "curl -s -o '" + s.dst + "' '" + s.url + "'";
    for (auto _ : state) {
        if (std::system(cmd.c_str()) != 0) {
            state.SkipWithError("curl failed (is curl installed?)");
            return;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}
BENCHMARK(BM_CurlDownload)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();

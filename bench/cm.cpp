// CM reading speed, each measured beside its peer in the same run:
//  - tokenizing a 16 MiB document of labels and values, beside a plain loop
//    that reads the same bytes one at a time through the same read slot;
//  - reading a document whose inline data totals 64 MiB into a tree, beside
//    coreutils `base64 -d` decoding the same base64 text.
#include "kvsup.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

// A read-only stream over memory; writes are counted and dropped.
struct MemIO {
    KorvIO io{};
    const std::string *data = nullptr;
    size_t pos = 0;
    uint64_t written = 0;

    explicit MemIO(const std::string *d) : data(d)
    {
        io.read = [](KorvIO *s, void *dst, uint64_t n) -> int64_t {
            MemIO *m = reinterpret_cast<MemIO *>(s);
            size_t k = std::min<size_t>(n, m->data->size() - m->pos);
            std::memcpy(dst, m->data->data() + m->pos, k);
            m->pos += k;
            return static_cast<int64_t>(k);
        };
        io.write = [](KorvIO *s, const void *, uint64_t n) -> int64_t {
            reinterpret_cast<MemIO *>(s)->written += n;
            return static_cast<int64_t>(n);
        };
    }
};

const std::string &label_document()
{
    static std::string doc = [] {
        std::string d = "<ID>\n[Section]\n";
        char line[96];
        for (unsigned i = 0; d.size() < (16u << 20); i++) {
            int n = std::snprintf(line, sizeof line, "label_%u: value_%u  \"quoted %u\"\n", i, i * 7, i);
            d.append(line, static_cast<size_t>(n));
        }
        return d;
    }();
    return doc;
}

void BM_TokenizeLabels(benchmark::State &state)
{
    const std::string &doc = label_document();
    for (auto _ : state) {
        MemIO in(&doc), out(nullptr);
        int tokens = 0;
        while (KorvReadUserCM(&in.io, &out.io) != KORV_CM_EOF)
            tokens++;
        benchmark::DoNotOptimize(tokens);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}
BENCHMARK(BM_TokenizeLabels)->Unit(benchmark::kMillisecond);

void BM_ReadSlotByteLoop(benchmark::State &state)
{
    const std::string &doc = label_document();
    for (auto _ : state) {
        MemIO in(&doc);
        unsigned char c;
        unsigned sum = 0;
        while (in.io.read(&in.io, &c, 1) == 1)
            sum += c;
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}
BENCHMARK(BM_ReadSlotByteLoop)->Unit(benchmark::kMillisecond);

constexpr size_t kChunk = 1048575;  // a multiple of 3: no padding between chunks
constexpr int kChunks = 64;

std::string base64(const std::string &bytes)
{
    static const char a[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve(bytes.size() / 3 * 4 + 4);
    for (size_t i = 0; i + 3 <= bytes.size(); i += 3) {
        uint32_t v = static_cast<unsigned char>(bytes[i]) << 16 |
                     static_cast<unsigned char>(bytes[i + 1]) << 8 |
                     static_cast<unsigned char>(bytes[i + 2]);
        out += a[v >> 18];
        out += a[(v >> 12) & 63];
        out += a[(v >> 6) & 63];
        out += a[v & 63];
    }
    return out;
}

struct DataDocument {
    std::string doc;     // the CM document
    std::string text;    // all of its base64 text, concatenated
};

const DataDocument &data_document()
{
    static DataDocument d = [] {
        DataDocument r;
        std::string bytes(kChunk, '\0');
        uint32_t seed = 1;
        for (char &b : bytes) {
            seed = seed * 1664525u + 1013904223u;
            b = static_cast<char>(seed >> 24);
        }
        std::string chunk = base64(bytes);
        r.doc = "<ID>\n[Data]\n";
        for (int i = 0; i < kChunks; i++) {
            r.doc += "part" + std::to_string(i) + ": \"<<<<Base64Data:" + chunk + ">>>>\"\n";
            r.text += chunk;
        }
        return r;
    }();
    return d;
}

void BM_ReadInlineData(benchmark::State &state)
{
    const DataDocument &d = data_document();
    for (auto _ : state) {
        MemIO in(&d.doc);
        KorvCMNode *root = nullptr;
        if (KorvReadUserCMData(&in.io, &root, 1) != 1)
            state.SkipWithError("read failed");
        KorvFreeUserCMData(root);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.text.size()));
}
BENCHMARK(BM_ReadInlineData)->Unit(benchmark::kMillisecond)->UseRealTime();

// coreutils base64 -d on the same text, from a file to /dev/null; the
// process start is inside the timing and small against the decode.
void BM_CoreutilsBase64Decode(benchmark::State &state)
{
    const DataDocument &d = data_document();
    char path[] = "/tmp/kvsup_bench_cm_XXXXXX";
    int fd = mkstemp(path);
    if (fd < 0 || write(fd, d.text.data(), d.text.size()) != static_cast<ssize_t>(d.text.size())) {
        state.SkipWithError("cannot write the base64 text");
        return;
    }
    close(fd);
    std::string cmd = std::string("base64 -d < ") + path + " > /dev/null";
    for (auto _ : state) {
        if (std::system(cmd.c_str()) != 0)
            state.SkipWithError("base64 -d failed");
    }
    unlink(path);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.text.size()));
}
BENCHMARK(BM_CoreutilsBase64Decode)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();

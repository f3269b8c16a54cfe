// Header formats on files. An image-ext image of 64 MiB (8-bit RGB),
// written and read back chunk by chunk through file streams, beside a plain
// write and read of the same bytes in the same pieces (the floor). A
// pixelstream of 1 M RGB pixels written and read as text, beside the C
// library's fprintf and fscanf of the same numbers.
#include <benchmark/benchmark.h>
#include <kvsup.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

const uint32_t kWidth = 4096;
const uint32_t kLines = 5461; // 4096 x 5461 x 3 bytes: 64 MiB
const uint32_t kLinesPerChunk = 64;
const uint32_t kLineBytes = kWidth * 3;
const uint32_t kPixels = 1u << 20;

struct Data {
    std::filesystem::path dir;
    std::string file;
    std::vector<unsigned char> image;
    Data()
    {
        dir = std::filesystem::temp_directory_path() / "kvsup_bench_header";
        std::filesystem::create_directories(dir);
        file = (dir / "data").string();
        image.resize(static_cast<size_t>(kLineBytes) * kLines);
        uint32_t x = 1;
        for (auto &b : image)
            b = static_cast<unsigned char>((x = x * 1103515245u + 12345u) >> 16);
    }
    ~Data() { std::filesystem::remove_all(dir); }
};

Data &data()
{
    static Data d;
    return d;
}

KorvGenericHeader *rgb_header(const char *format, const char *version, KVHdrManager *m,
                              uint32_t pixels, uint32_t lines)
{
    KorvGenericHeader *h = nullptr;
    KVHdrGetManager_Str(format, version, m);
    KVHdrCreateHeader(m, &h);
    h->pixels = pixels;
    h->scanlines = lines;
    h->dimensions = 2;
    h->imageParts[0] = 3;
    h->bitsPerSample[0] = 8;
    h->interleave = 1;
    h->colorSpace = 2;
    KorvHeaderFillInBytes(h);
    return h;
}

void BM_ImageExtFileChunks(benchmark::State &state)
{
    Data &d = data();
    KVHdrManager m{};
    KorvGenericHeader *h = rgb_header("image-ext", "1.0", &m, kWidth, kLines);
    for (auto _ : state) {
        KorvIO *out = KorvIO_FileName(d.file.c_str(), "wb");
        KVHdrWrite_Header(h, &m, out);
        for (uint32_t line = 0; line < kLines; line += kLinesPerChunk) {
            uint32_t n = kLines - line < kLinesPerChunk ? kLines - line : kLinesPerChunk;
            KorvChunk c{};
            c.data = d.image.data() + static_cast<size_t>(line) * kLineBytes;
            c.size = n * kLineBytes;
            c.aux = n;
            KVHdrFromChunk(&m, h, out, &c);
        }
        out->close(out);

        KorvIO *in = KorvIO_FileName(d.file.c_str(), "rb");
        KVHdrManager found{};
        KorvGenericHeader *g = nullptr;
        uint64_t total = 0;
        if (KVHdrRead_Header(in, &found, &g) == 1) {
            KorvChunk c{};
            while (KVHdrToChunk(&found, g, in, &c) == 1 && c.size) {
                benchmark::DoNotOptimize(c.data[c.size - 1]);
                total += c.size;
            }
            g->free(g);
        }
        in->close(in);
        if (total != d.image.size())
            state.SkipWithError("short image");
    }
    h->free(h);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.image.size() * 2));
}
BENCHMARK(BM_ImageExtFileChunks)->Unit(benchmark::kMillisecond)->UseRealTime();

// The floor: the same bytes in the same pieces, written and read with the
// C library and no framing.
void BM_PlainFileChunks(benchmark::State &state)
{
    Data &d = data();
    std::vector<unsigned char> piece(static_cast<size_t>(kLinesPerChunk) * kLineBytes);
    for (auto _ : state) {
        FILE *out = std::fopen(d.file.c_str(), "wb");
        std::setvbuf(out, nullptr, _IONBF, 0);
        for (size_t at = 0; at < d.image.size(); at += piece.size()) {
            size_t n = d.image.size() - at < piece.size() ? d.image.size() - at : piece.size();
            std::fwrite(d.image.data() + at, 1, n, out);
        }
        std::fclose(out);
        FILE *in = std::fopen(d.file.c_str(), "rb");
        std::setvbuf(in, nullptr, _IONBF, 0);
        uint64_t total = 0;
        for (size_t n; (n = std::fread(piece.data(), 1, piece.size(), in)) > 0;) {
            benchmark::DoNotOptimize(piece[n - 1]);
            total += n;
        }
        std::fclose(in);
        if (total != d.image.size())
            state.SkipWithError("short copy");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.image.size() * 2));
}
BENCHMARK(BM_PlainFileChunks)->Unit(benchmark::kMillisecond)->UseRealTime();

// 1 M pixels of text through stdio files, in chunks of 4096 pixels.
void BM_PixelstreamText(benchmark::State &state)
{
    Data &d = data();
    KVHdrManager m{};
    KorvGenericHeader *h = rgb_header("pixelstream", "1.0-ascii", &m, 1, 1);
    const uint32_t per = 4096;
    for (auto _ : state) {
        FILE *f = std::fopen(d.file.c_str(), "wb");
        KorvIO *out = KorvIO_FP(f);
        KVHdrWrite_Header(h, &m, out);
        for (uint32_t px = 0; px < kPixels; px += per) {
            KorvChunk c{};
            c.data = d.image.data() + static_cast<size_t>(px) * 3;
            c.size = per * 3;
            c.aux = per;
            KVHdrFromChunk(&m, h, out, &c);
        }
        out->close(out);
        std::fclose(f);

        f = std::fopen(d.file.c_str(), "rb");
        KorvIO *in = KorvIO_FP(f);
        KVHdrManager found{};
        KorvGenericHeader *g = nullptr;
        uint64_t pixels = 0;
        if (KVHdrRead_Header(in, &found, &g) == 1) {
            KorvChunk c{};
            while (KVHdrToChunkLines(&found, g, in, &c, per) == 1 && c.aux) {
                benchmark::DoNotOptimize(c.data[c.size - 1]);
                pixels += c.aux;
                if (c.flags & 1)
                    break;
            }
            g->free(g);
        }
        in->close(in);
        std::fclose(f);
        if (pixels != kPixels)
            state.SkipWithError("short pixel stream");
    }
    h->free(h);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kPixels));
}
BENCHMARK(BM_PixelstreamText)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_StdioPrintfScanf(benchmark::State &state)
{
    Data &d = data();
    std::vector<unsigned char> back(static_cast<size_t>(kPixels) * 3);
    for (auto _ : state) {
        FILE *f = std::fopen(d.file.c_str(), "wb");
        const unsigned char *p = d.image.data();
        for (uint32_t px = 0; px < kPixels; px++, p += 3)
            std::fprintf(f, " %u %u %u\n", p[0], p[1], p[2]);
        std::fclose(f);
        f = std::fopen(d.file.c_str(), "rb");
        unsigned a, b, c;
        uint32_t pixels = 0;
        while (pixels < kPixels && std::fscanf(f, "%u %u %u", &a, &b, &c) == 3) {
            back[pixels * 3] = static_cast<unsigned char>(a);
            back[pixels * 3 + 1] = static_cast<unsigned char>(b);
            back[pixels * 3 + 2] = static_cast<unsigned char>(c);
            pixels++;
        }
        std::fclose(f);
        benchmark::DoNotOptimize(back.data());
        if (pixels != kPixels)
            state.SkipWithError("short scan");
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kPixels));
}
BENCHMARK(BM_StdioPrintfScanf)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();

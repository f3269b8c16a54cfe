// UTF-8 to UTF-16 and back over 1 MiB of text, ASCII (argument 0) and mixed
// Latin/CJK (argument 1): kvsup beside glibc's iconv on the same inputs.
// iconv converts into a buffer made ready beforehand; kvsup's figures
// include finding the end, sizing and making the result. The Path figures
// run each way kvsup has (one character at a time, SSE2, AVX2, NEON) on the
// same texts; the plain kvsup figures use the machine's fastest way.
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <string>
#include <vector>
#include <kvsup.h>
#include "util/utf16_paths.h"

namespace {

const size_t kSize = 1 << 20;

std::string fill(const std::vector<std::string> &words)
{
    std::string text;
    uint32_t x = 2463534242u;
    while (text.size() < kSize) {
        x ^= x << 13, x ^= x >> 17, x ^= x << 5;
        text += words[x % words.size()];
        text += ' ';
    }
    // Cut at a character boundary at or below 1 MiB.
    size_t end = kSize;
    while ((text[end] & 0xC0) == 0x80)
        end--;
    text.resize(end);
    return text;
}

const std::string &ascii_text()
{
    static std::string text = fill({"image", "header", "chunk", "stream", "pixel", "module",
                                    "bundle", "the", "of", "42", "3.14159", "korvane,"});
    return text;
}

const std::string &mixed_text()
{
    static std::string text = fill({"Gr\xC3\xBC\xC3\x9F" "e", "\xC3\xA7" "a", "caf\xC3\xA9",
                                    "na\xC3\xAFve", "\xE4\xB8\xAD\xE6\x96\x87",
                                    "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E",
                                    "\xED\x95\x9C\xEA\xB5\xAD\xEC\x96\xB4",
                                    "\xE3\x83\x86\xE3\x82\xAD\xE3\x82\xB9\xE3\x83\x88", "image",
                                    "\xE5\x9B\xBE\xE5\x83\x8F", "\xC5\x81\xC3\xB3" "d\xC5\xBA"});
    return text;
}

const std::string &text_of(int which)
{
    return which == 0 ? ascii_text() : mixed_text();
}

std::vector<uint16_t> utf16_of(int which)
{
    uint16_t *w = KorvUTF8ConvertToUTF16(text_of(which).c_str());
    size_t n = KorvWideStrLen(w);
    std::vector<uint16_t> units(w, w + n + 1);
    korv_internal_free(w);
    return units;
}

void label(benchmark::State &state)
{
    state.SetLabel(state.range(0) == 0 ? "ascii" : "latin+cjk");
    state.SetBytesProcessed((int64_t)state.iterations() * (int64_t)text_of((int)state.range(0)).size());
}

void BM_Korv_UTF8ToUTF16(benchmark::State &state)
{
    const std::string &text = text_of((int)state.range(0));
    for (auto _ : state) {
        uint16_t *w = KorvUTF8ConvertToUTF16(text.c_str());
        benchmark::DoNotOptimize(w);
        korv_internal_free(w);
    }
    label(state);
}

void BM_Iconv_UTF8ToUTF16(benchmark::State &state)
{
    const std::string &text = text_of((int)state.range(0));
    std::vector<char> out(text.size() * 2 + 2);
    iconv_t cd = iconv_open("UTF-16LE", "UTF-8");
    for (auto _ : state) {
        char *in = const_cast<char *>(text.data());
        size_t in_left = text.size(), out_left = out.size();
        char *dst = out.data();
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        if (iconv(cd, &in, &in_left, &dst, &out_left) == (size_t)-1)
            state.SkipWithError("iconv failed");
        benchmark::DoNotOptimize(dst);
    }
    iconv_close(cd);
    label(state);
}

void BM_Korv_UTF16ToUTF8(benchmark::State &state)
{
    std::vector<uint16_t> units = utf16_of((int)state.range(0));
    for (auto _ : state) {
        char *s = KorvUTF8ConvertFromUTF16(units.data());
        benchmark::DoNotOptimize(s);
        korv_internal_free(s);
    }
    label(state);
}

void BM_Iconv_UTF16ToUTF8(benchmark::State &state)
{
    std::vector<uint16_t> units = utf16_of((int)state.range(0));
    std::vector<char> out(units.size() * 3 + 1);
    iconv_t cd = iconv_open("UTF-8", "UTF-16LE");
    for (auto _ : state) {
        char *in = reinterpret_cast<char *>(units.data());
        size_t in_left = (units.size() - 1) * 2, out_left = out.size();
        char *dst = out.data();
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        if (iconv(cd, &in, &in_left, &dst, &out_left) == (size_t)-1)
            state.SkipWithError("iconv failed");
        benchmark::DoNotOptimize(dst);
    }
    iconv_close(cd);
    label(state);
}

const char *const kPathNames[] = {"scalar", "sse2", "avx2", "neon"};

// Forces the way of the second argument for one benchmark.
void use_path(benchmark::State &state)
{
    korv::utf16::force_path((korv::utf16::Path)state.range(1));
}

void path_label(benchmark::State &state)
{
    korv::utf16::reset_path();
    label(state);
    state.SetLabel(std::string(state.range(0) == 0 ? "ascii " : "latin+cjk ") + kPathNames[state.range(1)]);
}

void BM_KorvPath_UTF8ToUTF16(benchmark::State &state)
{
    use_path(state);
    const std::string &text = text_of((int)state.range(0));
    for (auto _ : state) {
        uint16_t *w = KorvUTF8ConvertToUTF16(text.c_str());
        benchmark::DoNotOptimize(w);
        korv_internal_free(w);
    }
    path_label(state);
}

void BM_KorvPath_UTF16ToUTF8(benchmark::State &state)
{
    use_path(state);
    std::vector<uint16_t> units = utf16_of((int)state.range(0));
    for (auto _ : state) {
        char *s = KorvUTF8ConvertFromUTF16(units.data());
        benchmark::DoNotOptimize(s);
        korv_internal_free(s);
    }
    path_label(state);
}

BENCHMARK(BM_Korv_UTF8ToUTF16)->Arg(0)->Arg(1);
BENCHMARK(BM_Iconv_UTF8ToUTF16)->Arg(0)->Arg(1);
BENCHMARK(BM_Korv_UTF16ToUTF8)->Arg(0)->Arg(1);
BENCHMARK(BM_Iconv_UTF16ToUTF8)->Arg(0)->Arg(1);

// The ways this machine has, each on both texts.
const bool kPathsRegistered = [] {
    for (int path = 0; path < 4; path++) {
        if (!korv::utf16::blocks_of((korv::utf16::Path)path))
            continue;
        for (int which = 0; which < 2; which++) {
            benchmark::RegisterBenchmark("BM_KorvPath_UTF8ToUTF16", BM_KorvPath_UTF8ToUTF16)->Args({which, path});
            benchmark::RegisterBenchmark("BM_KorvPath_UTF16ToUTF8", BM_KorvPath_UTF16ToUTF8)->Args({which, path});
        }
    }
    return true;
}();

} // namespace

BENCHMARK_MAIN();

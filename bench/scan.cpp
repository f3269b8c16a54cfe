// Formatted input: KorvSScanf beside glibc's sscanf, on the same texts and
// formats, one field kind per case and a mixed line of five conversions.
#include <benchmark/benchmark.h>
#include <stdio.h>
#include <string>
#include <vector>
#include <kvsup.h>

namespace {

uint32_t next_random(uint32_t &x)
{
    x ^= x << 13, x ^= x >> 17, x ^= x << 5;
    return x;
}

enum Kind { kDecimal, kHex, kDouble, kWord, kMixed };

// 1024 texts of one kind, made once.
const std::vector<std::string> &texts(Kind kind)
{
    static std::vector<std::string> all[5];
    std::vector<std::string> &v = all[kind];
    if (!v.empty())
        return v;
    uint32_t x = 2463534242u + kind;
    char buf[128];
    for (int i = 0; i < 1024; i++) {
        int32_t n = static_cast<int32_t>(next_random(x)) >> (next_random(x) % 28);
        double d = static_cast<double>(static_cast<int32_t>(next_random(x))) / (1 + next_random(x) % 100000);
        std::string word;
        for (uint32_t k = 0, len = 3 + next_random(x) % 12; k < len; k++)
            word += static_cast<char>('a' + next_random(x) % 26);
        switch (kind) {
        case kDecimal: snprintf(buf, sizeof buf, "%d", n); break;
        case kHex: snprintf(buf, sizeof buf, "%x", static_cast<unsigned>(n)); break;
        case kDouble: snprintf(buf, sizeof buf, "%.*g", 1 + static_cast<int>(next_random(x) % 17), d); break;
        case kWord: snprintf(buf, sizeof buf, "%s", word.c_str()); break;
        case kMixed:
            snprintf(buf, sizeof buf, "%s = %d, %x %.6g %c", word.c_str(), n, static_cast<unsigned>(n) >> 3, d,
                     static_cast<char>('A' + i % 26));
            break;
        }
        v.push_back(buf);
    }
    return v;
}

struct Fields {
    int32_t i, j;
    uint32_t u;
    double d;
    char s[64];
    char c;
};

int korv_one(Kind kind, const char *text, Fields *f)
{
    switch (kind) {
    case kDecimal: return KorvSScanf(text, "%d", &f->i);
    case kHex: return KorvSScanf(text, "%x", &f->u);
    case kDouble: return KorvSScanf(text, "%lf", &f->d);
    case kWord: return KorvSScanf(text, "%63s", f->s);
    default: return KorvSScanf(text, "%63s = %d, %x %lf %c", f->s, &f->i, &f->u, &f->d, &f->c);
    }
}

int glibc_one(Kind kind, const char *text, Fields *f)
{
    switch (kind) {
    case kDecimal: return sscanf(text, "%d", &f->i);
    case kHex: return sscanf(text, "%x", &f->u);
    case kDouble: return sscanf(text, "%lf", &f->d);
    case kWord: return sscanf(text, "%63s", f->s);
    default: return sscanf(text, "%63s = %d, %x %lf %c", f->s, &f->i, &f->u, &f->d, &f->c);
    }
}

template <int (*Scan)(Kind, const char *, Fields *)>
void scan(benchmark::State &state)
{
    const Kind kind = static_cast<Kind>(state.range(0));
    const std::vector<std::string> &v = texts(kind);
    Fields f{};
    for (auto _ : state) {
        for (const std::string &t : v)
            benchmark::DoNotOptimize(Scan(kind, t.c_str(), &f));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(v.size()));
}

void kinds(benchmark::internal::Benchmark *b)
{
    b->ArgNames({"d_x_lf_s_mixed"});
    for (int k = kDecimal; k <= kMixed; k++)
        b->Arg(k);
}

BENCHMARK(scan<korv_one>)->Name("KorvSScanf")->Apply(kinds);
BENCHMARK(scan<glibc_one>)->Name("sscanf")->Apply(kinds);

} // namespace

BENCHMARK_MAIN();

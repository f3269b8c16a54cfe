// Case-insensitive comparison and substring search: kvsup beside glibc's
// strcasecmp and strstr on the same strings.
#include <benchmark/benchmark.h>
#include <string.h>
#include <strings.h>
#include <string>
#include <vector>
#include <kvsup.h>

namespace {

// Pairs of names that agree without regard to case over most of their
// length, as keys and parameter names do.
struct Pairs {
    std::vector<std::string> a, b;
};

const Pairs &pairs()
{
    static Pairs p = [] {
        Pairs r;
        uint32_t x = 2463534242u;
        for (int i = 0; i < 1024; i++) {
            std::string s;
            x ^= x << 13, x ^= x >> 17, x ^= x << 5;
            size_t n = 8 + x % 40;
            for (size_t k = 0; k < n; k++) {
                x ^= x << 13, x ^= x >> 17, x ^= x << 5;
                s += (char)('a' + x % 26);
            }
            std::string t = s;
            for (size_t k = 0; k < n; k += 3)
                t[k] = (char)(t[k] - 32);
            if (i % 4 == 0)
                t.back() = '_';
            r.a.push_back(s);
            r.b.push_back(t);
        }
        return r;
    }();
    return p;
}

template <int (*Compare)(const char *, const char *)>
void case_compare(benchmark::State &state)
{
    const Pairs &p = pairs();
    for (auto _ : state)
        for (size_t i = 0; i < p.a.size(); i++)
            benchmark::DoNotOptimize(Compare(p.a[i].c_str(), p.b[i].c_str()));
    state.SetItemsProcessed((int64_t)state.iterations() * (int64_t)p.a.size());
}

int korv_case_compare(const char *a, const char *b)
{
    return KorvStrCaseCmp(a, b);
}

int glibc_case_compare(const char *a, const char *b)
{
    return strcasecmp(a, b);
}

void BM_Korv_StrCaseCmp(benchmark::State &state)
{
    case_compare<korv_case_compare>(state);
}

void BM_Glibc_strcasecmp(benchmark::State &state)
{
    case_compare<glibc_case_compare>(state);
}

// A 64 KiB text searched for a word near its end and for one it lacks.
const std::string &haystack()
{
    static std::string text = [] {
        std::string t;
        const char *words[] = {"chunk ", "header ", "pixel ", "stream ", "module "};
        for (int i = 0; t.size() < 65536; i++)
            t += words[i % 5];
        t += "needle-in-the-text";
        return t;
    }();
    return text;
}

const char *needle(int which)
{
    return which == 0 ? "needle-in" : "absent-word";
}

void BM_Korv_StrStr(benchmark::State &state)
{
    const std::string &h = haystack();
    for (auto _ : state)
        benchmark::DoNotOptimize(KorvStrStr(h.c_str(), needle((int)state.range(0))));
    state.SetBytesProcessed((int64_t)state.iterations() * (int64_t)h.size());
}

void BM_Glibc_strstr(benchmark::State &state)
{
    const std::string &h = haystack();
    for (auto _ : state)
        benchmark::DoNotOptimize(strstr(h.c_str(), needle((int)state.range(0))));
    state.SetBytesProcessed((int64_t)state.iterations() * (int64_t)h.size());
}

} // namespace

BENCHMARK(BM_Korv_StrCaseCmp);
BENCHMARK(BM_Glibc_strcasecmp);
BENCHMARK(BM_Korv_StrStr)->Arg(0)->Arg(1);
BENCHMARK(BM_Glibc_strstr)->Arg(0)->Arg(1);

BENCHMARK_MAIN();

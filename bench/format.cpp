// Formatted output: KorvSNPrintf beside glibc's snprintf, with std::to_chars
// (no format to read, no padding) as the floor: for integers in the same
// base, for "%e", "%f" and "%g" the scientific, fixed and general forms at
// the same precision. Each case formats the same 1024 values through each
// peer.
#include <benchmark/benchmark.h>
#include <charconv>
#include <stdio.h>
#include <string.h>
#include <string>
#include <vector>
#include <kvsup.h>

namespace {

uint32_t next_random(uint32_t &x)
{
    x ^= x << 13, x ^= x >> 17, x ^= x << 5;
    return x;
}

struct Value {
    int32_t i;
    uint32_t u;
    int64_t l;
    double d;
    char word[16];
};

const std::vector<Value> &values()
{
    static std::vector<Value> v;
    if (!v.empty())
        return v;
    uint32_t x = 2463534242u;
    for (int k = 0; k < 1024; k++) {
        Value value;
        value.i = static_cast<int32_t>(next_random(x)) >> (next_random(x) % 28);
        value.u = next_random(x) >> (next_random(x) % 28);
        value.l = static_cast<int64_t>((static_cast<uint64_t>(next_random(x)) << 32 | next_random(x)) >>
                                       (next_random(x) % 60));
        value.d = static_cast<double>(static_cast<int32_t>(next_random(x))) / (1 + next_random(x) % 100000);
        uint32_t len = 3 + next_random(x) % 12;
        for (uint32_t c = 0; c < len; c++)
            value.word[c] = static_cast<char>('a' + next_random(x) % 26);
        value.word[len] = 0;
        v.push_back(value);
    }
    return v;
}

enum Case { kD, kU, kX, kO, kLld, kW, k08x, kS, kS20, kF3, kF, kG, kE, kMixed };
enum Peer { kKorv, kLibc, kToChars };

template <Peer peer>
size_t format_one(Case c, const Value &v, char *buf, size_t size)
{
    switch (c) {
    case kD:
        if constexpr (peer == kKorv) return KorvSNPrintf(buf, size, "%d", v.i);
        else if constexpr (peer == kLibc) return snprintf(buf, size, "%d", v.i);
        else return std::to_chars(buf, buf + size, v.i).ptr - buf;
    case kU:
        if constexpr (peer == kKorv) return KorvSNPrintf(buf, size, "%u", v.u);
        else if constexpr (peer == kLibc) return snprintf(buf, size, "%u", v.u);
        else return std::to_chars(buf, buf + size, v.u).ptr - buf;
    case kX:
        if constexpr (peer == kKorv) return KorvSNPrintf(buf, size, "%X", v.u);
        else if constexpr (peer == kLibc) return snprintf(buf, size, "%X", v.u);
        else return std::to_chars(buf, buf + size, v.u, 16).ptr - buf;
    case kO:
        if constexpr (peer == kKorv) return KorvSNPrintf(buf, size, "%o", v.u);
        else if constexpr (peer == kLibc) return snprintf(buf, size, "%o", v.u);
        else return std::to_chars(buf, buf + size, v.u, 8).ptr - buf;
    case kLld:
        if constexpr (peer == kKorv) return KorvSNPrintf(buf, size, "%lld", static_cast<long long>(v.l));
        else if constexpr (peer == kLibc) return snprintf(buf, size, "%lld", static_cast<long long>(v.l));
        else return std::to_chars(buf, buf + size, v.l).ptr - buf;
    case kW:
        if constexpr (peer == kKorv) return KorvSNPrintf(buf, size, "%+6d", v.i);
        else if constexpr (peer == kLibc) return snprintf(buf, size, "%+6d", v.i);
        else return std::to_chars(buf, buf + size, v.i).ptr - buf;
    case k08x:
        if constexpr (peer == kKorv) return KorvSNPrintf(buf, size, "%08x", v.u);
        else if constexpr (peer == kLibc) return snprintf(buf, size, "%08x", v.u);
        else return std::to_chars(buf, buf + size, v.u, 16).ptr - buf;
    case kS:
        if constexpr (peer == kKorv) return KorvSNPrintf(buf, size, "%s", v.word);
        else if constexpr (peer == kLibc) return snprintf(buf, size, "%s", v.word);
        else { size_t n = strlen(v.word); memcpy(buf, v.word, n + 1); return n; }
    case kS20:
        if constexpr (peer == kKorv) return KorvSNPrintf(buf, size, "%-20s|", v.word);
        else if constexpr (peer == kLibc) return snprintf(buf, size, "%-20s|", v.word);
        else { size_t n = strlen(v.word); memcpy(buf, v.word, n + 1); return n; }
    case kF3:
        if constexpr (peer == kKorv) return KorvSNPrintf(buf, size, "%.3f", v.d);
        else if constexpr (peer == kLibc) return snprintf(buf, size, "%.3f", v.d);
        else return std::to_chars(buf, buf + size, v.d, std::chars_format::fixed, 3).ptr - buf;
    case kF:
        if constexpr (peer == kKorv) return KorvSNPrintf(buf, size, "%f", v.d);
        else if constexpr (peer == kLibc) return snprintf(buf, size, "%f", v.d);
        else return std::to_chars(buf, buf + size, v.d, std::chars_format::fixed, 6).ptr - buf;
    case kG:
        if constexpr (peer == kKorv) return KorvSNPrintf(buf, size, "%g", v.d);
        else if constexpr (peer == kLibc) return snprintf(buf, size, "%g", v.d);
        else return std::to_chars(buf, buf + size, v.d, std::chars_format::general, 6).ptr - buf;
    case kE:
        if constexpr (peer == kKorv) return KorvSNPrintf(buf, size, "%e", v.d);
        else if constexpr (peer == kLibc) return snprintf(buf, size, "%e", v.d);
        else return std::to_chars(buf, buf + size, v.d, std::chars_format::scientific, 6).ptr - buf;
    case kMixed:
        if constexpr (peer == kKorv)
            return KorvSNPrintf(buf, size, "%s = %d, %x %.6g %c", v.word, v.i, v.u, v.d, 'A' + (v.u & 15));
        else if constexpr (peer == kLibc)
            return snprintf(buf, size, "%s = %d, %x %.6g %c", v.word, v.i, v.u, v.d, 'A' + (v.u & 15));
        else {
            char *p = buf, *end = buf + size;
            size_t n = strlen(v.word);
            memcpy(p, v.word, n);
            p += n;
            memcpy(p, " = ", 3);
            p = std::to_chars(p + 3, end, v.i).ptr;
            *p++ = ',';
            *p++ = ' ';
            p = std::to_chars(p, end, v.u, 16).ptr;
            *p++ = ' ';
            p = std::to_chars(p, end, v.d, std::chars_format::general, 6).ptr;
            *p++ = ' ';
            *p++ = static_cast<char>('A' + (v.u & 15));
            return p - buf;
        }
    }
    return 0;
}

template <Peer peer>
void BM_Format(benchmark::State &state, Case c)
{
    const std::vector<Value> &v = values();
    char buf[128];
    size_t bytes = 0;
    for (auto _ : state) {
        for (const Value &value : v) {
            bytes += format_one<peer>(c, value, buf, sizeof buf);
            benchmark::DoNotOptimize(buf);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(v.size()));
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

} // namespace

int main(int argc, char **argv)
{
    const char *names[] = {"%d", "%u", "%X", "%o", "%lld", "%+6d", "%08x", "%s", "%-20s|", "%.3f", "%f", "%g", "%e", "mixed"};
    for (int c = kD; c <= kMixed; c++) {
        std::string name = names[c];
        benchmark::RegisterBenchmark(("korv/" + name).c_str(), BM_Format<kKorv>, static_cast<Case>(c));
        benchmark::RegisterBenchmark(("glibc/" + name).c_str(), BM_Format<kLibc>, static_cast<Case>(c));
        benchmark::RegisterBenchmark(("to_chars/" + name).c_str(), BM_Format<kToChars>, static_cast<Case>(c));
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

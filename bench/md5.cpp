// MD5 over 1 MiB buffers: kvsup beside OpenSSL's MD5.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <vector>
#include <kvsup.h>

namespace {

const size_t kSize = 1 << 20;

const std::vector<unsigned char> &input()
{
    static std::vector<unsigned char> data = [] {
        std::vector<unsigned char> d(kSize);
        uint32_t x = 12345;
        for (auto &b : d) {
            x = x * 1103515245u + 12345u;
            b = (unsigned char)(x >> 16);
        }
        return d;
    }();
    return data;
}

void BM_KorvMD5(benchmark::State &state)
{
    const auto &data = input();
    unsigned char digest[16];
    for (auto _ : state) {
        KorvMD5Context context;
        KorvMD5Init(&context);
        KorvMD5Update(&context, data.data(), (uint32_t)data.size());
        KorvMD5Final(digest, &context);
        benchmark::DoNotOptimize(digest);
    }
    state.SetBytesProcessed((int64_t)state.iterations() * (int64_t)kSize);
}
BENCHMARK(BM_KorvMD5);

void BM_OpenSSL_MD5(benchmark::State &state)
{
    const auto &data = input();
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_MD_CTX *context = EVP_MD_CTX_new();
    for (auto _ : state) {
        EVP_DigestInit_ex(context, EVP_md5(), nullptr);
        EVP_DigestUpdate(context, data.data(), data.size());
        EVP_DigestFinal_ex(context, digest, &length);
        benchmark::DoNotOptimize(digest);
    }
    EVP_MD_CTX_free(context);
    state.SetBytesProcessed((int64_t)state.iterations() * (int64_t)kSize);
}
BENCHMARK(BM_OpenSSL_MD5);

} // namespace

BENCHMARK_MAIN();

// Module calls: the per-chunk cost of driving a state through
// KorvProcessSISO (chunk 0 in, the process entry, chunk 0 out) beside a bare
// call of the same entry; and resolving a symbol of an already loaded
// library with KorvRetrieveFunc beside a bare dlsym on its handle.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <kvsup.h>

namespace {

uint32_t do_nothing(KorvState *, void *, void *, void *)
{
    return 1;
}

// A state with one input and one output chunk and a process entry that does
// nothing.
struct Driven {
    KorvState *state = nullptr;
    unsigned char out[64] = {};
    Driven()
    {
        KorvAllocState(&state, KORV_STATE_MIN_SIZE);
        state->processPoint = do_nothing;
        KorvAllocArray(reinterpret_cast<void ***>(&state->inputChunks), 1, sizeof(KorvChunk));
        KorvAllocArray(reinterpret_cast<void ***>(&state->outputChunks), 1, sizeof(KorvChunk));
        KorvSetChunk(state->outputChunks, 0, out, sizeof out, 0);
    }
    ~Driven()
    {
        KorvFreeArray(reinterpret_cast<void **>(state->inputChunks));
        KorvFreeArray(reinterpret_cast<void **>(state->outputChunks));
        KorvCallEnd(state);
    }
};

void BM_ProcessSISO(benchmark::State &st)
{
    Driven d;
    unsigned char in[64] = {};
    void *data;
    uint32_t size, aux;
    for (auto _ : st) {
        benchmark::DoNotOptimize(KorvProcessSISO(d.state, in, sizeof in, 0, &data, &size, &aux));
        benchmark::DoNotOptimize(data);
    }
    st.SetItemsProcessed(st.iterations());
}
BENCHMARK(BM_ProcessSISO);

void BM_DirectProcessCall(benchmark::State &st)
{
    Driven d;
    KorvProcessFn volatile entry = d.state->processPoint;
    for (auto _ : st)
        benchmark::DoNotOptimize(entry(d.state, nullptr, nullptr, nullptr));
    st.SetItemsProcessed(st.iterations());
}
BENCHMARK(BM_DirectProcessCall);

constexpr const char *kLibrary = "libm.so.6";

void BM_RetrieveFuncCached(benchmark::State &st)
{
    void *fn = nullptr;
    if (KorvRetrieveFunc("libm.so.6!cos", nullptr, &fn) != 1) { // loads it once
        st.SkipWithError("libm.so.6 did not load");
        return;
    }
    for (auto _ : st) {
        benchmark::DoNotOptimize(KorvRetrieveFunc("libm.so.6!cos", nullptr, &fn));
        benchmark::DoNotOptimize(fn);
    }
    st.SetItemsProcessed(st.iterations());
}
BENCHMARK(BM_RetrieveFuncCached);

void BM_Dlsym(benchmark::State &st)
{
    void *handle = dlopen(kLibrary, RTLD_NOW);
    if (!handle) {
        st.SkipWithError("libm.so.6 did not load");
        return;
    }
    for (auto _ : st)
        benchmark::DoNotOptimize(dlsym(handle, "cos"));
    dlclose(handle);
    st.SetItemsProcessed(st.iterations());
}
BENCHMARK(BM_Dlsym);

} // namespace

BENCHMARK_MAIN();

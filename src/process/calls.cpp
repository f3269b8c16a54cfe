// The module-call drivers: init entries called with argument lists or
// binary blocks, the process drivers that move chunks in and out around a
// state's process entry, and the end drivers. Every driver copies the
// module's result into the state's status.
#include <stdarg.h>
#include <kvsup.h>
#include "process/calls_internal.h"

namespace {

constexpr uint32_t kCallAgain = 0xFFFFFFFFu;

// Results of a process entry after which output chunk 0 is ready.
bool output_ready(uint32_t r)
{
    return r == 1 || r == 2;
}

uint32_t no_process_entry(KorvState *state)
{
    return (uint32_t)KorvSetError(state, -1, "No processPoint entry point defined");
}

// Runs the process entry and records its result as the status.
uint32_t run_process(KorvState *state, void *a, void *b, void *c)
{
    if (!state->processPoint)
        return no_process_entry(state);
    uint32_t r = state->processPoint(state, a, b, c);
    state->status = (int32_t)r;
    return r;
}

// Hands output chunk 0 out after a result that promises output; a missing
// chunk turns the result into 0.
uint32_t take_output(KorvState *state, uint32_t r, void **data, uint32_t *size, uint32_t *aux)
{
    if (!output_ready(r))
        return r;
    return KorvGetChunk(state->outputChunks, 0, data, size, aux) ? r : 0;
}

uint32_t call_init(KorvInitFn init, KorvArgWord *args, KorvState **state, KorvFuncDesc *desc)
{
    uint32_t r = init(args, state, desc);
    if (*state)
        (*state)->status = (int32_t)r;
    return r;
}

} // namespace

namespace korv::calls {

void *resolve_entry(const KorvFuncDesc *desc)
{
    void *entry = nullptr;
    if (!desc || !desc->init || KorvRetrieveInit(desc->init, &entry) != 1)
        return nullptr;
    return entry;
}

bool unpack_bin_args(uint32_t argCount, const KorvBinArgDesc *block, int32_t headerCount,
                     const void *const *headers, BinArgs *out)
{
    out->list = nullptr;
    out->headers = nullptr;
    if ((argCount && !block) || argCount > INT32_MAX)
        return false;
    out->list = KorvBinArgToArgs((int32_t)argCount, block, 8);
    if (!out->list)
        return false;
    if (!headers)
        return true;
    if (headerCount < 0) {
        release_bin_args(out);
        return false;
    }
    out->headers = static_cast<KorvGenericHeader **>(
        korv_internal_calloc((size_t)headerCount + 1, sizeof(KorvGenericHeader *)));
    if (!out->headers) {
        release_bin_args(out);
        return false;
    }
    for (int32_t i = 0; i < headerCount; i++) {
        // The headers' texts point into the caller's blocks, which outlive
        // the call.
        out->headers[i] = KorvBinHdrToHdr(headers[i], 0, 1);
        if (!out->headers[i]) {
            release_bin_args(out);
            return false;
        }
    }
    KorvAppendArgs(out->list, (KorvArgWord) "input:h", (KorvArgWord)out->headers, KORV_ARG_NULL,
                   KORV_ARG_END);
    return true;
}

void release_bin_args(BinArgs *args)
{
    korv_internal_free(args->list);
    args->list = nullptr;
    if (args->headers)
        KorvFreeSmartArray(reinterpret_cast<void **>(args->headers));
    args->headers = nullptr;
}

} // namespace korv::calls

extern "C" KORV_API uint32_t KorvCallInit(KorvInitFn init, KorvArgWord *args, KorvState **state)
{
    if (!init || !args || !state)
        return 0;
    return call_init(init, args, state, nullptr);
}

extern "C" KORV_API uint32_t KorvCallModuleInit(KorvFuncDesc *desc, KorvArgWord *args,
                                                KorvState **state)
{
    if (!desc || !args || !state)
        return 0;
    auto init = reinterpret_cast<KorvInitFn>(korv::calls::resolve_entry(desc));
    if (!init)
        return 0;
    return call_init(init, args, state, desc);
}

extern "C" KORV_API uint32_t KorvCallInitArgs(KorvInitFn init, ...)
{
    // The words up to and including the end marker, then the state address.
    va_list ap;
    va_start(ap, init);
    size_t count = 1;
    while (va_arg(ap, KorvArgWord) != KORV_ARG_END)
        count++;
    auto **state = va_arg(ap, KorvState **);
    va_end(ap);
    if (!init || !state)
        return 0;
    auto *list = static_cast<KorvArgWord *>(korv_internal_malloc(count * sizeof(KorvArgWord)));
    if (!list)
        return 0;
    va_start(ap, init);
    for (size_t i = 0; i < count; i++)
        list[i] = va_arg(ap, KorvArgWord);
    va_end(ap);
    uint32_t r = call_init(init, list, state, nullptr);
    korv_internal_free(list);
    return r;
}

extern "C" KORV_API uint32_t KorvCallModuleInitBin(KorvFuncDesc *desc, uint32_t argCount,
                                                   const KorvBinArgDesc *block,
                                                   int32_t headerCount,
                                                   const void *const *headers, KorvState **state)
{
    korv::calls::BinArgs args;
    if (!korv::calls::unpack_bin_args(argCount, block, headerCount, headers, &args))
        return 0;
    uint32_t r = 0;
    auto init = reinterpret_cast<KorvInitFn>(korv::calls::resolve_entry(desc));
    if (init && state)
        r = call_init(init, args.list, state, desc);
    korv::calls::release_bin_args(&args);
    return r;
}

extern "C" KORV_API uint32_t KorvCallProcess(KorvState *state, void *a, void *b, void *c)
{
    if (!state)
        return 0;
    return run_process(state, a, b, c);
}

extern "C" KORV_API uint32_t KorvProcessSI(KorvState *state, void *data, uint32_t size,
                                           uint32_t aux)
{
    if (!state || !KorvSetChunk(state->inputChunks, 0, data, size, aux))
        return 0;
    return run_process(state, nullptr, nullptr, nullptr);
}

extern "C" KORV_API uint32_t KorvProcessSO(KorvState *state, void **data, uint32_t *size,
                                           uint32_t *aux)
{
    if (!state)
        return 0;
    uint32_t r = run_process(state, data, size, aux);
    return take_output(state, r, data, size, aux);
}

extern "C" KORV_API uint32_t KorvProcessSISO(KorvState *state, void *data, uint32_t size,
                                             uint32_t aux, void **outData, uint32_t *outSize,
                                             uint32_t *outAux)
{
    if (!state || !KorvSetChunk(state->inputChunks, 0, data, size, aux))
        return 0;
    uint32_t r = run_process(state, nullptr, nullptr, nullptr);
    return take_output(state, r, outData, outSize, outAux);
}

extern "C" KORV_API uint32_t KorvCallEnd(KorvState *state)
{
    if (!state)
        return 0;
    if (!state->endPoint)
        return (uint32_t)KorvSetError(state, 0, "No endPoint entry point defined");
    korv_internal_free(state->errorMsg);
    state->errorMsg = nullptr;
    // The status is not written afterwards: the end entry may have freed
    // the record.
    return state->endPoint(state);
}

extern "C" KORV_API uint32_t KorvAbsoluteCallEnd(KorvState *state)
{
    // An end entry that asks to be called again leaves -1 in the result, so
    // the caller learns that the module needed more than one end call.
    uint32_t kept = 1;
    for (;;) {
        uint32_t r = KorvCallEnd(state);
        if (r == 1)
            return kept;
        if (r != kCallAgain)
            return 0;
        kept |= kCallAgain;
    }
}

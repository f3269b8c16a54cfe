// The strip plumbing of korv's functions: one input, one output of the same
// geometry, and a process entry that turns each input strip into an output
// strip of the same size.
//
// Protocol: a strip arrives as input chunk 0 (data, size, aux = its number of
// lines); the output is left in output chunk 0 with the same aux and stays
// valid until the next call. An empty input chunk (no data) ends the input:
// the answer is 1 with an empty output.
#include <string.h>
#include "korv.h"

namespace korvfx {

namespace {

struct StripState {
    KorvState common;
    StripFn fn;
    const char *fname;
    unsigned char *buffer;
    uint32_t capacity;
    KorvGenericHeader *headers[2]; // the output header, then NULL
};

StripState *strip(KorvState *state)
{
    return reinterpret_cast<StripState *>(state);
}

uint32_t strip_process(KorvState *state, void *, void *, void *)
{
    StripState *s = strip(state);
    void *data = nullptr;
    uint32_t size = 0;
    uint32_t lines = 0;
    if (!KorvGetChunk(state->inputChunks, 0, &data, &size, &lines))
        return static_cast<uint32_t>(KorvSetError(state, 0, "%s: no input chunk", s->fname));
    if (!data)
        size = lines = 0;
    if (size > s->capacity) {
        auto *grown = static_cast<unsigned char *>(korv_internal_realloc(s->buffer, size));
        if (!grown)
            return static_cast<uint32_t>(
                KorvSetError(state, 0, "%s: out of memory for a strip of %u bytes", s->fname, size));
        s->buffer = grown;
        s->capacity = size;
    }
    if (size)
        s->fn(static_cast<const unsigned char *>(data), s->buffer, size);
    KorvSetChunk(state->outputChunks, 0, size ? s->buffer : nullptr, size, lines);
    return 1;
}

uint32_t strip_end(KorvState *state)
{
    StripState *s = strip(state);
    korv_internal_free(s->buffer);
    KorvGenericHeaderFree(s->headers[0]);
    KorvFreeArray(reinterpret_cast<void **>(state->inputChunks));
    KorvFreeArray(reinterpret_cast<void **>(state->outputChunks));
    return KorvFreeState(state);
}

} // namespace

uint32_t strip_init(const char *name, StripFn fn, KorvArgWord *args, KorvState **out)
{
    if (!out)
        return 0;
    KorvState *state = nullptr;
    if (!KorvAllocState(&state, sizeof(StripState)))
        return 0;
    StripState *s = strip(state);
    s->fn = fn;
    s->fname = name;
    state->name = name;
    state->processPoint = strip_process;
    state->endPoint = strip_end;
    state->outputHeaders = s->headers;
    *out = state;

    KorvGenericHeader **inputs = nullptr;
    int32_t found = 0;
    if (!args || !KorvParseArgs(args, "input:h", &found, &inputs, KORV_ARG_END))
        return static_cast<uint32_t>(KorvSetError(state, 0, "%s: unreadable arguments", name));
    if (!found || !inputs || !inputs[0])
        return static_cast<uint32_t>(KorvSetError(state, 0, "%s: no input header", name));
    s->headers[0] = KorvGenericHeaderCopy(inputs[0]);
    if (!s->headers[0] ||
        !KorvAllocArray(reinterpret_cast<void ***>(&state->inputChunks), 1, sizeof(KorvChunk)) ||
        !KorvAllocArray(reinterpret_cast<void ***>(&state->outputChunks), 1, sizeof(KorvChunk)))
        return static_cast<uint32_t>(KorvSetError(state, 0, "%s: out of memory", name));
    return 1;
}

} // namespace korvfx

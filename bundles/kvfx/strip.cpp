// The strip plumbing shared by every kvfx function: the state record, the
// input checks, the output header and the process and end entries.
#include <stdarg.h>
#include <string.h>
#include "fx.h"

namespace kvfx {

namespace {

uint32_t end_entry(KorvState *state)
{
    Fx *fx = reinterpret_cast<Fx *>(state);
    if (fx->release)
        fx->release(fx);
    if (state->outputHeaders) {
        for (KorvGenericHeader **h = state->outputHeaders; *h; h++)
            (*h)->free(*h);
        korv_internal_free(state->outputHeaders);
    }
    KorvFreeArray(reinterpret_cast<void **>(state->inputChunks));
    KorvFreeArray(reinterpret_cast<void **>(state->outputChunks));
    // The queue's slots are the module's records; the bytes they point at
    // were freed by the function's release entry.
    KorvFreeArray(reinterpret_cast<void **>(state->queue));
    korv_internal_free(fx->buf);
    return KorvFreeState(state);
}

uint32_t hand_out(Fx *fx, uint32_t result)
{
    uint64_t bytes = (uint64_t)fx->outLines * fx->out.line;
    if (bytes > UINT32_MAX)
        return fail(fx, "an output strip of %u lines would pass 4 GB; give smaller strips",
                    fx->outLines);
    if (!KorvSetChunk(fx->state.outputChunks, 0, fx->buf, (uint32_t)bytes, fx->outLines))
        return fail(fx, "the output chunk is missing");
    return result;
}

// One call of the caller: a strip of whole lines, or (null data) the end of
// input. A failing call leaves its message in the state.
uint32_t process_entry(KorvState *state, void *, void *, void *)
{
    Fx *fx = reinterpret_cast<Fx *>(state);
    void *data = nullptr;
    uint32_t size = 0, lines = 0;
    if (!KorvGetChunk(state->inputChunks, 0, &data, &size, &lines))
        return fail(fx, "the input chunk is missing");
    fx->outLines = 0;
    if (!data) {
        if (!fx->ended) {
            if (fx->received != fx->in.height)
                return fail(fx, "the input ended after %u of its %u lines", fx->received,
                            fx->in.height);
            fx->ended = 1;
        }
        uint32_t r = fx->finish ? fx->finish(fx) : 1;
        return r == 0 ? 0 : hand_out(fx, r);
    }
    if (fx->ended)
        return fail(fx, "input arrived after its end");
    if ((uint64_t)lines * fx->in.line != size)
        return fail(fx, "a strip of %u bytes is not %u whole lines of %u bytes", size, lines,
                    fx->in.line);
    if (lines > fx->in.height - fx->received)
        return fail(fx, "more input than the image's %u lines", fx->in.height);
    if (lines) {
        if (!fx->strip(fx, static_cast<const unsigned char *>(data), lines))
            return 0;
        fx->received += lines;
    }
    return hand_out(fx, 1);
}

// Reads the geometry of a header; false with the error set when the bundle
// cannot take it.
bool read_geometry(Fx *fx, const KorvGenericHeader *h, Geometry *g)
{
    if (h->kind != KORV_KIND_PIXELS && h->kind != KORV_KIND_RASTER) {
        fail(fx, "the input is not a raster image (kind %u)", h->kind);
        return false;
    }
    if (h->compressed) {
        fail(fx, "compressed input is not supported");
        return false;
    }
    uint32_t channels = h->imageParts[0] + h->imageParts[1] + h->imageParts[2];
    if (channels < 1 || channels > 4) {
        fail(fx, "the input has %u samples per pixel; 1 to 4 are supported", channels);
        return false;
    }
    uint32_t bits = h->bitsPerSample[0];
    for (uint32_t i = 1; i < channels; i++) {
        if (h->bitsPerSample[i] != bits) {
            fail(fx, "samples of different sizes (%u and %u bits) are not supported", bits,
                 h->bitsPerSample[i]);
            return false;
        }
    }
    if (bits != 8 && bits != 16) {
        fail(fx, "samples of %u bits are not supported; 8 and 16 are", bits);
        return false;
    }
    if (h->interleave != KORV_INTERLEAVE_PIXEL && channels > 1) {
        fail(fx, "only pixel-interleaved input is supported");
        return false;
    }
    if (h->interleave > KORV_INTERLEAVE_FRAME) {
        fail(fx, "input without fixed lines is not supported");
        return false;
    }
    if (h->dimensions < 2 || h->pixels == 0 || h->scanlines == 0) {
        fail(fx, "the input has no pixels (%u by %u)", h->pixels,
             h->dimensions < 2 ? 0u : h->scanlines);
        return false;
    }
    uint64_t line = (uint64_t)h->pixels * channels * (bits / 8);
    if (line > 0x7fffffffu) {
        fail(fx, "lines of %u pixels are too long", h->pixels);
        return false;
    }
    // A header whose line size was never filled in reads as unpadded.
    uint32_t declared = h->bytesPerLine[0] ? KorvHeaderGetTotalBytes(h) : (uint32_t)line;
    if (declared != line) {
        fail(fx, "lines of %u bytes holding %u bytes of samples are not supported", declared,
             (uint32_t)line);
        return false;
    }
    if (bits == 16 && h->endian != KorvIdentifyEndian()) {
        fail(fx, "16-bit samples must be in this machine's byte order");
        return false;
    }
    g->width = h->pixels;
    g->height = h->scanlines;
    g->channels = channels;
    g->bits = bits;
    g->line = (uint32_t)line;
    return true;
}

} // namespace

uint32_t fail(Fx *fx, const char *format, ...)
{
    char *text = nullptr;
    va_list args;
    va_start(args, format);
    KorvVASPrintf(&text, format, args);
    va_end(args);
    KorvSetError(&fx->state, 0, "%s: %s", fx->fn, text ? text : format);
    korv_internal_free(text);
    return 0;
}

unsigned char *reserve(Fx *fx, uint32_t lines)
{
    size_t need = (size_t)lines * fx->out.line;
    if (need <= fx->cap)
        return fx->buf;
    void *grown = korv_internal_realloc(fx->buf, need);
    if (!grown) {
        fail(fx, "out of memory for %u output lines", lines);
        return nullptr;
    }
    fx->buf = static_cast<unsigned char *>(grown);
    fx->cap = need;
    return fx->buf;
}

Fx *begin(KorvArgWord *args, KorvState **out, size_t size, const char *fn)
{
    if (!out)
        return nullptr;
    KorvState *state = nullptr;
    if (!KorvAllocState(&state, (int32_t)size))
        return nullptr;
    *out = state;
    Fx *fx = reinterpret_cast<Fx *>(state);
    fx->fn = fn;
    state->name = fn;
    state->processPoint = process_entry;
    state->endPoint = end_entry;
    if (!KorvAllocArray(reinterpret_cast<void ***>(&state->inputChunks), 1, sizeof(KorvChunk)) ||
        !KorvAllocArray(reinterpret_cast<void ***>(&state->outputChunks), 1, sizeof(KorvChunk))) {
        fail(fx, "out of memory");
        return nullptr;
    }
    KorvGenericHeader **inputs = nullptr;
    int32_t found = 0;
    if (!args || !KorvParseArgs(args, "input:h", &found, &inputs, KORV_ARG_END) || !found ||
        !inputs || !inputs[0]) {
        fail(fx, "no input image");
        return nullptr;
    }
    if (!read_geometry(fx, inputs[0], &fx->in))
        return nullptr;
    fx->out = fx->in;
    // The output header starts as a copy of the input's, so that resolution,
    // units and colour space travel along.
    state->outputHeaders = static_cast<KorvGenericHeader **>(
        korv_internal_calloc(2, sizeof(KorvGenericHeader *)));
    if (!state->outputHeaders || !(state->outputHeaders[0] = KorvGenericHeaderCopy(inputs[0]))) {
        fail(fx, "out of memory");
        return nullptr;
    }
    return fx;
}

uint32_t ready(Fx *fx)
{
    Geometry &g = fx->out;
    g.line = g.width * g.channels * (g.bits / 8);
    KorvGenericHeader *h = fx->state.outputHeaders[0];
    uint32_t channels = h->imageParts[0] + h->imageParts[1] + h->imageParts[2];
    if (channels != g.channels) {
        h->imageParts[0] = g.channels;
        h->imageParts[1] = 0;
        h->imageParts[2] = 0;
        h->colorSpace = KorvGetDefaultColor(g.channels);
    }
    for (uint32_t i = 0; i < KORV_MAX_SEPARATIONS; i++)
        h->bitsPerSample[i] = i < g.channels ? g.bits : 0;
    h->kind = KORV_KIND_PIXELS;
    h->dimensions = 2;
    h->pixels = g.width;
    h->scanlines = g.height;
    h->interleave = KORV_INTERLEAVE_PIXEL;
    h->alignment = 0;
    h->compressed = 0;
    h->endian = KorvIdentifyEndian();
    h->preferredChunk = 0;
    KorvHeaderFillInBytes(h);
    return 1;
}

} // namespace kvfx

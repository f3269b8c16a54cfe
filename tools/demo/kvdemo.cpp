// kvdemo: one image through one processing function, on built-in sample data.
//
// The front end describes a 64 x 48 RGB image with a generic header, keeps
// its resolution and a note in the header's parameters, and runs a small
// built-in module ("invert") over it scan line by scan line through the
// process-state record and its chunk queue. It prints the geometry, the
// module's outputs, an MD5 digest of the result and the output header as it
// travels in binary form.
#include <stdio.h>
#include <string.h>
#include <kvsup.h>

namespace {

const uint32_t kWidth = 64, kHeight = 48;

// The module's own state: the common part, then its private fields.
struct InvertState {
    KorvState common;
    KorvGenericHeader *headers[2];
    void **outputs;
    unsigned char line[kWidth * 3];
    uint32_t lines_done;
};

// Inverts input chunk 0 into output chunk 0; 1 means output is ready.
uint32_t invert_process(KorvState *state, void *, void *, void *)
{
    auto *s = reinterpret_cast<InvertState *>(state);
    void *data = nullptr;
    uint32_t size = 0, aux = 0;
    if (!KorvGetChunk(state->inputChunks, 0, &data, &size, &aux) || size > sizeof s->line)
        return (uint32_t)KorvSetError(state, 0, "invert: bad input chunk (%u bytes)", size);
    const auto *in = static_cast<const unsigned char *>(data);
    for (uint32_t i = 0; i < size; i++)
        s->line[i] = (unsigned char)(255 - in[i]);
    KorvSetChunk(state->outputChunks, 0, s->line, size, aux);
    s->lines_done++;
    return 1;
}

uint32_t invert_end(KorvState *state)
{
    auto *s = reinterpret_cast<InvertState *>(state);
    KorvFreeArray((void **)state->inputChunks);
    KorvFreeArray(s->outputs);
    KorvFreeArray((void **)state->queue);
    if (s->headers[0])
        s->headers[0]->free(s->headers[0]);
    korv_internal_free(state->errorMsg);
    state->errorMsg = nullptr;
    return KorvFreeState(state);
}

// The module's initialisation: its state, entries and output header.
KorvState *invert_init(const KorvGenericHeader *input)
{
    KorvState *state = nullptr;
    if (!KorvAllocState(&state, (int32_t)sizeof(InvertState)))
        return nullptr;
    auto *s = reinterpret_cast<InvertState *>(state);
    state->name = "invert";
    state->processPoint = invert_process;
    state->endPoint = invert_end;
    s->headers[0] = KorvGenericHeaderCopy(const_cast<KorvGenericHeader *>(input));
    state->outputHeaders = s->headers;
    KorvAllocArray((void ***)&state->inputChunks, 1, sizeof(KorvChunk));
    KorvAllocArray(&s->outputs, 1, sizeof(KorvChunk));
    state->outputChunks = reinterpret_cast<KorvChunk **>(s->outputs);
    if (!s->headers[0] || !state->inputChunks || !state->outputChunks) {
        invert_end(state);
        return nullptr;
    }
    return state;
}

// The built-in sample: a colour gradient.
void sample_line(uint32_t y, unsigned char *line)
{
    for (uint32_t x = 0; x < kWidth; x++) {
        line[3 * x] = (unsigned char)(x * 4);
        line[3 * x + 1] = (unsigned char)(y * 5);
        line[3 * x + 2] = (unsigned char)((x + y) * 2);
    }
}

KorvGenericHeader *describe_sample()
{
    KorvGenericHeader **headers = nullptr;
    if (!KorvAllocHeaders(&headers, 1, (int32_t)sizeof(KorvGenericHeader)))
        return nullptr;
    KorvGenericHeader *h = headers[0];
    korv_internal_free(headers);
    h->kind = KORV_KIND_PIXELS;
    h->dimensions = 2;
    h->pixels = kWidth;
    h->scanlines = kHeight;
    h->imageParts[0] = 3;
    for (int i = 0; i < 3; i++)
        h->bitsPerSample[i] = 8;
    h->interleave = KORV_INTERLEAVE_PIXEL;
    h->colorSpace = KorvStr2Clr("sRGB");
    KorvHeaderFillInBytes(h);
    KorvHeaderSetResolution(h, 300.0, 300.0);
    KorvHeaderSetUnits(h, "inch");
    h->params = KorvSetString(h->params, NULL, "Notes", "source", "built-in gradient");
    return h;
}

} // namespace

int main()
{
    KorvaneInit();
    KorvGenericHeader *input = describe_sample();
    if (!input) {
        KorvError("kvdemo: cannot describe the sample image\n");
        return 1;
    }
    double rx = 0, ry = 0;
    KorvHeaderGetResolution(input, &rx, &ry);
    printf("input: %u x %u, %s, %s interleave, %u bytes per scan line\n",
           input->pixels, input->scanlines, KorvClr2Str(input->colorSpace),
           KorvInterleave2Str(input->interleave), KorvHeaderGetTotalBytes(input));
    char *units = KorvHeaderGetUnits(input);
    printf("resolution: %g x %g per %s; source: %s\n", rx, ry, units ? units : "?",
           KorvGetParam(input->params, NULL, "Notes", "source"));
    korv_internal_free(units);

    KorvState *state = invert_init(input);
    if (!state) {
        KorvError("kvdemo: the module did not start\n");
        return 1;
    }
    uint32_t outputs = 0;
    KorvGetStateOutputCount(state, &outputs);
    printf("module \"%s\": %u output(s)\n", state->name, outputs);

    KorvMD5Context md5;
    KorvMD5Init(&md5);
    unsigned char line[kWidth * 3];
    for (uint32_t y = 0; y < kHeight; y++) {
        sample_line(y, line);
        KorvSetChunk(state->inputChunks, 0, line, sizeof line, y);
        uint32_t r = state->processPoint(state, nullptr, nullptr, nullptr);
        KorvSetStatus(state, (int32_t)r);
        void *out = nullptr;
        uint32_t size = 0, aux = 0;
        if (r != 1 || !KorvGetChunk(state->outputChunks, 0, &out, &size, &aux)) {
            KorvReportError(state);
            break;
        }
        // Every eighth line is also queued, flagged, as a module would keep
        // chunks for later.
        if (aux % 8 == 0) {
            KorvChunk keep = {};
            keep.flags = aux == 16 ? KORV_CHUNK_FLAGGED : 0;
            keep.mark = 1;
            keep.aux = aux;
            KorvEnqueueChunk(state, &keep, nullptr);
        }
        KorvMD5Update(&md5, out, size);
    }
    unsigned char digest[16];
    KorvMD5Final(digest, &md5);
    printf("processed %u lines; MD5 of the output: ",
           reinterpret_cast<InvertState *>(state)->lines_done);
    for (unsigned char b : digest)
        printf("%02x", b);
    printf("\n");
    uint32_t queued = 0;
    KorvGetStateQueueLength(state, &queued);
    KorvChunk *flagged = state->getFlaggedChunk(state);
    printf("queue: %u slots; flagged chunk: line %u\n", queued, flagged ? flagged->aux : 0);

    int32_t need = state->getOutputBinHeader(state, 0, nullptr, 0);
    unsigned char block[4096];
    int32_t written = need > 0 && need <= (int32_t)sizeof block
                          ? state->getOutputBinHeader(state, 0, block, sizeof block)
                          : 0;
    KorvGenericHeader *back = written > 0 ? KorvBinHdrToHdr(block, (uint32_t)written, 0) : nullptr;
    if (back) {
        printf("output header as a binary header: %d bytes; read back: %u x %u %s\n", written,
               back->pixels, back->scanlines, KorvClr2Str(back->colorSpace));
        back->free(back);
    }

    korv_internal_free(state->errorMsg);
    state->errorMsg = nullptr;
    state->endPoint(state);
    input->free(input);
    KorvaneEnd();
    return 0;
}

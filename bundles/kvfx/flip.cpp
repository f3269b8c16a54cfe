// flip: dir=h mirrors each line, dir=v turns the image upside down, dir=hv
// does both. A horizontal flip streams strip by strip. A vertical flip must
// see the last line first: it keeps the lines in a smart buffer while they
// stay within KORV_MEMORY_MAX bytes and the rest in a temporary file, and
// after the end of input hands them out in reverse, one strip per call.
#include <string.h>
#include "fx.h"

namespace kvfx {
namespace {

// Bytes of output handed out per call after the end, at most (a strip is
// never smaller than one line).
const size_t kEmitBytes = 8u << 20;
// The memory budget when KORV_MEMORY_MAX gives no number.
const uint64_t kDefaultMemory = 20000000u;

struct Flip {
    Fx fx;
    uint32_t horizontal;
    uint32_t vertical;
    uint64_t memoryLimit;
    KorvSmartBuffer *memory; // input lines [0, memoryLines)
    uint32_t memoryLines;
    KorvIO *spill;           // input lines [memoryLines, received), once memory is full
    uint32_t stripLines;     // the largest input strip: the size of the output strips
    uint32_t emitted;        // output lines handed out after the end
};

template <size_t P>
void mirror_copy(const unsigned char *in, unsigned char *out, uint32_t width)
{
    unsigned char *o = out + (size_t)(width - 1) * P;
    for (uint32_t x = 0; x < width; x++, in += P, o -= P)
        memcpy(o, in, P);
}

template <size_t P>
void mirror_in_place(unsigned char *line, uint32_t width)
{
    unsigned char *a = line, *b = line + (size_t)(width - 1) * P;
    unsigned char t[P];
    for (; a < b; a += P, b -= P) {
        memcpy(t, a, P);
        memcpy(a, b, P);
        memcpy(b, t, P);
    }
}

// Mirrors `lines` lines from in to out, or in place when in is null.
void mirror(unsigned char *out, const unsigned char *in, uint32_t lines, const Geometry &g)
{
    uint32_t p = g.channels * (g.bits / 8);
    for (uint32_t y = 0; y < lines; y++) {
        unsigned char *o = out + (size_t)y * g.line;
        const unsigned char *s = in ? in + (size_t)y * g.line : nullptr;
        switch (p) {
#define KVFX_MIRROR(n) \
        case n: s ? mirror_copy<n>(s, o, g.width) : mirror_in_place<n>(o, g.width); break;
        KVFX_MIRROR(1) KVFX_MIRROR(2) KVFX_MIRROR(3) KVFX_MIRROR(4) KVFX_MIRROR(6)
        KVFX_MIRROR(8)
#undef KVFX_MIRROR
        }
    }
}

bool keep_lines(Flip *f, const unsigned char *in, uint32_t lines)
{
    Fx *fx = &f->fx;
    const uint32_t line = fx->in.line;
    uint32_t inMemory = 0;
    if (!f->spill) {
        uint64_t held = (uint64_t)f->memoryLines * line;
        uint64_t room = f->memoryLimit > held ? (f->memoryLimit - held) / line : 0;
        inMemory = room < lines ? (uint32_t)room : lines;
    }
    if (inMemory) {
        uint64_t bytes = (uint64_t)inMemory * line;
        if (KorvSBAppend(f->memory, in, bytes) != bytes) {
            fail(fx, "out of memory keeping %u lines", inMemory);
            return false;
        }
        f->memoryLines += inMemory;
    }
    if (inMemory == lines)
        return true;
    if (!f->spill && !(f->spill = KorvIO_Mktemp("kvfx"))) {
        fail(fx, "cannot make a temporary file for the lines past %u", f->memoryLines);
        return false;
    }
    uint64_t bytes = (uint64_t)(lines - inMemory) * line;
    if (KorvIOWriteBytes(f->spill, in + (size_t)inMemory * line, bytes) != bytes) {
        fail(fx, "cannot write the temporary file");
        return false;
    }
    return true;
}

bool flip_strip(Fx *fx, const unsigned char *in, uint32_t lines)
{
    Flip *f = reinterpret_cast<Flip *>(fx);
    if (f->vertical) {
        if (lines > f->stripLines)
            f->stripLines = lines;
        return keep_lines(f, in, lines);
    }
    unsigned char *out = reserve(fx, lines);
    if (!out)
        return false;
    mirror(out, in, lines, fx->in);
    fx->outLines = lines;
    return true;
}

// Reads input lines [a, b) in their order into dst.
bool read_lines(Flip *f, uint32_t a, uint32_t b, unsigned char *dst)
{
    const uint32_t line = f->fx.in.line;
    if (a < f->memoryLines) {
        uint32_t end = b < f->memoryLines ? b : f->memoryLines;
        uint64_t bytes = (uint64_t)(end - a) * line;
        if (KorvSBPeek(f->memory, (int64_t)a * line, dst, bytes) != bytes)
            return false;
        dst += bytes;
        a = end;
    }
    if (a < b) {
        uint64_t bytes = (uint64_t)(b - a) * line;
        int64_t at = (int64_t)(a - f->memoryLines) * line;
        if (f->spill->seek(f->spill, at, 0) != at ||
            KorvIOReadBytes(f->spill, dst, bytes) != bytes)
            return false;
    }
    return true;
}

uint32_t flip_finish(Fx *fx)
{
    Flip *f = reinterpret_cast<Flip *>(fx);
    const uint32_t height = fx->in.height, line = fx->in.line;
    if (!f->vertical || f->emitted == height)
        return 1;
    uint32_t most = kEmitBytes / line ? (uint32_t)(kEmitBytes / line) : 1;
    uint32_t n = f->stripLines < most ? f->stripLines : most;
    if (n > height - f->emitted)
        n = height - f->emitted;
    unsigned char *out = reserve(fx, n);
    if (!out)
        return 0;
    // Output lines [emitted, emitted + n) are input lines
    // [height - emitted - n, height - emitted), last first.
    uint32_t b = height - f->emitted, a = b - n;
    if (!read_lines(f, a, b, out))
        return fail(fx, "cannot read back the kept lines %u to %u", a, b - 1);
    for (uint32_t i = 0, j = n - 1; i < j; i++, j--)
        KorvSwapBlock(out + (size_t)i * line, out + (size_t)j * line, line);
    if (f->horizontal)
        mirror(out, nullptr, n, fx->in);
    f->emitted += n;
    fx->outLines = n;
    return f->emitted == height ? 1 : 2;
}

void flip_release(Fx *fx)
{
    Flip *f = reinterpret_cast<Flip *>(fx);
    if (f->memory)
        KorvSBFree(f->memory);
    if (f->spill)
        f->spill->close(f->spill);
}

} // namespace
} // namespace kvfx

extern "C" KVFX_EXPORT uint32_t KvfxFlipInit(KorvArgWord *args, KorvState **state,
                                             KorvFuncDesc *)
{
    using namespace kvfx;
    Fx *fx = begin(args, state, sizeof(Flip), "flip");
    if (!fx)
        return 0;
    Flip *f = reinterpret_cast<Flip *>(fx);
    fx->release = flip_release;
    char *dir = nullptr;
    uint32_t r = arg_text(fx, args, "dir", &dir);
    if (r == 0)
        return 0;
    if (r == 2)
        return fail(fx, "argument 'dir' is missing (h, v or hv)");
    if (!strcmp(dir, "h") || !strcmp(dir, "H")) {
        f->horizontal = 1;
    } else if (!strcmp(dir, "v") || !strcmp(dir, "V")) {
        f->vertical = 1;
    } else if (!strcmp(dir, "hv") || !strcmp(dir, "vh") || !strcmp(dir, "HV") ||
               !strcmp(dir, "VH")) {
        f->horizontal = f->vertical = 1;
    } else {
        fail(fx, "argument 'dir' must be h, v or hv: '%s'", dir);
        korv_internal_free(dir);
        return 0;
    }
    korv_internal_free(dir);
    if (f->vertical) {
        unsigned limit = 0;
        const char *text = KorvGetenv("KORV_MEMORY_MAX");
        f->memoryLimit = text && KorvSScanf(text, "%u", &limit) == 1 ? limit : kDefaultMemory;
        uint64_t block = f->memoryLimit < (1u << 20) ? f->memoryLimit : (1u << 20);
        if (!(f->memory = KorvSBInit(1, block > 4096 ? block : 4096)))
            return fail(fx, "out of memory");
    }
    fx->strip = flip_strip;
    fx->finish = flip_finish;
    return ready(fx);
}

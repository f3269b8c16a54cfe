// boxblur: the mean of the (2r+1) x (2r+1) box around each sample, edges
// clamped (the lines and columns past the image repeat its edge), rounded to
// the nearest. It is computed separably with running sums: each input line
// becomes a line of horizontal sums, kept in a ring of 2r+2 such lines (the
// context), and a running vertical sum over the ring gives each output line.
// Output line y needs input line y + r, so a strip's last r lines are held
// back until the next strip or the end of input. The ring is the module's
// context chunk in the state's queue.
#include "fx.h"

namespace kvfx {
namespace {

// Largest radius: beyond it the rounding of the mean is no longer exact.
const int32_t kMaxRadius = 10000;

struct Boxblur {
    Fx fx;
    uint32_t r;
    uint32_t slots;     // lines in the ring
    uint32_t slot;      // the context chunk's slot in the queue
    uint32_t wide;      // sums need 64 bits
    uint32_t next;      // next output line
    uint32_t stripLines;
    double scale;       // 1 / (2r+1)^2
    void *vsum;         // vertical sums of line `next` - 1 (or none yet)
};

KorvChunk *context(Boxblur *b)
{
    return static_cast<KorvChunk *>(
        KorvGetArrayItem(reinterpret_cast<void **>(b->fx.state.queue), b->slot));
}

template <typename T>
T *ring_line(Boxblur *b, uint32_t y)
{
    size_t n = (size_t)b->fx.in.width * b->fx.in.channels;
    return static_cast<T *>(static_cast<void *>(context(b)->data)) + (size_t)(y % b->slots) * n;
}

// Horizontal sums of one input line, edges clamped: a running sum per
// channel, the channel count fixed so that the inner loops unroll.
template <int B, int C, typename T>
void horizontal(const unsigned char *in, T *h, uint32_t w, uint32_t r)
{
    const uint32_t last = w - 1;
    const uint32_t upto = r < last ? r : last;
    T s[C];
    for (int k = 0; k < C; k++) {
        s[k] = (T)(r + 1) * get<B>(in, k);
        for (uint32_t i = 1; i <= upto; i++)
            s[k] += get<B>(in, (size_t)i * C + k);
        if (r > last)
            s[k] += (T)(r - last) * get<B>(in, (size_t)last * C + k);
    }
    for (uint32_t x = 0; x < w; x++) {
        const size_t add = (size_t)(x + 1 + r < last ? x + 1 + r : last) * C;
        const size_t sub = (size_t)(x >= r ? x - r : 0) * C;
        for (int k = 0; k < C; k++) {
            h[(size_t)x * C + k] = s[k];
            s[k] = s[k] + get<B>(in, add + k) - get<B>(in, sub + k);
        }
    }
}

template <int B, typename T>
void horizontal_any(const unsigned char *in, T *h, uint32_t w, uint32_t c, uint32_t r)
{
    switch (c) {
    case 1: horizontal<B, 1, T>(in, h, w, r); break;
    case 2: horizontal<B, 2, T>(in, h, w, r); break;
    case 3: horizontal<B, 3, T>(in, h, w, r); break;
    default: horizontal<B, 4, T>(in, h, w, r); break;
    }
}

// Emits output line `next` into out from the ring.
template <int B, typename T>
void emit(Boxblur *b, unsigned char *out)
{
    const uint32_t y = b->next, r = b->r, last = b->fx.in.height - 1;
    const size_t n = (size_t)b->fx.in.width * b->fx.in.channels;
    T *v = static_cast<T *>(b->vsum);
    if (y == 0) {
        const T *h0 = ring_line<T>(b, 0);
        for (size_t i = 0; i < n; i++)
            v[i] = (T)(r + 1) * h0[i];
        uint32_t upto = r < last ? r : last;
        for (uint32_t k = 1; k <= upto; k++) {
            const T *h = ring_line<T>(b, k);
            for (size_t i = 0; i < n; i++)
                v[i] += h[i];
        }
        if (r > last) {
            const T *h = ring_line<T>(b, last);
            for (size_t i = 0; i < n; i++)
                v[i] += (T)(r - last) * h[i];
        }
    } else {
        const T *add = ring_line<T>(b, y + r < last ? y + r : last);
        const T *sub = ring_line<T>(b, y - 1 >= r ? y - 1 - r : 0);
        for (size_t i = 0; i < n; i++)
            v[i] += add[i] - sub[i];
    }
    const double scale = b->scale;
    for (size_t i = 0; i < n; i++)
        put<B>(out, i, (uint32_t)((double)v[i] * scale + 0.5));
    b->next++;
}

bool ready_line(Boxblur *b, uint32_t received)
{
    uint32_t last = b->fx.in.height - 1;
    uint32_t need = b->next + b->r < last ? b->next + b->r : last;
    return b->next <= last && need < received;
}

template <int B, typename T>
bool blur_strip(Fx *fx, const unsigned char *in, uint32_t lines)
{
    Boxblur *b = reinterpret_cast<Boxblur *>(fx);
    if (lines > b->stripLines)
        b->stripLines = lines;
    unsigned char *out = reserve(fx, lines);
    if (!out)
        return false;
    for (uint32_t i = 0; i < lines; i++) {
        uint32_t j = fx->received + i;
        horizontal_any<B, T>(in + (size_t)i * fx->in.line, ring_line<T>(b, j), fx->in.width,
                             fx->in.channels, b->r);
        // Every line made ready is emitted before the next one overwrites
        // the ring; only the last input line makes more than one ready, and
        // what does not fit this call waits for the end.
        while (ready_line(b, j + 1) && fx->outLines < lines)
            emit<B, T>(b, out + (size_t)fx->outLines++ * fx->out.line);
    }
    KorvChunk *ctx = context(b);
    uint32_t held = fx->received + lines;
    ctx->aux = held < b->slots ? held : b->slots;
    return true;
}

template <int B, typename T>
uint32_t blur_finish(Fx *fx)
{
    Boxblur *b = reinterpret_cast<Boxblur *>(fx);
    uint32_t most = b->stripLines ? b->stripLines : 1;
    unsigned char *out = reserve(fx, most);
    if (!out)
        return 0;
    while (b->next < fx->in.height && fx->outLines < most)
        emit<B, T>(b, out + (size_t)fx->outLines++ * fx->out.line);
    return b->next < fx->in.height ? 2 : 1;
}

void blur_release(Fx *fx)
{
    Boxblur *b = reinterpret_cast<Boxblur *>(fx);
    if (fx->state.queue && b->slot != UINT32_MAX) {
        if (KorvChunk *ctx = context(b)) {
            korv_internal_free(ctx->data);
            ctx->data = nullptr;
        }
    }
    korv_internal_free(b->vsum);
}

} // namespace
} // namespace kvfx

extern "C" KVFX_EXPORT uint32_t KvfxBoxblurInit(KorvArgWord *args, KorvState **state,
                                                KorvFuncDesc *)
{
    using namespace kvfx;
    Fx *fx = begin(args, state, sizeof(Boxblur), "boxblur");
    if (!fx)
        return 0;
    Boxblur *b = reinterpret_cast<Boxblur *>(fx);
    int32_t r = 1;
    uint32_t given = arg_int(fx, args, "r", &r);
    if (given == 0)
        return 0;
    if (r < 0 || r > kMaxRadius)
        return fail(fx, "argument 'r' must lie between 0 and %d: '%d'", kMaxRadius, r);
    b->r = (uint32_t)r;
    uint64_t box = (uint64_t)(2 * r + 1) * (2 * r + 1);
    b->scale = 1.0 / (double)box;
    uint32_t max = max_value(fx->in.bits);
    b->wide = box * max > 0xffffffffu;
    size_t sum = b->wide ? 8 : 4;
    // With the ring as tall as the image no line is ever overwritten.
    uint64_t slots = 2 * (uint64_t)r + 2;
    b->slots = (uint32_t)(slots < fx->in.height ? slots : fx->in.height);
    uint64_t n = (uint64_t)fx->in.width * fx->in.channels;
    uint64_t bytes = (uint64_t)b->slots * n * sum;
    if (bytes > 0xffffffffu)
        return fail(fx, "a radius of %d needs too much memory for lines of %u pixels", r,
                    fx->in.width);
    fx->release = blur_release;
    KorvChunk ctx = {};
    ctx.mark = 1; // the slot stays the module's while the data is
    ctx.size = (uint32_t)bytes;
    ctx.data = static_cast<unsigned char *>(korv_internal_malloc(bytes));
    b->vsum = korv_internal_malloc(n * sum);
    // Until the context chunk is queued its bytes are freed here; from then
    // on by the release entry.
    if (!ctx.data || !b->vsum || !KorvEnqueueChunk(&fx->state, &ctx, &b->slot)) {
        korv_internal_free(ctx.data);
        b->slot = UINT32_MAX;
        return fail(fx, "out of memory");
    }
    if (fx->in.bits == 8) {
        fx->strip = b->wide ? blur_strip<1, uint64_t> : blur_strip<1, uint32_t>;
        fx->finish = b->wide ? blur_finish<1, uint64_t> : blur_finish<1, uint32_t>;
    } else {
        fx->strip = b->wide ? blur_strip<2, uint64_t> : blur_strip<2, uint32_t>;
        fx->finish = b->wide ? blur_finish<2, uint64_t> : blur_finish<2, uint32_t>;
    }
    return ready(fx);
}

// levels: each sample v becomes v * gain + offset, rounded to the nearest
// and held within the sample range. gain and offset take one value for all
// channels or one per channel; the offset is in sample units. The mapping is
// made once into a table per channel, so a strip costs one look-up a sample.
#include "fx.h"

namespace kvfx {
namespace {

struct Levels {
    Fx fx;
    void *table; // channels tables of 256 bytes or 65536 16-bit values
};

uint32_t level(double v, double gain, double offset, uint32_t max)
{
    double x = v * gain + offset;
    if (!(x > 0))
        return 0;
    if (x >= max)
        return max;
    return (uint32_t)(x + 0.5);
}

// One look-up a sample, the channel count fixed so the inner loop unrolls.
template <int B, int C>
void map_pixels(const unsigned char *in, unsigned char *out, size_t pixels, const void *table)
{
    const size_t n = B == 1 ? 256 : 65536;
    if (B == 1) {
        const unsigned char *t = static_cast<const unsigned char *>(table);
        for (size_t i = 0; i < pixels; i++, in += C, out += C) {
            for (int k = 0; k < C; k++)
                out[k] = t[k * n + in[k]];
        }
    } else {
        const uint16_t *t = static_cast<const uint16_t *>(table);
        for (size_t i = 0; i < pixels * C; i += C) {
            for (int k = 0; k < C; k++)
                put<2>(out, i + k, t[k * n + get<2>(in, i + k)]);
        }
    }
}

template <int B>
void map_any(const unsigned char *in, unsigned char *out, size_t pixels, uint32_t c,
             const void *table)
{
    switch (c) {
    case 1: map_pixels<B, 1>(in, out, pixels, table); break;
    case 2: map_pixels<B, 2>(in, out, pixels, table); break;
    case 3: map_pixels<B, 3>(in, out, pixels, table); break;
    default: map_pixels<B, 4>(in, out, pixels, table); break;
    }
}

bool levels_strip(Fx *fx, const unsigned char *in, uint32_t lines)
{
    unsigned char *out = reserve(fx, lines);
    if (!out)
        return false;
    size_t pixels = (size_t)lines * fx->in.width;
    const void *table = reinterpret_cast<Levels *>(fx)->table;
    if (fx->in.bits == 8)
        map_any<1>(in, out, pixels, fx->in.channels, table);
    else
        map_any<2>(in, out, pixels, fx->in.channels, table);
    fx->outLines = lines;
    return true;
}

void levels_release(Fx *fx)
{
    korv_internal_free(reinterpret_cast<Levels *>(fx)->table);
}

// Reads gain or offset: one value for every channel, or one per channel.
bool per_channel(Fx *fx, const KorvArgWord *args, const char *name, double *values)
{
    uint32_t c = fx->in.channels, count = 0;
    uint32_t r = arg_reals(fx, args, name, values, 4, &count);
    if (r == 0)
        return false;
    if (r == 2)
        return true;
    if (count != 1 && count != c) {
        fail(fx, "argument '%s' takes 1 value or %u (one per channel), not %u", name, c, count);
        return false;
    }
    for (uint32_t k = count; k < c; k++)
        values[k] = values[0];
    return true;
}

} // namespace
} // namespace kvfx

extern "C" KVFX_EXPORT uint32_t KvfxLevelsInit(KorvArgWord *args, KorvState **state,
                                               KorvFuncDesc *)
{
    using namespace kvfx;
    Fx *fx = begin(args, state, sizeof(Levels), "levels");
    if (!fx)
        return 0;
    fx->release = levels_release;
    double gain[4] = {1, 1, 1, 1}, offset[4] = {0, 0, 0, 0};
    if (!per_channel(fx, args, "gain", gain) || !per_channel(fx, args, "offset", offset))
        return 0;
    const uint32_t c = fx->in.channels, max = max_value(fx->in.bits);
    size_t entries = (size_t)c * (max + 1);
    void *table = korv_internal_malloc(entries * (fx->in.bits / 8));
    if (!table)
        return fail(fx, "out of memory");
    reinterpret_cast<Levels *>(fx)->table = table;
    for (uint32_t k = 0; k < c; k++) {
        for (uint32_t v = 0; v <= max; v++) {
            uint32_t x = level(v, gain[k], offset[k], max);
            if (fx->in.bits == 8)
                static_cast<unsigned char *>(table)[k * 256 + v] = (unsigned char)x;
            else
                static_cast<uint16_t *>(table)[k * 65536 + v] = (uint16_t)x;
        }
    }
    fx->strip = levels_strip;
    return ready(fx);
}

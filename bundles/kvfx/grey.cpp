// grey: RGB or RGBA to one channel, wr * R + wg * G + wb * B rounded to the
// nearest and held within the range; alpha is dropped. The weights default
// to 0.299 0.587 0.114.
#include "fx.h"

namespace kvfx {
namespace {

struct Grey {
    Fx fx;
    double w[3];
};

// The sum is held within [0, max] before rounding, which gives the same
// result as clamping after it and lets the loop run without branches.
template <int B, int C>
void grey_pixels(const unsigned char *s, unsigned char *o, size_t pixels, const double *w,
                 uint32_t max)
{
    const double wr = w[0], wg = w[1], wb = w[2], top = max;
    for (size_t i = 0; i < pixels; i++) {
        const size_t at = i * C;
        double x = wr * get<B>(s, at) + wg * get<B>(s, at + 1) + wb * get<B>(s, at + 2);
        x = x > 0 ? x : 0;
        x = x < top ? x : top;
        put<B>(o, i, (uint32_t)(x + 0.5));
    }
}

bool grey_strip(Fx *fx, const unsigned char *in, uint32_t lines)
{
    unsigned char *out = reserve(fx, lines);
    if (!out)
        return false;
    const double *w = reinterpret_cast<Grey *>(fx)->w;
    size_t pixels = (size_t)lines * fx->in.width;
    const bool rgba = fx->in.channels == 4;
    if (fx->in.bits == 8)
        (rgba ? grey_pixels<1, 4> : grey_pixels<1, 3>)(in, out, pixels, w, 255);
    else
        (rgba ? grey_pixels<2, 4> : grey_pixels<2, 3>)(in, out, pixels, w, 65535);
    fx->outLines = lines;
    return true;
}

} // namespace
} // namespace kvfx

extern "C" KVFX_EXPORT uint32_t KvfxGreyInit(KorvArgWord *args, KorvState **state,
                                             KorvFuncDesc *)
{
    using namespace kvfx;
    Fx *fx = begin(args, state, sizeof(Grey), "grey");
    if (!fx)
        return 0;
    if (fx->in.channels < 3)
        return fail(fx, "the input must be RGB or RGBA (3 or 4 channels), not %u channel%s",
                    fx->in.channels, fx->in.channels == 1 ? "" : "s");
    double *w = reinterpret_cast<Grey *>(fx)->w;
    w[0] = 0.299;
    w[1] = 0.587;
    w[2] = 0.114;
    double given[3];
    uint32_t count = 0;
    uint32_t r = arg_reals(fx, args, "weights", given, 3, &count);
    if (r == 0)
        return 0;
    if (r == 1) {
        if (count != 3)
            return fail(fx, "argument 'weights' takes 3 values (red, green, blue), not %u", count);
        w[0] = given[0];
        w[1] = given[1];
        w[2] = given[2];
    }
    fx->out.channels = 1;
    fx->strip = grey_strip;
    return ready(fx);
}

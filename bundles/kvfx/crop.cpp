// crop: the window x, y, width, height of the input. x and y default to 0,
// width and height to the rest of the image; a window reaching past the
// image is clipped to it, and one that keeps no pixel is an error.
#include <string.h>
#include "fx.h"

namespace kvfx {
namespace {

struct Crop {
    Fx fx;
    KorvWindow win;
};

bool crop_strip(Fx *fx, const unsigned char *in, uint32_t lines)
{
    const KorvWindow &w = reinterpret_cast<Crop *>(fx)->win;
    // Input lines [first, first + lines) meet the window's lines [y, y + height).
    uint32_t first = fx->received;
    uint32_t top = (uint32_t)w.y, bottom = top + w.height;
    uint32_t from = first > top ? first : top;
    uint32_t to = first + lines < bottom ? first + lines : bottom;
    if (from >= to)
        return true;
    unsigned char *out = reserve(fx, to - from);
    if (!out)
        return false;
    size_t skip = (size_t)(uint32_t)w.x * fx->in.channels * (fx->in.bits / 8);
    const unsigned char *src = in + (size_t)(from - first) * fx->in.line + skip;
    for (uint32_t y = from; y < to; y++, src += fx->in.line, out += fx->out.line)
        memcpy(out, src, fx->out.line);
    fx->outLines = to - from;
    return true;
}

// Reads one window argument; false after an error.
bool window_value(Fx *fx, const KorvArgWord *args, const char *name, int32_t *value,
                  int32_t least)
{
    uint32_t r = arg_int(fx, args, name, value);
    if (r == 0)
        return false;
    if (r == 1 && *value < least) {
        fail(fx, "argument '%s' must be %d or more: '%d'", name, least, *value);
        return false;
    }
    return true;
}

} // namespace
} // namespace kvfx

extern "C" KVFX_EXPORT uint32_t KvfxCropInit(KorvArgWord *args, KorvState **state,
                                             KorvFuncDesc *)
{
    using namespace kvfx;
    Fx *fx = begin(args, state, sizeof(Crop), "crop");
    if (!fx)
        return 0;
    int32_t x = 0, y = 0, width = -1, height = -1;
    if (!window_value(fx, args, "x", &x, INT32_MIN) || !window_value(fx, args, "y", &y, INT32_MIN) ||
        !window_value(fx, args, "width", &width, 1) ||
        !window_value(fx, args, "height", &height, 1))
        return 0;
    const int32_t iw = (int32_t)fx->in.width, ih = (int32_t)fx->in.height;
    // Missing sizes reach the far edge (computed wide: x may be anything).
    int64_t w = width >= 0 ? width : (int64_t)iw - x;
    int64_t h = height >= 0 ? height : (int64_t)ih - y;
    KorvWindow win = {x, y, (uint32_t)(w > 0 ? w : 0), (uint32_t)(h > 0 ? h : 0)};
    // The window's edges are clipped in 32-bit arithmetic; one reaching past
    // that range is cut first so that it cannot wrap.
    if ((int64_t)x + win.width > INT32_MAX)
        win.width = (uint32_t)(INT32_MAX - x);
    if ((int64_t)y + win.height > INT32_MAX)
        win.height = (uint32_t)(INT32_MAX - y);
    KorvCropWin(iw, ih, &win);
    if (win.width == 0 || win.height == 0)
        return fail(fx, "the window %d,%d %lldx%lld keeps nothing of the %ux%u image", x, y,
                    (long long)w, (long long)h, fx->in.width, fx->in.height);
    reinterpret_cast<Crop *>(fx)->win = win;
    fx->out.width = win.width;
    fx->out.height = win.height;
    fx->strip = crop_strip;
    return ready(fx);
}

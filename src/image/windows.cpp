/*
 * Pixel windows and fractional windows (fractions of the image's width and
 * height), and cropping a pixel window to an image.
 */
#include "image/image_private.h"

#include <stdint.h>

namespace {

/* Truncation toward zero, saturated to the 64-bit range (NaN gives 0), so
 * that no double ever converts out of range. */
int64_t trunc64(double v)
{
    if (!(v == v))
        return 0;
    if (v >= 9.2e18)
        return INT64_MAX;
    if (v <= -9.2e18)
        return INT64_MIN;
    return static_cast<int64_t>(v);
}

int32_t clamp32(int64_t v)
{
    return v > INT32_MAX ? INT32_MAX : v < INT32_MIN ? INT32_MIN : static_cast<int32_t>(v);
}

/* The origin rounds with a bias of 0.4999 away from zero. */
int64_t origin(double product)
{
    return trunc64(product >= 0.0 ? product + 0.4999 : product - 0.4999);
}

} // namespace

/* The origin rounds with 0.4999 and the far edge with 0.5, so that a window
 * starting exactly half-way between pixels keeps the lower one while its
 * far edge takes the higher one. */
extern "C" KORV_API uint32_t KorvFWinToWin(uint32_t width, uint32_t height,
                                           const KorvFWindow *fwin, KorvWindow *win)
{
    if (!fwin || !win || fwin->width < 0.0 || fwin->height < 0.0)
        return 0;
    const double w = width, h = height;
    int32_t x = clamp32(origin(w * fwin->x));
    int32_t y = clamp32(origin(h * fwin->y));
    int64_t right = trunc64((fwin->x + fwin->width) * w + 0.5);
    int64_t bottom = trunc64((fwin->y + fwin->height) * h + 0.5);
    win->x = x;
    win->y = y;
    win->width = static_cast<uint32_t>(static_cast<uint64_t>(right) - static_cast<uint64_t>(x));
    win->height = static_cast<uint32_t>(static_cast<uint64_t>(bottom) - static_cast<uint64_t>(y));
    return 1;
}

extern "C" KORV_API uint32_t KorvWinToFWin(uint32_t width, uint32_t height, const KorvWindow *win,
                                           KorvFWindow *fwin)
{
    if (!win || !fwin || width == 0 || height == 0)
        return 0;
    const double w = width, h = height;
    fwin->x = win->x / w;
    fwin->y = win->y / h;
    fwin->width = win->width / w;
    fwin->height = win->height / h;
    return 1;
}

namespace {

void clamp_into(int32_t *v, int32_t limit, bool *changed)
{
    if (*v < 0) {
        *v = 0;
        *changed = true;
    } else if (*v > limit) {
        *v = limit;
        *changed = true;
    }
}

} // namespace

/* Edges are computed in wrapping 32-bit arithmetic, as the window's own
 * fields would hold them. An image with no area refuses every window. */
extern "C" KORV_API uint32_t KorvCropWin(int32_t width, int32_t height, KorvWindow *win)
{
    if (!win || width <= 0 || height <= 0)
        return 0;
    int32_t x = win->x, y = win->y;
    int32_t right = static_cast<int32_t>(static_cast<uint32_t>(x) + win->width);
    int32_t bottom = static_cast<int32_t>(static_cast<uint32_t>(y) + win->height);
    bool changed = false;
    clamp_into(&x, width, &changed);
    clamp_into(&right, width, &changed);
    clamp_into(&y, height, &changed);
    clamp_into(&bottom, height, &changed);
    if (right < x) {
        right = x;
        changed = true;
    }
    if (bottom < y) {
        bottom = y;
        changed = true;
    }
    if (!changed)
        return 1;
    win->x = x;
    win->y = y;
    win->width = static_cast<uint32_t>(right - x);
    win->height = static_cast<uint32_t>(bottom - y);
    return 2;
}

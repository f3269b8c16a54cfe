// threshold: a sample at or above the level becomes the maximum, any other
// 0. The level is in sample units and defaults to the middle of the range.
#include <math.h>
#include "fx.h"

namespace kvfx {
namespace {

struct Threshold {
    Fx fx;
    uint32_t level; // the smallest sample that becomes the maximum
};

bool threshold_strip(Fx *fx, const unsigned char *in, uint32_t lines)
{
    unsigned char *out = reserve(fx, lines);
    if (!out)
        return false;
    uint32_t t = reinterpret_cast<Threshold *>(fx)->level;
    size_t samples = (size_t)lines * fx->in.width * fx->in.channels;
    if (fx->in.bits == 8) {
        const unsigned char t8 = (unsigned char)t; // the level is within the range
        for (size_t i = 0; i < samples; i++)
            out[i] = in[i] >= t8 ? 255 : 0;
    } else {
        const u16a *s = reinterpret_cast<const u16a *>(in);
        u16a *o = reinterpret_cast<u16a *>(out);
        for (size_t i = 0; i < samples; i++)
            o[i] = s[i] >= t ? 65535 : 0;
    }
    fx->outLines = lines;
    return true;
}

} // namespace
} // namespace kvfx

extern "C" KVFX_EXPORT uint32_t KvfxThresholdInit(KorvArgWord *args, KorvState **state,
                                                  KorvFuncDesc *)
{
    kvfx::Fx *fx = kvfx::begin(args, state, sizeof(kvfx::Threshold), "threshold");
    if (!fx)
        return 0;
    uint32_t max = kvfx::max_value(fx->in.bits);
    double level = (max + 1) / 2;
    if (kvfx::arg_real(fx, args, "level", &level) == 0)
        return 0;
    if (level < 0 || level > max)
        return kvfx::fail(fx, "argument 'level' must lie between 0 and %u: '%g'", max, level);
    // A fractional level: samples are whole, so the first one at or above it.
    reinterpret_cast<kvfx::Threshold *>(fx)->level = (uint32_t)ceil(level);
    fx->strip = kvfx::threshold_strip;
    return kvfx::ready(fx);
}

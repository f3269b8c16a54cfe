// convert: samples of 8 bits to 16 (v * 257, so 255 becomes 65535) and back
// ((v * 255 + 32767) / 65535, rounded to the nearest). The same depth copies.
#include <string.h>
#include "fx.h"

namespace kvfx {
namespace {

bool convert_strip(Fx *fx, const unsigned char *in, uint32_t lines)
{
    unsigned char *out = reserve(fx, lines);
    if (!out)
        return false;
    size_t samples = (size_t)lines * fx->in.width * fx->in.channels;
    if (fx->in.bits == fx->out.bits) {
        memcpy(out, in, (size_t)lines * fx->in.line);
    } else if (fx->in.bits == 8) {
        u16a *o = reinterpret_cast<u16a *>(out);
        for (size_t i = 0; i < samples; i++)
            o[i] = (uint16_t)(in[i] * 257u);
    } else {
        const u16a *s = reinterpret_cast<const u16a *>(in);
        for (size_t i = 0; i < samples; i++)
            out[i] = (unsigned char)((s[i] * 255u + 32767u) / 65535u);
    }
    fx->outLines = lines;
    return true;
}

} // namespace
} // namespace kvfx

extern "C" KVFX_EXPORT uint32_t KvfxConvertInit(KorvArgWord *args, KorvState **state,
                                                KorvFuncDesc *)
{
    kvfx::Fx *fx = kvfx::begin(args, state, sizeof(kvfx::Fx), "convert");
    if (!fx)
        return 0;
    int32_t bits = 0;
    uint32_t r = kvfx::arg_int(fx, args, "bits", &bits);
    if (r == 0)
        return 0;
    if (r == 2)
        return kvfx::fail(fx, "argument 'bits' is missing (8 or 16)");
    if (bits != 8 && bits != 16)
        return kvfx::fail(fx, "argument 'bits' must be 8 or 16: '%d'", bits);
    fx->out.bits = (uint32_t)bits;
    fx->strip = kvfx::convert_strip;
    return kvfx::ready(fx);
}

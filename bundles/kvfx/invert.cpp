// invert: every sample becomes the maximum minus itself. For samples of 8 or
// 16 bits in whole bytes that is the complement of every byte, so one loop
// over the strip's bytes serves both depths.
#include "fx.h"

namespace kvfx {
namespace {

bool invert_strip(Fx *fx, const unsigned char *in, uint32_t lines)
{
    unsigned char *out = reserve(fx, lines);
    if (!out)
        return false;
    size_t n = (size_t)lines * fx->in.line;
    for (size_t i = 0; i < n; i++)
        out[i] = (unsigned char)~in[i];
    fx->outLines = lines;
    return true;
}

} // namespace
} // namespace kvfx

extern "C" KVFX_EXPORT uint32_t KvfxInvertInit(KorvArgWord *args, KorvState **state,
                                               KorvFuncDesc *)
{
    kvfx::Fx *fx = kvfx::begin(args, state, sizeof(kvfx::Fx), "invert");
    if (!fx)
        return 0;
    fx->strip = kvfx::invert_strip;
    return kvfx::ready(fx);
}

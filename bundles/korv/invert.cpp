// invert: every sample becomes its complement, max - value. For unsigned
// samples of 8 or 16 bits that is every bit flipped, in either byte order,
// so the strip is inverted byte by byte.
#include <string.h>
#include "korv.h"

namespace {

void invert_strip(const unsigned char *in, unsigned char *out, uint32_t size)
{
    uint32_t i = 0;
    for (; i + 8 <= size; i += 8) {
        uint64_t v;
        memcpy(&v, in + i, 8);
        v = ~v;
        memcpy(out + i, &v, 8);
    }
    for (; i < size; i++)
        out[i] = static_cast<unsigned char>(~in[i]);
}

} // namespace

extern "C" KORV_BUNDLE_EXPORT uint32_t KorvInvertInit(KorvArgWord *args, KorvState **state,
                                                      KorvFuncDesc *)
{
    return korvfx::strip_init("invert", invert_strip, args, state);
}

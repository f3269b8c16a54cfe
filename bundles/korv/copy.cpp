// copy: the output is the input, strip by strip.
#include <string.h>
#include "korv.h"

namespace {

void copy_strip(const unsigned char *in, unsigned char *out, uint32_t size)
{
    memcpy(out, in, size);
}

} // namespace

extern "C" KORV_BUNDLE_EXPORT uint32_t KorvCopyInit(KorvArgWord *args, KorvState **state,
                                                    KorvFuncDesc *)
{
    return korvfx::strip_init("copy", copy_strip, args, state);
}

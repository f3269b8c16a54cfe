// Binary headers read back from fuzzed bytes, with and without a limit and
// in place; a header that reads is written again in both byte orders and
// must read back from what was written, unless it holds binary data values
// (the writer flags those so that the reader refuses them, on purpose).
#include "fuzz_util.h"

#include <vector>

namespace {

bool holds_data(const KorvCMNode *node)
{
    for (; node; node = node->next)
        if (node->kind == KORV_CMK_DATA || holds_data(node->child))
            return true;
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // An aligned copy, as a block handed over by a caller would be.
    std::vector<uint64_t> copy(size / 8 + 1);
    memcpy(copy.data(), data, size);
    const void *block = copy.data();

    KorvGenericHeader *limited = KorvBinHdrToHdr(block, static_cast<uint32_t>(size), 0);
    if (limited) {
        for (uint32_t order = 0; order < 2; order++) {
            void *out = nullptr;
            int32_t n = KorvBinHdrFromHdr(limited, order, &out, 0);
            int32_t need = KorvBinHdrFromHdr(limited, order, nullptr, 0);
            if (n > 0) {
                if (need < n)
                    abort(); // written past the size asked for
                KorvGenericHeader *back = KorvBinHdrToHdr(out, static_cast<uint32_t>(n), 0);
                if (!back && !holds_data(limited->params))
                    abort(); // a written header does not read back
                if (back)
                    back->free(back);
            }
            korv_internal_free(out);
        }
        limited->free(limited);
    }
    KorvGenericHeader *in_place = KorvBinHdrToHdr(block, static_cast<uint32_t>(size), 1);
    if (in_place)
        in_place->free(in_place);
    return 0;
}

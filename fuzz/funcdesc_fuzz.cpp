// Function descriptors read from fuzzed documents; a descriptor that reads
// is copied and freed.
#include "fuzz_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    KorvIO *io = fuzz_stream(data, size);
    KorvFuncDesc *desc = KorvAllocFuncDesc();
    if (desc) {
        if (KorvReadFuncDesc(io, desc) == 1) {
            KorvFuncDesc *copy = KorvCopyFuncDesc(desc);
            if (copy)
                copy->free(copy);
        }
        desc->free(desc);
    }
    io->close(io);
    return 0;
}

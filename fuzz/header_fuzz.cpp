// Reads a header document of any format from the input, then its chunks,
// and writes the header and the last chunk back.
#include <kvsup.h>

#include <stddef.h>
#include <stdint.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    KorvIO *in = KorvIO_Mem(0);
    if (!in)
        return 0;
    if (size)
        KorvIOWriteBytes(in, data, size);
    in->seek(in, 0, 0);
    KVHdrManager m{};
    KorvGenericHeader *h = nullptr;
    if (KVHdrRead_Header(in, &m, &h) == 1 && h) {
        KorvIO *out = KorvIO_Mem(0);
        KVHdrWrite_Header(h, &m, out);
        KorvChunk c{};
        // A few chunks of a few lines; a chunk's data lives until the next load.
        for (int i = 0; i < 16; i++) {
            if (KVHdrToChunkLines(&m, h, in, &c, 3) != 1)
                break;
            KVHdrFromChunk(&m, h, out, &c);
            if (c.flags & 1)
                break;
        }
        out->close(out);
        h->free(h);
    }
    in->close(in);
    return 0;
}

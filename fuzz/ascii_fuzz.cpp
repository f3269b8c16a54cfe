// ASCII value chunks from arbitrary text: the first bytes choose the field
// widths of a group, the rest is the text that is read and written back.
#include <kvsup.h>

#include <stddef.h>
#include <stdint.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    static const uint32_t kWidths[] = {8, 16, 32, 64};
    uint32_t fields = data[0] % 4 + 1;
    uint32_t widths[4];
    for (uint32_t i = 0; i < fields; i++)
        widths[i] = kWidths[(data[1] >> (2 * i)) & 3];
    KorvIO *in = KorvIO_Mem(0);
    KorvIOWriteBytes(in, data + 2, size - 2);
    in->seek(in, 0, 0);
    unsigned char values[8 * 4 * 8];
    unsigned char *cursor = values;
    uint32_t counter = 0;
    _KVHdrReadAsciiValues(in, widths, 8, fields, &cursor, &counter);

    KorvIO *out = KorvIO_Mem(0);
    const unsigned char *from = values;
    uint32_t groups = counter / fields;
    _KVHdrWriteAsciiValues(out, widths, groups, fields, &from, 0);
    KVHdrValueChunk chunk{};
    in->seek(in, 0, 0);
    if (KVHdrLoadChunk_Ascii_64(in, &chunk, 5) == 1)
        KVHdrEmitChunk_Ascii_64(out, &chunk, 1);
    korv_internal_free(chunk.values);
    out->close(out);
    in->close(in);
    return 0;
}

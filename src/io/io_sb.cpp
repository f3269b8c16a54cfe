// Streams over a smart buffer; the buffer stays the caller's.
#include "io_private.h"

namespace {

struct SbIO {
    KorvIO io;
    KorvSmartBuffer *sb;
};

KorvSmartBuffer *sb_of(KorvIO *io) { return reinterpret_cast<SbIO *>(io)->sb; }

void sb_close(KorvIO *io) { korv_internal_free(io); }
int64_t sb_read(KorvIO *io, void *dst, uint64_t count) {
    return static_cast<int64_t>(KorvSBRead(sb_of(io), dst, count));
}
int64_t sb_write(KorvIO *io, const void *src, uint64_t count) {
    return static_cast<int64_t>(KorvSBAppend(sb_of(io), src, count));
}
int64_t sb_seek(KorvIO *, int64_t, uint32_t) { return -1; }

} // namespace

extern "C" KORV_API KorvIO *KorvIO_SB(KorvSmartBuffer *sb) {
    if (!sb) return nullptr;
    KorvIO *io = korv::io::make_stream(sizeof(SbIO), sb_close, sb_read, sb_write,
                                       korv::io::flush_nothing, sb_seek, nullptr);
    if (io) reinterpret_cast<SbIO *>(io)->sb = sb;
    return io;
}

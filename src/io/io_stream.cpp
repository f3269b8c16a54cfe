// Construction helpers shared by every back end.
#include "io_private.h"

namespace korv::io {

KorvIO *make_stream(size_t size, KorvIOCloseFn close, KorvIOReadFn read,
                    KorvIOWriteFn write, KorvIOFlushFn flush, KorvIOSeekFn seek,
                    KorvIOSetOwnedFn set_owned) {
    auto *io = static_cast<KorvIO *>(korv_internal_calloc(1, size));
    if (!io) return nullptr;
    io->reserved1 = 0;
    io->close = close;
    io->read = read;
    io->write = write;
    io->flush = flush;
    io->seek = seek;
    io->set_owned = set_owned;
    return io;
}

int32_t flush_nothing(KorvIO *) { return 0; }

// Streams of this library never block; only network streams report -2, and
// they install their own readiness wait. Until then a would-block cannot be
// waited for and reads as not ready.
int32_t wait_ready(KorvIO *, bool) { return 0; }

} // namespace korv::io

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

// Only socket streams report -2; any other stream fails the wait.
int32_t wait_ready(KorvIO *io, bool writable) {
    KorvIO *one[1] = {io};
    uint32_t ready = writable ? KorvIOSelect(nullptr, 0, one, 1, 0xFFFFFFFFu)
                              : KorvIOSelect(one, 1, nullptr, 0, 0xFFFFFFFFu);
    return ready == 1 ? 1 : 0;
}

} // namespace korv::io

// Pass-through and multiplexer streams over other streams.
#include "io_private.h"

#include <string.h>

using namespace korv::io;

namespace {

struct NopIO {
    KorvIO io;
    KorvIO *inner;
    uint32_t owned; // stays clear: ownership is the inner stream's
};

struct MuxIO {
    KorvIO io;
    KorvIO **members; // the stream's own copy
    uint32_t count;
    uint32_t current;
};

KorvIO *inner(KorvIO *io) { return reinterpret_cast<NopIO *>(io)->inner; }
MuxIO *mux(KorvIO *io) { return reinterpret_cast<MuxIO *>(io); }

void nop_close(KorvIO *io) {
    if (reinterpret_cast<NopIO *>(io)->owned) inner(io)->close(inner(io));
    korv_internal_free(io);
}
int64_t nop_read(KorvIO *io, void *d, uint64_t n) { return inner(io)->read(inner(io), d, n); }
int64_t nop_write(KorvIO *io, const void *s, uint64_t n) { return inner(io)->write(inner(io), s, n); }
int32_t nop_flush(KorvIO *io) { return inner(io)->flush(inner(io)); }
int64_t nop_seek(KorvIO *io, int64_t o, uint32_t w) { return inner(io)->seek(inner(io), o, w); }
void nop_set_owned(KorvIO *io, uint32_t f) { inner(io)->set_owned(inner(io), f); }

void mux_close(KorvIO *io) {
    korv_internal_free(mux(io)->members);
    korv_internal_free(io);
}

// A member that errs is asked again; one that ends hands over to the next.
// The end of the last member reads as -1.
int64_t mux_read(KorvIO *io, void *dst, uint64_t count) {
    MuxIO *m = mux(io);
    while (m->current < m->count) {
        KorvIO *s = m->members[m->current];
        int64_t r = s->read(s, dst, count);
        if (r > 0) return r;
        if (r == 0) ++m->current;
    }
    return -1;
}

// Reports the whole count as written, even when every member is used up.
int64_t mux_write(KorvIO *io, const void *src, uint64_t count) {
    MuxIO *m = mux(io);
    while (m->current < m->count) {
        KorvIO *s = m->members[m->current];
        int64_t r = s->write(s, src, count);
        if (r > 0) break;
        if (r == 0) ++m->current;
    }
    return static_cast<int64_t>(count);
}

int32_t mux_flush(KorvIO *io) {
    MuxIO *m = mux(io);
    for (uint32_t i = 0; i < m->count; ++i) m->members[i]->flush(m->members[i]);
    return 0;
}

int64_t mux_seek(KorvIO *io, int64_t offset, uint32_t) {
    if (offset < 0 || offset > mux(io)->count) return -1;
    mux(io)->current = static_cast<uint32_t>(offset);
    return offset;
}

} // namespace

extern "C" {

KORV_API KorvIO *KorvIO_Nop(KorvIO *in) {
    if (!in) return nullptr;
    KorvIO *io = make_stream(sizeof(NopIO), nop_close, nop_read, nop_write, nop_flush,
                             nop_seek, nop_set_owned);
    if (io) reinterpret_cast<NopIO *>(io)->inner = in;
    return io;
}

KORV_API KorvIO *KorvIO_Multiplex(KorvIO **streams, uint32_t count) {
    if (count && !streams) return nullptr;
    KorvIO *io = make_stream(sizeof(MuxIO), mux_close, mux_read, mux_write, mux_flush,
                             mux_seek, nullptr);
    if (!io || count == 0) return io;
    auto **copy = static_cast<KorvIO **>(korv_internal_malloc(count * sizeof(KorvIO *)));
    if (!copy) {
        korv_internal_free(io);
        return nullptr;
    }
    memcpy(copy, streams, count * sizeof(KorvIO *));
    mux(io)->members = copy;
    mux(io)->count = count;
    return io;
}

KORV_API uint32_t KorvIOMultiplexSet(KorvIO *io, uint32_t index) {
    if (!io || index > mux(io)->count) return 0;
    mux(io)->current = index;
    return 1;
}

} // extern "C"

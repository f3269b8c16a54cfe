// KorvIOSelect: one wait over several socket streams.
#include "net/net_internal.h"

using namespace korv::net;

namespace {

const unsigned kMaxStreams = 64;

SocketStream *stream_of(KorvIO *io)
{
    return reinterpret_cast<SocketStream *>(io);
}

} // namespace

// Read streams wait for data (or a connection, when they listen). The
// write count adds write interest to the first streams of the read array;
// only when there is no read array are the write streams themselves waited
// on, so that a wait for writability alone works.
extern "C" KORV_API uint32_t KorvIOSelect(KorvIO **reads, uint32_t read_count, KorvIO **writes,
                                          uint32_t write_count, uint32_t timeout_ms)
{
    if (!reads)
        read_count = 0;
    if (!writes)
        write_count = 0;
    SocketStream *waited[kMaxStreams];
    uint32_t n = 0;
    bool by_reads = read_count > 0;
    uint32_t total = by_reads ? read_count : write_count;
    if (total == 0 || total > kMaxStreams)
        return 0xFFFFFFFFu;
    for (uint32_t i = 0; i < total; i++) {
        KorvIO *io = by_reads ? reads[i] : writes[i];
        if (!is_socket_stream(io))
            return 0xFFFFFFFFu;
        waited[n++] = stream_of(io);
    }
    // A download holding bytes it has received but not handed out is
    // readable now, whatever its socket says.
    if (by_reads)
        for (uint32_t i = 0; i < n; i++)
            if (has_ahead(waited[i]))
                return 1;
    if (by_reads) {
        for (uint32_t i = 0; i < n; i++)
            waited[i]->event_mask |= waited[i]->listening ? kWantAccept : kWantRead;
        for (uint32_t i = 0; i < write_count && i < n; i++)
            waited[i]->event_mask |= kWantWrite;
    } else {
        for (uint32_t i = 0; i < n; i++)
            waited[i]->event_mask |= kWantWrite;
    }
    uint32_t result = sys_wait(waited, n, timeout_ms);
    for (uint32_t i = 0; i < n; i++)
        waited[i]->event_mask = 0;
    return result;
}

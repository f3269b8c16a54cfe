// TCP socket streams: start-up of the sockets library, the connection and
// listening slots, and KorvIO_TcpSocket.
#include <string.h>
#include "net/net_internal.h"

namespace korv::net {

namespace {

const uint32_t kSocketsLock = KORV_KEY('W', 'S', 'A', 'K');
bool g_started = false;

int32_t stop_sockets(uintptr_t)
{
    KorvaneLock(kSocketsLock);
    if (g_started) {
        sys_shutdown();
        g_started = false;
    }
    KorvaneUnlock(kSocketsLock);
    return 1;
}

SocketStream *stream_of(KorvIO *io)
{
    return reinterpret_cast<SocketStream *>(io);
}

int32_t socket_flush(KorvIO *)
{
    return 0;
}

int64_t socket_seek(KorvIO *, int64_t, uint32_t)
{
    return -1;
}

int64_t refuse_write(KorvIO *, const void *, uint64_t)
{
    return -1;
}

// A listening stream's read hands out a new connection stream through the
// caller's buffer, which must be exactly one pointer wide.
int64_t accepting_read(KorvIO *io, void *dst, uint64_t count)
{
    if (count != sizeof(KorvIO *) || !dst)
        return -1;
    int64_t result = 0;
    Socket accepted = sys_accept(stream_of(io)->socket, &result);
    if (accepted == kNoSocket)
        return result;
    SocketStream *connection = new_stream(accepted, false);
    if (!connection) {
        sys_close(accepted);
        return -1;
    }
    KorvIO *out = &connection->io;
    memcpy(dst, &out, sizeof out);
    return (int64_t)sizeof out;
}

} // namespace

// Chunk framing and HTTP bodies live with the URL streams.
int64_t connection_read(KorvIO *io, void *dst, uint64_t count);
int64_t connection_write(KorvIO *io, const void *src, uint64_t count);
void connection_close(KorvIO *io);

bool start_sockets()
{
    KorvaneLock(kSocketsLock);
    bool ok = g_started;
    if (!ok && sys_startup() == 0) {
        ok = g_started = true;
        KorvaneRegisterCleanupFunc(stop_sockets, 0);
    }
    KorvaneUnlock(kSocketsLock);
    return ok;
}

SocketStream *new_stream(Socket socket, bool listening)
{
    auto *s = static_cast<SocketStream *>(korv_internal_calloc(1, sizeof(SocketStream)));
    if (!s)
        return nullptr;
    s->io.close = connection_close;
    s->io.read = listening ? accepting_read : connection_read;
    s->io.write = listening ? refuse_write : connection_write;
    s->io.flush = socket_flush;
    s->io.seek = socket_seek;
    s->io.set_owned = nullptr; // a socket stream always owns its socket
    s->socket = socket;
    s->listening = listening ? 1 : 0;
    s->line_start = s->line_end = s->line;
    s->blocking = 1;
    return s;
}

bool is_socket_stream(KorvIO *io)
{
    return io && io->close == connection_close;
}

} // namespace korv::net

using namespace korv::net;

extern "C" KORV_API KorvIO *KorvIO_TcpSocket(const char *host, uint16_t port, uint32_t backlog,
                                             uint32_t blocking)
{
    if (!start_sockets())
        return nullptr;
    Socket s = sys_tcp_socket();
    if (s == kNoSocket)
        return nullptr;
    uint32_t address = 0;
    bool ok = sys_resolve(host, &address);
    if (ok)
        ok = backlog ? sys_listen(s, address, port, backlog) : sys_connect(s, address, port);
    SocketStream *stream = ok ? new_stream(s, backlog != 0) : nullptr;
    if (!stream) {
        sys_close(s);
        return nullptr;
    }
    if (!blocking) {
        sys_set_blocking(s, false);
        stream->blocking = 0;
    }
    return &stream->io;
}

/*
 * Socket streams: the record behind KorvIO_TcpSocket and KorvIO_URL, and the
 * narrow operating-system layer they stand on (net_posix.cpp, net_win32.cpp).
 */
#ifndef KVSUP_NET_NET_INTERNAL_H
#define KVSUP_NET_NET_INTERNAL_H

#include <stdint.h>
#include <kvsup.h>

namespace korv::net {

/* A socket of the platform, widened to a pointer-sized integer. */
typedef intptr_t Socket;
const Socket kNoSocket = -1;

/* Interest bits of the select wait. */
const uint32_t kWantRead = 1;
const uint32_t kWantWrite = 2;
const uint32_t kWantAccept = 8;

const unsigned kLineBuffer = 512;

/* Results of the system layer's transfers besides byte counts. */
const int64_t kFailed = -1;
const int64_t kWouldBlock = -2;

struct SocketStream {
    KorvIO io;
    Socket socket;
    uint32_t event_mask;      /* interest during KorvIOSelect, else 0 */
    char *line_start;         /* HTTP streams: start of the line buffer */
    char *line_end;           /* where the next byte of a line goes */
    int32_t remaining;        /* bytes left in the chunk or the body */
    uint32_t chunked;         /* chunked body (GET) or upload (PUT) */
    uint32_t last_chunk_seen; /* the chunk of size 0 has been read */
    uint32_t length_known;    /* a Content-Length header was read */
    uint32_t upload;          /* opened for PUT */
    uint32_t listening;       /* read accepts connections */
    char line[kLineBuffer];
    uint32_t blocking;        /* the socket is in blocking mode */
    /* Downloads receive in large blocks and serve reads from them: bytes
     * ahead[ahead_start..ahead_end) came from the peer and were not read. */
    char *ahead;              /* kReadAhead bytes, or null: no read-ahead */
    uint32_t ahead_start;
    uint32_t ahead_end;
};

const uint32_t kReadAhead = 128 * 1024;

/* True when the stream holds received bytes that were not read yet: it is
 * ready for reading whatever the socket says. */
inline bool has_ahead(const SocketStream *s)
{
    return s->ahead_end > s->ahead_start;
}

/* Starts the sockets library once per process, under the 'WSAK' lock, and
 * registers the clean-up that stops it. False when it cannot start. */
bool start_sockets();

/* A new zero-filled stream with the connection slots filled in (or the
 * listening ones), or null. */
SocketStream *new_stream(Socket socket, bool listening);

/* True when io is a socket stream of this library. */
bool is_socket_stream(KorvIO *io);

/* ---- operating-system layer ---- */

int sys_startup();
void sys_shutdown();
Socket sys_tcp_socket();
/* First IPv4 address of host, in network byte order; null host: any. */
bool sys_resolve(const char *host, uint32_t *address);
bool sys_connect(Socket s, uint32_t address, uint16_t port);
bool sys_listen(Socket s, uint32_t address, uint16_t port, uint32_t backlog);
bool sys_set_blocking(Socket s, bool blocking);
/* Byte counts, or kFailed / kWouldBlock. */
int64_t sys_recv(Socket s, void *buffer, uint64_t count, bool wait_all);
int64_t sys_send(Socket s, const void *buffer, uint64_t count);
/* The accepted socket, or kNoSocket with *result kFailed or kWouldBlock. */
Socket sys_accept(Socket s, int64_t *result);
/* Lingers up to 5 seconds for unsent data, then closes. */
void sys_close(Socket s);
/* Ends the sending side (the peer reads the end of data), reads and drops
 * what the peer still sends until it closes or the linger time passes,
 * then closes: nothing queued is lost to a reset. */
void sys_finish(Socket s);
/* Waits until one of the streams is ready for what its event_mask asks:
 * 1 ready, 2 time-out, 0xFFFFFFFF failure. timeout_ms all ones: no limit. */
uint32_t sys_wait(SocketStream **streams, uint32_t count, uint32_t timeout_ms);

} // namespace korv::net

#endif

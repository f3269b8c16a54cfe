// Connection reads and writes with HTTP/1.1 framing, and KorvIO_URL: GET
// downloads (plain, with a known length, or chunked) and chunked PUT uploads.
#include <string.h>
#include "net/net_internal.h"
#include "env/env_setting.h"

namespace korv::net {

namespace {

SocketStream *stream_of(KorvIO *io)
{
    return reinterpret_cast<SocketStream *>(io);
}

bool is_blank(char c)
{
    return c == ' ' || c == '\t';
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? (char)(c - 'A' + 'a') : c;
}

// Case-insensitive prefix test.
bool starts_with(const char *text, const char *prefix)
{
    for (; *prefix; text++, prefix++)
        if (lower(*text) != lower(*prefix))
            return false;
    return true;
}

// Reads a hexadecimal number as "%x" does: leading blanks, an optional "0x".
bool read_hex(const char *text, uint32_t *value)
{
    while (is_blank(*text))
        text++;
    if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
        text += 2;
    uint64_t v = 0;
    bool any = false;
    for (;; text++, any = true) {
        char c = lower(*text);
        int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
        if (digit < 0)
            break;
        v = v * 16 + (uint64_t)digit;
        if (v > 0xFFFFFFFFu)
            return false;
    }
    *value = (uint32_t)v;
    return any;
}

// Reads a decimal number as "%d" does: leading blanks, an optional sign.
bool read_decimal(const char *text, int64_t *value)
{
    while (is_blank(*text))
        text++;
    bool negative = *text == '-';
    if (*text == '-' || *text == '+')
        text++;
    if (*text < '0' || *text > '9')
        return false;
    int64_t v = 0;
    for (; *text >= '0' && *text <= '9'; text++)
        if (v < 0x100000000LL)
            v = v * 10 + (*text - '0');
    *value = negative ? -v : v;
    return true;
}

// Moves up to count bytes that were read ahead to dst.
uint64_t take_ahead(SocketStream *s, char *dst, uint64_t count)
{
    uint64_t n = s->ahead_end - s->ahead_start;
    if (n > count)
        n = count;
    memcpy(dst, s->ahead + s->ahead_start, n);
    s->ahead_start += (uint32_t)n;
    return n;
}

// Receives from the connection as one recv would, serving what was read
// ahead first: with wait_all until count bytes, the end or an error;
// without, all that has arrived up to count (a short read would lose bytes,
// as a known length drops by the count asked). A download fetches what the
// peer has sent, up to a whole block, with one receive, so that a stream
// read in small pieces costs one system call per block rather than per
// piece; it never waits for more than a receive of count bytes would.
int64_t receive(SocketStream *s, void *dst, uint64_t count, bool wait_all)
{
    if (!s->ahead)
        return sys_recv(s->socket, dst, count, wait_all);
    char *out = static_cast<char *>(dst);
    uint64_t got = take_ahead(s, out, count);
    for (bool asked = false; got < count && (wait_all || !asked); asked = true) {
        int64_t r;
        if (count - got >= kReadAhead) {
            r = sys_recv(s->socket, out + got, count - got, wait_all);
            if (r > 0)
                got += (uint64_t)r;
        } else {
            s->ahead_start = s->ahead_end = 0;
            r = sys_recv(s->socket, s->ahead, kReadAhead, false);
            if (r > 0) {
                s->ahead_end = (uint32_t)r;
                got += take_ahead(s, out + got, count - got);
            }
        }
        if (r < 0)
            return got ? (int64_t)got : r;
        if (r == 0)
            break;
    }
    return (int64_t)got;
}

enum class Line { ended, closed, error, would_block, too_long };

// Receives one line into the stream's line buffer, a byte at a time. A
// line feed ends it and a carriage return is dropped. A failed or blocked
// receive keeps the partial line for the next call. A line that does not
// fit into the buffer is refused.
Line read_line(SocketStream *s, char *out, size_t out_size)
{
    char *limit = s->line + kLineBuffer;
    if (s->line_end >= limit)
        return Line::too_long;
    Line status = Line::ended;
    for (;;) {
        char c;
        int64_t got = receive(s, &c, 1, false);
        if (got == kWouldBlock)
            return Line::would_block;
        if (got < 0)
            return Line::error;
        if (got == 0) {
            status = Line::closed;
            break;
        }
        if (c == '\n')
            break;
        if (c == '\r')
            continue;
        if (s->line_end + 1 >= limit) {
            s->line_end = limit;
            return Line::too_long;
        }
        *s->line_end++ = c;
    }
    size_t length = (size_t)(s->line_end - s->line_start);
    if (length >= out_size)
        length = out_size - 1;
    memcpy(out, s->line_start, length);
    out[length] = '\0';
    s->line_end = s->line_start;
    if (status == Line::closed && length > 0)
        return Line::ended; // a last line without its line feed
    return status;
}

int64_t line_failure(Line status)
{
    return status == Line::would_block ? -2 : -1;
}

// Starts the next chunk of a chunked body: skips the empty line that ends
// the previous chunk and reads the size line. Returns 1 on success, 0 at a
// clean end, or the failure (-1, -2).
int64_t next_chunk(SocketStream *s)
{
    char text[kLineBuffer];
    for (;;) {
        Line status = read_line(s, text, sizeof text);
        if (status == Line::closed)
            return -1; // the body stopped before its last chunk
        if (status != Line::ended)
            return line_failure(status);
        if (text[0])
            break;
    }
    uint32_t size;
    if (!read_hex(text, &size) || size > 0x7FFFFFFFu)
        return -1;
    s->remaining = (int32_t)size;
    if (size == 0)
        s->last_chunk_seen = 1;
    return 1;
}

int64_t send_text(SocketStream *s, const char *text)
{
    return sys_send(s->socket, text, strlen(text));
}

// Sends one request line (formatted with one text value) with its own send.
bool send_line(SocketStream *s, const char *format, const char *value = "")
{
    char line[4096];
    uint64_t n = KorvSNPrintf(line, sizeof line, format, value);
    if (n >= sizeof line)
        return false;
    return sys_send(s->socket, line, n) == (int64_t)n;
}

// Reads the status line and the header lines of a download response.
bool read_response_head(SocketStream *s)
{
    char text[kLineBuffer];
    if (read_line(s, text, sizeof text) != Line::ended)
        return false;
    const char *p = text;
    while (is_blank(*p))
        p++;
    while (*p && !is_blank(*p))
        p++;
    int64_t status;
    if (!read_decimal(p, &status) || status != 200)
        return false;
    for (;;) {
        // A head that breaks off (closed, reset, a line too long) is a
        // failed open rather than a body that starts inside the headers.
        if (read_line(s, text, sizeof text) != Line::ended)
            return false;
        if (!text[0])
            return true;
        if (starts_with(text, "Content-Length:")) {
            int64_t length;
            if (!read_decimal(text + 15, &length) || length < 0 || length > 0x7FFFFFFF)
                return false;
            s->remaining = (int32_t)length;
            s->length_known = 1;
        } else if (starts_with(text, "Transfer-Encoding:")) {
            const char *value = text + 18;
            while (is_blank(*value))
                value++;
            if (starts_with(value, "chunked"))
                s->chunked = 1;
        }
    }
}

void free_stream(SocketStream *s)
{
    if (s->socket != kNoSocket)
        sys_close(s->socket);
    korv_internal_free(s->ahead);
    korv_internal_free(s);
}

} // namespace

int64_t connection_read(KorvIO *io, void *dst, uint64_t count)
{
    SocketStream *s = stream_of(io);
    if (s->chunked && s->remaining == 0 && !s->last_chunk_seen) {
        int64_t started = next_chunk(s);
        if (started < 1)
            return started;
    }
    bool bounded = s->chunked || s->length_known;
    if (bounded && count > (uint64_t)s->remaining)
        count = (uint64_t)s->remaining;
    if (count == 0)
        return 0;
    int64_t got = receive(s, dst, count, s->blocking != 0);
    if (got < 0)
        return got;
    if (got == 0 && bounded)
        return -1; // the connection closed inside a known body
    if (bounded)
        s->remaining -= (int32_t)count;
    return got;
}

int64_t connection_write(KorvIO *io, const void *src, uint64_t count)
{
    SocketStream *s = stream_of(io);
    if (count == 0)
        return 0;
    if (s->upload && s->chunked) {
        char size_line[24];
        KorvSNPrintf(size_line, sizeof size_line, "%llx\r\n", count);
        send_text(s, size_line);
    }
    int64_t sent = sys_send(s->socket, src, count);
    if (s->upload && s->chunked)
        send_text(s, "\r\n");
    return sent;
}

// An upload ends with its final chunk; the sending side is then shut and
// the peer's answer read and dropped until it closes, because closing with
// unread data resets the connection and drops what is still queued.
void connection_close(KorvIO *io)
{
    SocketStream *s = stream_of(io);
    if (s->upload && s->chunked) {
        send_text(s, "0\r\n");
        sys_finish(s->socket);
        s->socket = kNoSocket;
    }
    free_stream(s);
}

} // namespace korv::net

using namespace korv::net;

extern "C" KORV_API KorvIO *KorvIO_URL(const char *url, const char *mode)
{
    if (!url)
        return nullptr;
    if (!start_sockets())
        return nullptr;
    if (!starts_with(url, "http://"))
        return nullptr;

    // The server part runs to the first '/'; a port follows a ':'. The
    // proxy setting is copied under the environment lock, as another
    // thread may replace it.
    char host[256];
    bool proxy = false;
    {
        korv::EnvSetting setting("KV_PROXY");
        proxy = setting.value() && *setting.value();
        const char *server = proxy ? setting.value() : url + 7;
        size_t server_length = strcspn(server, "/");
        if (server_length >= sizeof host)
            return nullptr;
        memcpy(host, server, server_length);
        host[server_length] = '\0';
    }
    uint32_t port = 65535;
    if (char *colon = strchr(host, ':')) {
        int64_t given;
        if (read_decimal(colon + 1, &given))
            port = (uint16_t)given;
        *colon = '\0';
    }
    if (port == 65535)
        port = 80;

    uint32_t address;
    if (!sys_resolve(host, &address))
        return nullptr;
    Socket socket = sys_tcp_socket();
    if (socket == kNoSocket)
        return nullptr;
    if (!sys_connect(socket, address, (uint16_t)port)) {
        sys_close(socket);
        return nullptr;
    }
    SocketStream *s = new_stream(socket, false);
    if (!s) {
        sys_close(socket);
        return nullptr;
    }

    const char *target = proxy ? url : strchr(url + 7, '/');
    if (!target)
        target = "/";
    bool upload = mode && strchr(mode, 'w');
    bool ok;
    if (upload) {
        ok = send_line(s, "PUT %s HTTP/1.1\r\n", target) && send_line(s, "Host: %s\r\n", host) &&
             send_line(s, "Transfer-Encoding: chunked\r\n\r\n");
        s->upload = 1;
        s->chunked = 1;
    } else {
        // Without the block the download reads as it comes, only slower.
        s->ahead = static_cast<char *>(korv_internal_malloc(kReadAhead));
        ok = send_line(s, "GET %s HTTP/1.1\r\n", target) && send_line(s, "Host: %s\r\n", host) &&
             send_line(s, "Accept-Encoding: chunked, identity\r\n\r\n") &&
             read_response_head(s);
    }
    if (!ok) {
        s->upload = 0; // no final chunk on a failed open
        free_stream(s);
        return nullptr;
    }
    if (mode && strchr(mode, 'n')) {
        sys_set_blocking(socket, false);
        s->blocking = 0;
    }
    return &s->io;
}

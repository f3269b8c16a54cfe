// Sockets on POSIX: BSD sockets, getaddrinfo and poll. The sockets library
// needs no start-up here.
#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>
#include "net/net_internal.h"

namespace korv::net {

namespace {

int64_t failure()
{
    return errno == EWOULDBLOCK || errno == EAGAIN || errno == EINPROGRESS ? kWouldBlock : kFailed;
}

sockaddr_in address_of(uint32_t address, uint16_t port)
{
    sockaddr_in a;
    memset(&a, 0, sizeof a);
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = address;
    a.sin_port = htons(port);
    return a;
}

} // namespace

int sys_startup()
{
    return 0;
}

void sys_shutdown() {}

Socket sys_tcp_socket()
{
    int s = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    return s < 0 ? kNoSocket : (Socket)s;
}

bool sys_resolve(const char *host, uint32_t *address)
{
    if (!host) {
        *address = htonl(INADDR_ANY);
        return true;
    }
    addrinfo hints;
    memset(&hints, 0, sizeof hints);
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *found = nullptr;
    if (getaddrinfo(host, nullptr, &hints, &found) != 0 || !found)
        return false;
    *address = reinterpret_cast<sockaddr_in *>(found->ai_addr)->sin_addr.s_addr;
    freeaddrinfo(found);
    return true;
}

bool sys_connect(Socket s, uint32_t address, uint16_t port)
{
    sockaddr_in a = address_of(address, port);
    if (connect((int)s, reinterpret_cast<sockaddr *>(&a), sizeof a) == 0)
        return true;
    if (errno != EINTR)
        return false;
    // A signal cut the call short while the connection goes on: wait until
    // it is made or has failed, and take its outcome from the socket.
    pollfd p;
    p.fd = (int)s;
    p.events = POLLOUT;
    int ready;
    do {
        p.revents = 0;
        ready = poll(&p, 1, -1);
    } while (ready < 0 && errno == EINTR);
    if (ready < 0)
        return false;
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt((int)s, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

bool sys_listen(Socket s, uint32_t address, uint16_t port, uint32_t backlog)
{
    int on = 1;
    setsockopt((int)s, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in a = address_of(address, port);
    return bind((int)s, reinterpret_cast<sockaddr *>(&a), sizeof a) == 0 &&
           listen((int)s, (int)(backlog > 4096 ? 4096 : backlog)) == 0;
}

bool sys_set_blocking(Socket s, bool blocking)
{
    int flags = fcntl((int)s, F_GETFL);
    if (flags < 0)
        return false;
    flags = blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK;
    return fcntl((int)s, F_SETFL, flags) == 0;
}

int64_t sys_recv(Socket s, void *buffer, uint64_t count, bool wait_all)
{
    ssize_t got;
    do
        got = recv((int)s, buffer, (size_t)count, wait_all ? MSG_WAITALL : 0);
    while (got < 0 && errno == EINTR);
    return got < 0 ? failure() : (int64_t)got;
}

int64_t sys_send(Socket s, const void *buffer, uint64_t count)
{
    ssize_t sent;
    do
        sent = send((int)s, buffer, (size_t)count, MSG_NOSIGNAL);
    while (sent < 0 && errno == EINTR);
    return sent < 0 ? failure() : (int64_t)sent;
}

Socket sys_accept(Socket s, int64_t *result)
{
    int a;
    do
        a = accept4((int)s, nullptr, nullptr, SOCK_CLOEXEC);
    while (a < 0 && errno == EINTR);
    if (a < 0) {
        *result = failure();
        return kNoSocket;
    }
    return (Socket)a;
}

void sys_close(Socket s)
{
    linger l;
    l.l_onoff = 1;
    l.l_linger = 5;
    setsockopt((int)s, SOL_SOCKET, SO_LINGER, &l, sizeof l);
    close((int)s);
}

void sys_finish(Socket s)
{
    shutdown((int)s, SHUT_WR);
    const int64_t kLingerMs = 5000;
    timespec start;
    clock_gettime(CLOCK_MONOTONIC, &start);
    char drop[4096];
    for (;;) {
        timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        int64_t spent = (int64_t)(now.tv_sec - start.tv_sec) * 1000 +
                        (now.tv_nsec - start.tv_nsec) / 1000000;
        if (spent >= kLingerMs)
            break;
        pollfd p;
        p.fd = (int)s;
        p.events = POLLIN;
        p.revents = 0;
        int ready = poll(&p, 1, (int)(kLingerMs - spent));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            break;
        ssize_t got = recv((int)s, drop, sizeof drop, MSG_DONTWAIT);
        if (got < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK))
            continue;
        if (got <= 0)
            break;
    }
    sys_close(s);
}

uint32_t sys_wait(SocketStream **streams, uint32_t count, uint32_t timeout_ms)
{
    pollfd fds[64];
    for (uint32_t i = 0; i < count; i++) {
        uint32_t mask = streams[i]->event_mask;
        fds[i].fd = (int)streams[i]->socket;
        fds[i].events = (short)(((mask & (kWantRead | kWantAccept)) ? POLLIN : 0) |
                                ((mask & kWantWrite) ? POLLOUT : 0));
        fds[i].revents = 0;
    }
    int timeout = timeout_ms == 0xFFFFFFFFu ? -1
                  : timeout_ms > 0x7FFFFFFFu ? 0x7FFFFFFF
                                             : (int)timeout_ms;
    int ready;
    do
        ready = poll(fds, count, timeout);
    while (ready < 0 && errno == EINTR);
    if (ready < 0)
        return 0xFFFFFFFFu;
    return ready == 0 ? 2 : 1;
}

} // namespace korv::net

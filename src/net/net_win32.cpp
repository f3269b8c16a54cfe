// Sockets on Windows: Windows Sockets 2.2, non-blocking mode through
// WSAIoctl and the select wait through one network event.
#include <winsock2.h>
#include <ws2tcpip.h>
#include <string.h>
#include "net/net_internal.h"

namespace korv::net {

namespace {

const DWORD kNonBlockingIoctl = 0x8004667e; // FIONBIO
const int kWaitAll = 8;                     // MSG_WAITALL

int64_t failure()
{
    return WSAGetLastError() == WSAEWOULDBLOCK ? kWouldBlock : kFailed;
}

SOCKET sock(Socket s)
{
    return (SOCKET)s;
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

long events_of(uint32_t mask)
{
    long events = 0;
    if (mask & kWantRead)
        events |= FD_READ | FD_CLOSE;
    if (mask & kWantWrite)
        events |= FD_WRITE | FD_CONNECT;
    if (mask & kWantAccept)
        events |= FD_ACCEPT;
    return events;
}

} // namespace

int sys_startup()
{
    WSADATA data;
    return WSAStartup(MAKEWORD(2, 2), &data);
}

void sys_shutdown()
{
    WSACleanup();
}

Socket sys_tcp_socket()
{
    SOCKET s = WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_NO_HANDLE_INHERIT);
    return s == INVALID_SOCKET ? kNoSocket : (Socket)s;
}

bool sys_resolve(const char *host, uint32_t *address)
{
    if (!host) {
        *address = htonl(INADDR_ANY);
        return true;
    }
    hostent *found = gethostbyname(host);
    if (!found || found->h_addrtype != AF_INET || !found->h_addr_list[0])
        return false;
    memcpy(address, found->h_addr_list[0], 4);
    return true;
}

bool sys_connect(Socket s, uint32_t address, uint16_t port)
{
    sockaddr_in a = address_of(address, port);
    return connect(sock(s), reinterpret_cast<sockaddr *>(&a), sizeof a) == 0;
}

bool sys_listen(Socket s, uint32_t address, uint16_t port, uint32_t backlog)
{
    sockaddr_in a = address_of(address, port);
    return bind(sock(s), reinterpret_cast<sockaddr *>(&a), sizeof a) == 0 &&
           listen(sock(s), backlog > SOMAXCONN ? SOMAXCONN : (int)backlog) == 0;
}

bool sys_set_blocking(Socket s, bool blocking)
{
    u_long value = blocking ? 0 : 1;
    DWORD returned = 0;
    return WSAIoctl(sock(s), kNonBlockingIoctl, &value, sizeof value, nullptr, 0, &returned,
                    nullptr, nullptr) == 0;
}

// A wait for the whole count may still come back short (some socket
// layers hand out what one packet brought): it is asked again until the
// count is complete, the peer closes, or an error comes after some data.
int64_t sys_recv(Socket s, void *buffer, uint64_t count, bool wait_all)
{
    int n = count > 0x7FFFFFFF ? 0x7FFFFFFF : (int)count;
    char *at = static_cast<char *>(buffer);
    int total = 0;
    do {
        int got = recv(sock(s), at + total, n - total, wait_all ? kWaitAll : 0);
        if (got == SOCKET_ERROR)
            return total > 0 ? (int64_t)total : failure();
        if (got == 0)
            break;
        total += got;
    } while (wait_all && total < n);
    return total;
}

int64_t sys_send(Socket s, const void *buffer, uint64_t count)
{
    int n = count > 0x7FFFFFFF ? 0x7FFFFFFF : (int)count;
    int sent = send(sock(s), static_cast<const char *>(buffer), n, 0);
    return sent == SOCKET_ERROR ? failure() : (int64_t)sent;
}

Socket sys_accept(Socket s, int64_t *result)
{
    SOCKET a = accept(sock(s), nullptr, nullptr);
    if (a == INVALID_SOCKET) {
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
    setsockopt(sock(s), 0xffff, 0x80, reinterpret_cast<const char *>(&l), sizeof l);
    closesocket(sock(s));
}

void sys_finish(Socket s)
{
    shutdown(sock(s), SD_SEND);
    const ULONGLONG kLingerMs = 5000;
    ULONGLONG start = GetTickCount64();
    char drop[4096];
    for (;;) {
        ULONGLONG spent = GetTickCount64() - start;
        if (spent >= kLingerMs)
            break;
        ULONGLONG left = kLingerMs - spent;
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(sock(s), &readable);
        timeval wait;
        wait.tv_sec = (long)(left / 1000);
        wait.tv_usec = (long)(left % 1000) * 1000;
        if (select(0, &readable, nullptr, nullptr, &wait) <= 0)
            break;
        int got = recv(sock(s), drop, sizeof drop, 0);
        if (got == SOCKET_ERROR && WSAGetLastError() == WSAEWOULDBLOCK)
            continue;
        if (got <= 0)
            break;
    }
    sys_close(s);
}

// Registering with an event puts a socket into non-blocking mode; a stream
// that was blocking is switched back once the wait is over.
uint32_t sys_wait(SocketStream **streams, uint32_t count, uint32_t timeout_ms)
{
    WSAEVENT event = WSACreateEvent();
    if (event == WSA_INVALID_EVENT)
        return 0xFFFFFFFFu;
    for (uint32_t i = 0; i < count; i++)
        WSAEventSelect(sock(streams[i]->socket), event, events_of(streams[i]->event_mask));
    DWORD waited = WSAWaitForMultipleEvents(1, &event, FALSE,
                                            timeout_ms == 0xFFFFFFFFu ? WSA_INFINITE : timeout_ms,
                                            FALSE);
    for (uint32_t i = 0; i < count; i++) {
        WSAEventSelect(sock(streams[i]->socket), nullptr, 0);
        if (streams[i]->blocking)
            sys_set_blocking(streams[i]->socket, true);
    }
    WSACloseEvent(event);
    if (waited == WSA_WAIT_TIMEOUT)
        return 2;
    return waited == WSA_WAIT_FAILED ? 0xFFFFFFFFu : 1;
}

} // namespace korv::net

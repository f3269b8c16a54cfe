// The HTTP response reader against a peer that sends fuzzed bytes: a
// loopback listener in this process answers each request with the input,
// then closes the connection.
#include "fuzz_util.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

struct Peer {
    int listener = -1;
    uint16_t port = 0;
    std::mutex lock;
    std::condition_variable changed;
    std::string reply;
    bool armed = false;
};

Peer &peer()
{
    static Peer p;
    return p;
}

// Serves one connection: reads the request head (briefly), sends the reply.
void serve(int fd, const std::string &reply)
{
    char buf[2048];
    std::string request;
    pollfd pfd{fd, POLLIN, 0};
    while (request.find("\r\n\r\n") == std::string::npos && poll(&pfd, 1, 200) > 0) {
        ssize_t n = recv(fd, buf, sizeof buf, 0);
        if (n <= 0)
            break;
        request.append(buf, n);
    }
    size_t sent = 0;
    while (sent < reply.size()) {
        ssize_t n = send(fd, reply.data() + sent, reply.size() - sent, MSG_NOSIGNAL);
        if (n <= 0)
            break;
        sent += n;
    }
    shutdown(fd, SHUT_RDWR);
    close(fd);
}

void peer_loop()
{
    Peer &p = peer();
    for (;;) {
        int fd = accept(p.listener, nullptr, nullptr);
        if (fd < 0)
            continue;
        std::string reply;
        {
            std::unique_lock<std::mutex> guard(p.lock);
            reply = p.reply;
        }
        serve(fd, reply);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    KorvSetenv("KV_PROXY", "");
    Peer &p = peer();
    p.listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    if (bind(p.listener, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0 ||
        listen(p.listener, 8) != 0 ||
        getsockname(p.listener, reinterpret_cast<sockaddr *>(&addr), &len) != 0)
        abort();
    p.port = ntohs(addr.sin_port);
    std::thread(peer_loop).detach();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Peer &p = peer();
    {
        std::lock_guard<std::mutex> guard(p.lock);
        p.reply.assign(reinterpret_cast<const char *>(data), size);
    }
    std::string url = "http://127.0.0.1:" + std::to_string(p.port) + "/fuzz";
    KorvIO *io = KorvIO_URL(url.c_str(), "r");
    if (!io)
        return 0;
    char buf[256];
    // The body is at most the input; a reader that goes on is broken.
    uint64_t total = 0;
    for (;;) {
        int64_t n = io->read(io, buf, sizeof buf);
        if (n <= 0)
            break;
        total += n;
        if (total > size)
            abort(); // more body than the peer sent
    }
    io->close(io);
    return 0;
}

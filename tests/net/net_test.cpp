// Network streams against real peers on 127.0.0.1 (see servers.sh): nginx,
// tinyproxy and the tests' own peer, which misbehaves on request.
#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <kvsup.h>
#ifndef _WIN32
#include <pthread.h>
#include <signal.h>
#endif

namespace {

std::string peers_dir()
{
    const char *dir = getenv("KV_NET_PEERS");
    return dir ? dir : "";
}

std::string read_file(const std::string &path)
{
    std::string out;
    if (FILE *f = fopen(path.c_str(), "rb")) {
        char buf[4096];
        size_t n;
        while ((n = fread(buf, 1, sizeof buf, f)) > 0)
            out.append(buf, n);
        fclose(f);
    }
    return out;
}

int port(const char *name)
{
    static std::map<std::string, int> ports;
    if (ports.empty()) {
        std::string text = read_file(peers_dir() + "/ports");
        size_t at = 0;
        while (at < text.size()) {
            size_t eq = text.find('=', at), nl = text.find('\n', at);
            if (eq == std::string::npos || nl == std::string::npos)
                break;
            ports[text.substr(at, eq - at)] = atoi(text.substr(eq + 1, nl - eq - 1).c_str());
            at = nl + 1;
        }
    }
    return ports[name];
}

std::string url(const char *peer, const std::string &path)
{
    return "http://127.0.0.1:" + std::to_string(port(peer)) + path;
}

// Reads until end of data; a failure is reported as "<error n>" at the end.
std::string read_all(KorvIO *io, uint64_t piece = 1000)
{
    std::string out;
    char buf[4096];
    for (;;) {
        int64_t n = io->read(io, buf, piece);
        if (n == 0)
            return out;
        if (n < 0)
            return out + "<error " + std::to_string(n) + ">";
        out.append(buf, (size_t)n);
    }
}

std::string download(const std::string &address)
{
    KorvIO *io = KorvIO_URL(address.c_str(), "r");
    if (!io)
        return "<null>";
    std::string body = read_all(io);
    io->close(io);
    return body;
}

class Net : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(port("peer"), 0) << "peers not started: " << peers_dir(); }
};

} // namespace

TEST_F(Net, DownloadsWithContentLengthFromNginx)
{
    EXPECT_EQ(download(url("nginx", "/files/hello.txt")), "hello from nginx\n");
    // The scheme's letter case does not matter.
    std::string upper = "HTTP://127.0.0.1:" + std::to_string(port("nginx")) + "/files/hello.txt";
    EXPECT_EQ(download(upper), "hello from nginx\n");

    KorvIO *io = KorvIO_URL(url("nginx", "/files/big.bin").c_str(), "r");
    ASSERT_NE(io, nullptr);
    std::string body = read_all(io, 4096);
    EXPECT_EQ(body.size(), 300000u);
    EXPECT_TRUE(body == read_file(peers_dir() + "/www/files/big.bin"));
    EXPECT_EQ(io->seek(io, 0, 0), -1);
    EXPECT_EQ(io->flush(io), 0);
    EXPECT_EQ(io->set_owned, nullptr);
    io->close(io);

    EXPECT_EQ(download(url("nginx", "/files/missing.txt")), "<null>"); // 404
}

// A download receives more than each read asks for: the bytes it holds
// make it ready for a wait, and large reads still get the body whole.
TEST_F(Net, DownloadsHoldReceivedBytes)
{
    KorvIO *io = KorvIO_URL(url("nginx", "/files/hello.txt").c_str(), "r");
    ASSERT_NE(io, nullptr);
    char c;
    ASSERT_EQ(io->read(io, &c, 1), 1);
    // The rest of the body has arrived; the server keeps the connection.
    EXPECT_EQ(KorvIOSelect(&io, 1, nullptr, 0, 0), 1u);
    EXPECT_EQ(read_all(io), "ello from nginx\n");
    EXPECT_EQ(KorvIOSelect(&io, 1, nullptr, 0, 0), 2u);
    io->close(io);

    io = KorvIO_URL(url("nginx", "/files/big.bin").c_str(), "r");
    ASSERT_NE(io, nullptr);
    std::string body(300000, '\0');
    EXPECT_EQ(io->read(io, &body[0], 10), 10);
    EXPECT_EQ(KorvIOReadBytes(io, &body[10], 299990), 299990u);
    EXPECT_EQ(io->read(io, &c, 1), 0);
    EXPECT_TRUE(body == read_file(peers_dir() + "/www/files/big.bin"));
    io->close(io);

    // Without waiting, a read still takes all that has arrived: the known
    // length drops by the count asked, so a short read would lose bytes.
    io = KorvIO_URL(url("peer", "/split").c_str(), "rn");
    ASSERT_NE(io, nullptr);
    char buf[4096];
    int64_t n;
    while ((n = io->read(io, buf, sizeof buf)) == -2)
        ASSERT_EQ(KorvIOSelect(&io, 1, nullptr, 0, 5000), 1u);
    EXPECT_EQ(n, 4096);                                            // of the first part
    std::this_thread::sleep_for(std::chrono::milliseconds(1000)); // the second one arrives
    EXPECT_EQ(io->read(io, buf, sizeof buf), 4096);
    EXPECT_EQ(std::string(buf, 4096), std::string(904, 'p') + std::string(3192, 'q'));
    EXPECT_EQ(io->read(io, buf, sizeof buf), 1808);
    io->close(io);
}

TEST_F(Net, RequestLinesAndDefaults)
{
    // No path: the request target is "/"; Host never carries the port.
    std::string head = download(url("peer", ""));
    EXPECT_EQ(head, "GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nAccept-Encoding: chunked, identity");
    EXPECT_EQ(download(url("peer", "/echo?x=1")).substr(0, 21), "GET /echo?x=1 HTTP/1.");

    EXPECT_EQ(KorvIO_URL("ftp://127.0.0.1/x", "r"), nullptr);
    EXPECT_EQ(KorvIO_URL("http://no-such-host.invalid/x", "r"), nullptr);
    EXPECT_EQ(KorvIO_URL(nullptr, "r"), nullptr);
    // Nothing listens on the spare port.
    EXPECT_EQ(KorvIO_URL(url("spare", "/").c_str(), "r"), nullptr);
}

TEST_F(Net, ChunkedBodies)
{
    KorvIO *io = KorvIO_URL(url("peer", "/chunked/5,3").c_str(), "r");
    ASSERT_NE(io, nullptr);
    char buf[100];
    EXPECT_EQ(io->read(io, buf, sizeof buf), 5); // cut to the chunk
    EXPECT_EQ(std::string(buf, 5), "aaaaa");
    EXPECT_EQ(io->read(io, buf, sizeof buf), 3);
    EXPECT_EQ(std::string(buf, 3), "bbb");
    EXPECT_EQ(io->read(io, buf, sizeof buf), 0);
    EXPECT_EQ(io->read(io, buf, sizeof buf), 0);
    io->close(io);

    std::string big = download(url("peer", "/chunked/4096,1,70000"));
    EXPECT_EQ(big, std::string(4096, 'a') + "b" + std::string(70000, 'c'));
    EXPECT_EQ(download(url("peer", "/unframed")), "until the end");
}

TEST_F(Net, MalformedResponsesFailCleanly)
{
    EXPECT_EQ(download(url("peer", "/bad-status")), "<null>");
    EXPECT_EQ(download(url("peer", "/long-header")), "<null>");
    EXPECT_EQ(download(url("peer", "/reset")), "<null>");
    EXPECT_EQ(download(url("peer", "/reset-in-head")), "<null>");
    EXPECT_EQ(download(url("peer", "/truncated-chunk")), "abc<error -1>");
    EXPECT_EQ(download(url("peer", "/bad-chunk-size")), "<error -1>");
    // The count asked is taken off the known length, so a body cut short
    // reads as its bytes and then the end.
    EXPECT_EQ(download(url("peer", "/truncated-length")), "short");
}

TEST_F(Net, ChunkedUploadFraming)
{
    KorvIO *io = KorvIO_URL(url("peer", "/record/up1").c_str(), "w");
    ASSERT_NE(io, nullptr);
    EXPECT_EQ(io->write(io, "0123456789abcdef", 16), 16);
    EXPECT_EQ(io->write(io, "z", 1), 1);
    EXPECT_EQ(io->write(io, "", 0), 0);
    io->close(io);

    std::string path = peers_dir() + "/record/up1", got;
    for (int i = 0; i < 200 && got.empty(); i++) {
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
        got = read_file(path);
    }
    EXPECT_EQ(got, "PUT /record/up1 HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                   "Transfer-Encoding: chunked\r\n\r\n"
                   "10\r\n0123456789abcdef\r\n1\r\nz\r\n0\r\n");
}

// A peer that answers before the upload is closed still receives all of it,
// final chunk included: the close must not reset the connection.
TEST_F(Net, UploadAnsweredEarlyArrivesWhole)
{
    std::string piece(16384, 'k'), expected;
    for (int i = 0; i < 40; i++)
        expected += "4000\r\n" + piece + "\r\n";
    expected += "0\r\n";
    for (const char *kind : {"continue", "error"}) {
        std::string path = peers_dir() + "/record/early-" + kind;
        remove(path.c_str());
        KorvIO *io = KorvIO_URL(url("peer", std::string("/early/") + kind).c_str(), "w");
        ASSERT_NE(io, nullptr);
        for (int i = 0; i < 40; i++)
            ASSERT_EQ(io->write(io, piece.data(), piece.size()), (int64_t)piece.size());
        io->close(io);
        std::string got;
        for (int i = 0; i < 200 && got.empty(); i++) {
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
            got = read_file(path);
        }
        EXPECT_EQ(got.size(), expected.size()) << kind;
        EXPECT_TRUE(got == expected) << kind << ": " << got.substr(got.size() > 40 ? got.size() - 40 : 0);
    }
}

// Closing an upload to a stock server ends when the server has answered
// and closed, well before the linger time (5 s) would run out.
TEST_F(Net, UploadToNginxClosesWithTheServer)
{
    KorvIO *io = KorvIO_URL(url("nginx", "/uploads/up.txt").c_str(), "w");
    ASSERT_NE(io, nullptr);
    EXPECT_EQ(io->write(io, "uploaded\n", 9), 9);
    auto start = std::chrono::steady_clock::now();
    io->close(io);
    auto spent = std::chrono::steady_clock::now() - start;
    EXPECT_LT(spent, std::chrono::seconds(4));
}

#ifndef _WIN32
namespace {
void ignore_signal(int) {}
} // namespace
#endif

// A connect that has to wait (the listener's queue is full, so the first
// handshake attempt is dropped and repeated a second later) still connects
// when signals without restart interrupt it meanwhile. Windows has no such
// signals: there the wait alone is checked.
TEST_F(Net, ConnectInterruptedBySignalsStillConnects)
{
    uint16_t p = (uint16_t)port("spare");
    KorvIO *listener = KorvIO_TcpSocket("127.0.0.1", p, 1, 1);
    ASSERT_NE(listener, nullptr);
    KorvIO *queued[2];
    for (KorvIO *&q : queued) {
        q = KorvIO_TcpSocket("127.0.0.1", p, 0, 1);
        ASSERT_NE(q, nullptr);
    }
#ifndef _WIN32
    struct sigaction action = {}, saved;
    action.sa_handler = ignore_signal;
    action.sa_flags = 0; // no restart: a waiting call returns EINTR
    sigemptyset(&action.sa_mask);
    ASSERT_EQ(sigaction(SIGUSR1, &action, &saved), 0);
    pthread_t connecting = pthread_self();
#endif
    KorvIO *accepted = nullptr;
    std::thread server([&] {
        for (int i = 0; i < 8; i++) {
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
#ifndef _WIN32
            pthread_kill(connecting, SIGUSR1);
#endif
        }
        // Room in the queue for the repeated attempt.
        listener->read(listener, &accepted, sizeof accepted);
    });
    KorvIO *client = KorvIO_TcpSocket("127.0.0.1", p, 0, 1);
    server.join();
#ifndef _WIN32
    sigaction(SIGUSR1, &saved, nullptr);
#endif
    EXPECT_NE(client, nullptr);
    if (client)
        client->close(client);
    if (accepted)
        accepted->close(accepted);
    for (KorvIO *q : queued)
        q->close(q);
    listener->close(listener);
}

TEST_F(Net, TcpClientAndListener)
{
    uint16_t p = (uint16_t)port("spare");
    KorvIO *listener = KorvIO_TcpSocket("127.0.0.1", p, 4, 1);
    ASSERT_NE(listener, nullptr);
    char word[8];
    EXPECT_EQ(listener->read(listener, word, 4), -1); // not a pointer's width
    EXPECT_EQ(listener->write(listener, "x", 1), -1);

    KorvIO *client = KorvIO_TcpSocket("127.0.0.1", p, 0, 1);
    ASSERT_NE(client, nullptr);
    KorvIO *server = nullptr;
    ASSERT_EQ(listener->read(listener, &server, sizeof server), 8);
    ASSERT_NE(server, nullptr);

    EXPECT_EQ(KorvIOWriteBytes(client, "ping", 4), 4u);
    char buf[8] = {};
    EXPECT_EQ(KorvIOReadBytes(server, buf, 4), 4u);
    EXPECT_STREQ(buf, "ping");

    // Writability alone, and readability with a time-out.
    EXPECT_EQ(KorvIOSelect(nullptr, 0, &server, 1, 2000), 1u);
    EXPECT_EQ(KorvIOSelect(&client, 1, nullptr, 0, 0), 2u);
    EXPECT_EQ(server->write(server, "pong", 4), 4);
    EXPECT_EQ(KorvIOSelect(&client, 1, nullptr, 0, 5000), 1u);
    EXPECT_EQ(client->read(client, buf, 4), 4);
    EXPECT_EQ(std::string(buf, 4), "pong");

    server->close(server);
    EXPECT_EQ(client->read(client, buf, 4), 0); // the peer closed
    client->close(client);
    listener->close(listener);

    EXPECT_EQ(KorvIO_TcpSocket("127.0.0.1", p, 0, 1), nullptr); // nothing listens now
    EXPECT_EQ(KorvIO_TcpSocket("no-such-host.invalid", p, 0, 1), nullptr);
}

TEST_F(Net, NonBlockingAcceptAndSelect)
{
    uint16_t p = (uint16_t)port("spare");
    KorvIO *listener = KorvIO_TcpSocket(nullptr, p, 4, 0);
    ASSERT_NE(listener, nullptr);
    KorvIO *accepted = nullptr;
    EXPECT_EQ(listener->read(listener, &accepted, sizeof accepted), -2);
    EXPECT_EQ(KorvIOSelect(&listener, 1, nullptr, 0, 0), 2u);

    KorvIO *client = KorvIO_TcpSocket("127.0.0.1", p, 0, 0);
    ASSERT_NE(client, nullptr);
    EXPECT_EQ(KorvIOSelect(&listener, 1, nullptr, 0, 5000), 1u);
    ASSERT_EQ(listener->read(listener, &accepted, sizeof accepted), 8);

    char buf[4];
    EXPECT_EQ(client->read(client, buf, 4), -2); // nothing sent yet
    EXPECT_EQ(accepted->write(accepted, "abcd", 4), 4);
    EXPECT_EQ(KorvIOSelect(&client, 1, nullptr, 0, 5000), 1u);
    EXPECT_EQ(client->read(client, buf, 4), 4);

    KorvIO *not_socket[1] = {nullptr};
    EXPECT_EQ(KorvIOSelect(not_socket, 1, nullptr, 0, 0), 0xFFFFFFFFu);
    EXPECT_EQ(KorvIOSelect(nullptr, 0, nullptr, 0, 0), 0xFFFFFFFFu);
    accepted->close(accepted);
    client->close(client);
    listener->close(listener);
}

TEST_F(Net, NonBlockingDownload)
{
    KorvIO *io = KorvIO_URL(url("peer", "/chunked/3000,3000").c_str(), "rn");
    ASSERT_NE(io, nullptr);
    std::string body;
    char buf[512];
    for (int spins = 0; spins < 1000; spins++) {
        int64_t n = io->read(io, buf, sizeof buf);
        if (n == 0)
            break;
        if (n == -2) {
            ASSERT_EQ(KorvIOSelect(&io, 1, nullptr, 0, 5000), 1u);
            continue;
        }
        ASSERT_GT(n, 0);
        body.append(buf, (size_t)n);
    }
    io->close(io);
    EXPECT_EQ(body, std::string(3000, 'a') + std::string(3000, 'b'));
}

// Stream names starting with http:// open downloads, and a copy out of a
// non-blocking download waits for data, ending each call after one wait.
TEST_F(Net, FileNamesAndCopies)
{
    KorvIO *io = KorvIO_FileName(url("nginx", "/files/hello.txt").c_str(), "r");
    ASSERT_NE(io, nullptr);
    EXPECT_EQ(read_all(io), "hello from nginx\n");
    io->close(io);
    EXPECT_EQ(KorvIO_FileName(url("nginx", "/files/none").c_str(), "r"), nullptr);

    KorvIO *src = KorvIO_URL(url("peer", "/chunked/3000,3000").c_str(), "rn");
    ASSERT_NE(src, nullptr);
    KorvIO *dst = KorvIO_Mem(0);
    int64_t total = 0;
    for (int calls = 0; calls < 1000 && total < 6000; calls++) {
        int64_t got = KorvIOCopyBytes(dst, src, 0);
        ASSERT_GE(got, 0);
        total += got;
    }
    EXPECT_EQ(total, 6000);
    EXPECT_EQ(KorvIOCopyBytes(dst, src, 0), 0); // the end of the body
    std::string copied(6000, '\0');
    dst->seek(dst, 0, 0);
    EXPECT_EQ(KorvIOReadBytes(dst, copied.data(), 6000), 6000u);
    EXPECT_EQ(copied, std::string(3000, 'a') + std::string(3000, 'b'));
    src->close(src);
    dst->close(dst);
}

// The data-file search accepts a candidate that opens as a download. On
// Windows its names are expanded with '\' for '/', so that no download
// address survives into a candidate.
TEST_F(Net, FindFileAcceptsDownloads)
{
#ifdef _WIN32
    const bool downloads_found = false;
#else
    const bool downloads_found = true;
#endif
    std::string base = url("nginx", "/files/hello");
    char *found = KorvFindFile(base.c_str(), "txt", "");
    EXPECT_EQ(found ? std::string(found) : "<null>", downloads_found ? base + ".txt" : "<null>");
    korv_internal_free(found);
    EXPECT_EQ(KorvFindFile(url("nginx", "/files/none").c_str(), "txt", ""), nullptr);
}

// Runs in a process of its own: KV_PROXY is set for the whole process.
TEST(IsolatedProxy, RequestsGoThroughTheProxy)
{
    ASSERT_NE(port("proxy"), 0);
    // The proxy receives the whole URL as the request target and its own
    // name as Host.
    std::string self = "127.0.0.1:" + std::to_string(port("peer"));
    KorvSetenv("KV_PROXY", self.c_str());
    std::string target = url("peer", "/echo");
    EXPECT_EQ(download(target), "GET " + target +
                                    " HTTP/1.1\r\nHost: 127.0.0.1\r\nAccept-Encoding: chunked, identity");

    std::string proxy = "127.0.0.1:" + std::to_string(port("proxy"));
    KorvSetenv("KV_PROXY", proxy.c_str());
    EXPECT_EQ(download(url("nginx", "/files/hello.txt")), "hello from nginx\n");
    EXPECT_EQ(download(url("nginx", "/files/none")), "<null>");
}

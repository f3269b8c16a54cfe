// Memory, string, pass-through and multiplexer streams.
#include "io_test_util.h"

#include "core/alloc_testing.h"

namespace {
// Fields of a memory stream after the slots: buffer, capacity, length.
uint64_t mem_capacity(KorvIO *io) {
    return *reinterpret_cast<uint64_t *>(reinterpret_cast<char *>(io + 1) + sizeof(void *));
}
} // namespace

TEST(MemStream, GrowsSeeksAndFailsEmpty) {
    KorvIO *io = KorvIO_Mem(0);
    EXPECT_EQ(io->reserved1, 0u);
    EXPECT_EQ(io->set_owned, nullptr);
    EXPECT_EQ(io->write(io, "abcde", 5), 5);
    EXPECT_EQ(mem_capacity(io), 5u);
    EXPECT_EQ(io->write(io, "f", 1), 1);
    EXPECT_EQ(mem_capacity(io), 10u);
    EXPECT_EQ(io->seek(io, -2, 2), 4);
    char buf[8] = {};
    EXPECT_EQ(io->read(io, buf, 8), 2);
    EXPECT_STREQ(buf, "ef");
    EXPECT_EQ(io->seek(io, -1, 0), -1);
    EXPECT_EQ(io->seek(io, 0, 3), -1);
    EXPECT_EQ(io->seek(io, 40, 0), 40); // past the end reads nothing
    EXPECT_EQ(io->read(io, buf, 8), 0);
    EXPECT_EQ(io->write(io, "z", 1), 1);
    EXPECT_EQ(io->seek(io, 0, 2), 41);

    korv_testing_fail_alloc(1);
    EXPECT_EQ(io->write(io, buf, 100), -1);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(io->seek(io, 0, 2), 0); // emptied
    io->close(io);

    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvIO_Mem(0), nullptr);
    korv_testing_fail_alloc(2);
    EXPECT_EQ(KorvIO_Mem(64), nullptr);
    korv_testing_fail_alloc(0);
}

TEST(StrStream, BoundedAndUnbounded) {
    char buf[11];
    std::memset(buf, '#', sizeof buf);
    KorvIO *io = KorvIO_Str(buf, 10);
    EXPECT_EQ(io->write(io, "abcd", 4), 4);
    EXPECT_STREQ(buf, "abcd");
    KorvIOStrReset(io);
    EXPECT_EQ(io->write(io, "0123456789ABCDEFGHIJ", 20), 10);
    EXPECT_EQ(buf[10], '#'); // full: no NUL past the bound
    EXPECT_EQ(io->seek(io, 10, 0), -1);
    EXPECT_EQ(io->seek(io, 9, 0), 9);
    EXPECT_EQ(io->seek(io, -1, 2), 9);
    EXPECT_EQ(io->read(io, buf, 5), 1);
    io->close(io);

    char three[] = "abc";
    io = KorvIO_Str(three, 0);
    EXPECT_EQ(io->seek(io, 0, 2), 3);
    EXPECT_EQ(io->seek(io, 0, 0), 0);
    EXPECT_EQ(io->read(io, buf, 10), 3);
    io->close(io);

    char *owned = KorvStrDup("owned");
    io = KorvIO_Str(owned, 0);
    io->set_owned(io, 1);
    io->close(io); // frees the string too (checked by the leak checker)
}

TEST(WrapStreams, PassThroughForwardsOwnership) {
    char *owned = KorvStrDup("inner");
    KorvIO *in = KorvIO_Str(owned, 0);
    KorvIO *nop = KorvIO_Nop(in);
    nop->set_owned(nop, 1);
    char buf[8] = {};
    EXPECT_EQ(nop->read(nop, buf, 3), 3);
    EXPECT_EQ(nop->seek(nop, 1, 0), 1);
    nop->close(nop); // the wrapper only
    EXPECT_EQ(in->read(in, buf, 8), 4);
    in->close(in);
    EXPECT_EQ(KorvIO_Nop(nullptr), nullptr);
}

TEST(WrapStreams, MultiplexerReadsInTurnAndWritesAll) {
    char a[] = "ab", b[] = "cd";
    KorvIO *members[] = {KorvIO_Str(a, 0), KorvIO_Str(b, 0)};
    KorvIO *mux = KorvIO_Multiplex(members, 2);
    EXPECT_EQ(mux->set_owned, nullptr);
    char buf[8] = {};
    EXPECT_EQ(mux->read(mux, buf, 8), 2);
    EXPECT_EQ(mux->read(mux, buf + 2, 8), 2);
    EXPECT_STREQ(buf, "abcd");
    EXPECT_EQ(mux->read(mux, buf, 8), -1); // the end of all members
    EXPECT_EQ(KorvIOMultiplexSet(mux, 2), 1u);
    EXPECT_EQ(KorvIOMultiplexSet(mux, 3), 0u);
    EXPECT_EQ(mux->seek(mux, 3, 0), -1);
    EXPECT_EQ(mux->seek(mux, 1, 2), 1);
    KorvIOStrReset(members[1]);
    EXPECT_EQ(mux->read(mux, buf, 1), 1);
    EXPECT_EQ(buf[0], 'c');

    // Writes move on when a member is full and claim the whole count.
    char x[3] = {}, y[3] = {};
    KorvIO *outs[] = {KorvIO_Str(x, 2), KorvIO_Str(y, 2)};
    KorvIO *wmux = KorvIO_Multiplex(outs, 2);
    EXPECT_EQ(wmux->write(wmux, "12", 2), 2);
    EXPECT_EQ(wmux->write(wmux, "34", 2), 2);
    EXPECT_EQ(wmux->write(wmux, "56", 2), 2); // nothing left to take it
    EXPECT_EQ(std::string(x, 2) + std::string(y, 2), "1234");
    EXPECT_EQ(wmux->flush(wmux), 0);
    wmux->close(wmux);
    mux->close(mux);
    for (KorvIO *m : members) m->close(m);
    for (KorvIO *m : outs) m->close(m);

    KorvIO *empty = KorvIO_Multiplex(nullptr, 0);
    EXPECT_EQ(empty->read(empty, buf, 1), -1);
    empty->close(empty);
}

TEST(WrapStreams, KorvioNamesAddressLiveStreams) {
    KorvIO *mem = KorvIO_Mem(0);
    char name[64];
    std::snprintf(name, sizeof name, "KORVIO://%p", static_cast<void *>(mem));
    KorvIO *byname = KorvIO_FileName(name, "w");
    ASSERT_NE(byname, nullptr);
    KorvIOWriteString(byname, "via name");
    byname->close(byname);
    EXPECT_EQ(slurp(mem), "via name");
    mem->close(mem);
    EXPECT_EQ(KorvIO_FileName("korvio://0", "r"), nullptr);
    EXPECT_EQ(KorvIO_FileName("http://127.0.0.1:1/", "r"), nullptr);
    EXPECT_EQ(KorvIO_FileName(nullptr, "r"), nullptr);
}

// The operations that loop over a stream's slots.
#include "io_test_util.h"

#include "core/alloc_testing.h"

TEST(IOOps, ReadBytesLoopsAndPassesErrorsThrough) {
    ScriptIO none({});
    char buf[16];
    EXPECT_EQ(KorvIOReadBytes(none.io(), buf, 0), 0u);
    EXPECT_TRUE(none.asked.empty());

    ScriptIO parts({2, 3, 0});
    EXPECT_EQ(KorvIOReadBytes(parts.io(), buf, 10), 5u);
    EXPECT_EQ(parts.asked, (std::vector<uint64_t>{10, 8, 5}));

    ScriptIO err({3, -1});
    EXPECT_EQ(static_cast<int64_t>(KorvIOReadBytes(err.io(), buf, 10)), -1);
    ScriptIO block({-2});
    EXPECT_EQ(static_cast<int64_t>(KorvIOReadBytes(block.io(), buf, 10)), -2);
}

TEST(IOOps, LinesWithAndWithoutLineEnd) {
    char text[] = "ab\r\ncd";
    KorvIO *io = KorvIO_Str(text, 0);
    char line[32];
    EXPECT_EQ(KorvIOReadString(io, line, 31), 4);
    EXPECT_STREQ(line, "ab");
    EXPECT_EQ(KorvIOReadString(io, line, 31), 2);
    EXPECT_STREQ(line, "cd");
    EXPECT_EQ(KorvIOReadString(io, line, 31), 0);
    EXPECT_STREQ(line, "");
    EXPECT_EQ(KorvIOReadString(io, line, 0), 0);

    KorvIOStrReset(io);
    EXPECT_EQ(KorvIOReadString(io, line, 1), 1); // the limit counts consumed bytes
    EXPECT_STREQ(line, "a");

    KorvIOStrReset(io);
    EXPECT_EQ(KorvIOGets(io, line, 31), 1u);
    EXPECT_STREQ(line, "ab\n");
    EXPECT_EQ(KorvIOGets(io, line, 1), 1u); // stops at the limit
    EXPECT_STREQ(line, "c");
    EXPECT_EQ(KorvIOGets(io, line, 31), 1u);
    EXPECT_STREQ(line, "d");
    EXPECT_EQ(KorvIOGets(io, line, 31), 0u);
    EXPECT_STREQ(line, "");
    KorvIOStrReset(io);
    EXPECT_EQ(KorvIOGets(io, line, -1), 0u);
    EXPECT_STREQ(line, "");
    io->close(io);

    ScriptIO err({1, -1});
    EXPECT_EQ(KorvIOReadString(err.io(), line, 31), -1);
    EXPECT_STREQ(line, "x");
}

// Lines from a memory stream are taken from its block directly; they must
// come out as the byte-by-byte reads of a string stream give them.
TEST(IOOps, MemoryLinesMatchByteReads) {
    std::string text = "one\r\ntwo\n\n\r\rx\r\nlonger line here\nend";
    for (int64_t limit : {0, 1, 2, 3, 4, 5, 8, 64}) {
        KorvIO *mem = KorvIO_Mem(0);
        KorvIOWriteBytes(mem, text.data(), text.size());
        mem->seek(mem, 0, 0);
        std::string copy = text;
        KorvIO *str = KorvIO_Str(copy.data(), 0);
        for (int line = 0; line < 40; line++) {
            char a[80], b[80];
            int64_t got_mem = KorvIOReadString(mem, a, limit);
            int64_t got_str = KorvIOReadString(str, b, limit);
            ASSERT_EQ(got_mem, got_str) << limit << " " << line;
            ASSERT_STREQ(a, b) << limit << " " << line;
        }
        mem->close(mem);
        str->close(str);
    }
    KorvIO *empty = KorvIO_Mem(0); // no block at all
    char line[8] = "x";
    EXPECT_EQ(KorvIOReadString(empty, line, 7), 0);
    EXPECT_STREQ(line, "");
    empty->seek(empty, 100, 0); // past the end
    EXPECT_EQ(KorvIOReadString(empty, line, 7), 0);
    empty->close(empty);
}

TEST(IOOps, CopyPassesAndFailures) {
    KorvIO *src = KorvIO_Mem(0);
    std::string data(10000, 'q');
    KorvIOWriteBytes(src, data.data(), data.size());
    src->seek(src, 0, 0);
    KorvIO *dst = KorvIO_Mem(0);
    EXPECT_EQ(KorvIOCopyBytes(dst, src, 0), 10000);
    EXPECT_EQ(slurp(dst), data);
    dst->close(dst);
    src->close(src);

    ScriptIO counted({4096, 4096, 1808, 99});
    KorvIO *sink = KorvIO_Mem(0);
    EXPECT_EQ(KorvIOCopyBytes(sink, counted.io(), 10000), 10000);
    EXPECT_EQ(counted.asked, (std::vector<uint64_t>{4096, 4096, 1808}));

    ScriptIO late_error({100, -1});
    EXPECT_EQ(KorvIOCopyBytes(sink, late_error.io(), 0), -1);
    ScriptIO would_block({100, -2}); // nothing to wait on: not ready
    EXPECT_EQ(KorvIOCopyBytes(sink, would_block.io(), 0), -1);
    sink->close(sink);
}

TEST(IOOps, SkipSeeksOrReads) {
    KorvIO *mem = KorvIO_Mem(0);
    KorvIOWriteString(mem, "0123456789");
    mem->seek(mem, 0, 0);
    EXPECT_EQ(KorvIOSkipBytes(mem, 4), 4);
    EXPECT_EQ(KorvIOSkipBytes(mem, 100), 100); // the seek decides
    mem->close(mem);

    ScriptIO reads({1000, 24, 476, 0});
    EXPECT_EQ(KorvIOSkipBytes(reads.io(), 1500), 1500);
    EXPECT_EQ(reads.asked, (std::vector<uint64_t>{1024, 24, 476}));
    ScriptIO short_read({700, 0});
    EXPECT_EQ(KorvIOSkipBytes(short_read.io(), 1500), 700);
    ScriptIO err({-1});
    EXPECT_EQ(KorvIOSkipBytes(err.io(), 10), -1);
    EXPECT_EQ(KorvIOSkipBytes(err.io(), 0), 0);
}

TEST(IOOps, ReadBlockWholeStream) {
    KorvIO *mem = KorvIO_Mem(0);
    KorvIOWriteString(mem, "hello world");
    mem->seek(mem, 6, 0);
    EXPECT_EQ(slurp(mem), "hello world"); // from the first byte
    void *buf = nullptr;
    EXPECT_EQ(KorvIOReadBlock(mem, &buf, nullptr), 0u);
    mem->close(mem);

    // Without seek: grows 1024, 2048; an exact fill needs an empty pass.
    ScriptIO grow({1024, 0});
    uint64_t len = 0;
    ASSERT_EQ(KorvIOReadBlock(grow.io(), &buf, &len), 1u);
    EXPECT_EQ(len, 1024u);
    EXPECT_EQ(static_cast<char *>(buf)[1024], '\0');
    EXPECT_EQ(grow.asked, (std::vector<uint64_t>{1024, 1024}));
    korv_internal_free(buf);

    ScriptIO err({10, -1});
    EXPECT_EQ(KorvIOReadBlock(err.io(), &buf, &len), 0u);
    EXPECT_EQ(buf, nullptr);
}

TEST(IOOps, BadInputAndFailures) {
    char buf[8];
    void *block = nullptr;
    uint64_t len = 0;
    EXPECT_EQ(static_cast<int64_t>(KorvIOReadBytes(nullptr, buf, 1)), -1);
    EXPECT_EQ(static_cast<int64_t>(KorvIOWriteBytes(nullptr, buf, 1)), -1);
    EXPECT_EQ(KorvIOReadString(nullptr, buf, 7), -1);
    EXPECT_EQ(KorvIOWriteString(nullptr, "x"), -1);
    EXPECT_EQ(KorvIOGets(nullptr, buf, 7), 0u);
    EXPECT_EQ(KorvIOCopyBytes(nullptr, nullptr, 0), -1);
    EXPECT_EQ(KorvIOSkipBytes(nullptr, 1), -1);
    EXPECT_EQ(KorvIOReadBlock(nullptr, &block, &len), 0u);

    KorvIO *mem = KorvIO_Mem(0);
    KorvIOWriteString(mem, "some bytes");
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvIOReadBlock(mem, &block, &len), 0u);
    korv_testing_fail_alloc(0);

    ScriptIO grow({1024, 1024, 5});
    korv_testing_fail_alloc(2); // the second growth fails: nothing is kept
    EXPECT_EQ(KorvIOReadBlock(grow.io(), &block, &len), 0u);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(block, nullptr);

    // A full destination ends the copy with what went through.
    char small[4];
    KorvIO *full = KorvIO_Str(small, 4);
    mem->seek(mem, 0, 0);
    EXPECT_EQ(KorvIOCopyBytes(full, mem, 0), 4);
    full->close(full);
    mem->close(mem);
}

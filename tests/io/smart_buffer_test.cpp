// The smart buffer and its stream.
#include "io_test_util.h"

#include "core/alloc_testing.h"
#include "io/smart_buffer.h"

using korv::io::SBSegment;

namespace {
std::vector<uint64_t> blocks(KorvSmartBuffer *sb, std::vector<int64_t> *used = nullptr) {
    std::vector<uint64_t> caps;
    for (SBSegment *s = sb->head; s; s = s->next) {
        caps.push_back(s->capacity);
        if (used) used->push_back(s->write_pos - s->read_pos);
    }
    return caps;
}
} // namespace

TEST(SmartBuffer, MemoryBlocksFillThenGrow) {
    KorvSmartBuffer *sb = KorvSBInit(1, 256);
    std::string bytes(1000, 'a');
    EXPECT_EQ(KorvSBAppend(sb, bytes.data(), 100), 100u);
    EXPECT_EQ(KorvSBAppend(sb, bytes.data(), 200), 200u);
    std::vector<int64_t> used;
    EXPECT_EQ(blocks(sb, &used), (std::vector<uint64_t>{256, 256}));
    EXPECT_EQ(used, (std::vector<int64_t>{256, 44}));
    EXPECT_EQ(KorvSBBytesAvailable(sb), 300);
    EXPECT_EQ(KorvSBBytesInMemory(sb), 300);
    KorvSBFree(sb);

    sb = KorvSBInit(1, 256);
    EXPECT_EQ(KorvSBAppend(sb, bytes.data(), 1000), 1000u);
    EXPECT_EQ(blocks(sb), (std::vector<uint64_t>{1000}));
    EXPECT_EQ(KorvSBAppend(sb, nullptr, 5), 0u);
    EXPECT_EQ(KorvSBAppend(sb, bytes.data(), 0), 0u);
    KorvSBFree(sb);
}

TEST(SmartBuffer, PeekAdvanceReadInOrder) {
    KorvSmartBuffer *sb = KorvSBInit(1, 8);
    const char *text = "0123456789abcdefghij"; // three blocks of 8, 8, 4
    for (int i = 0; i < 20; i += 5) KorvSBAppend(sb, text + i, 5);
    char buf[32] = {};
    EXPECT_EQ(KorvSBPeek(sb, 10, buf, 30), 10u);
    EXPECT_STREQ(buf, "abcdefghij");
    EXPECT_EQ(KorvSBAdvance(sb, 0), 0);
    EXPECT_EQ(KorvSBAdvance(sb, -3), 0);
    EXPECT_EQ(KorvSBAdvance(sb, 3), 3);
    EXPECT_EQ(KorvSBAdvance(sb, 7), 7); // crosses into the second block
    EXPECT_EQ(blocks(sb).size(), 2u);
    std::memset(buf, 0, sizeof buf);
    EXPECT_EQ(KorvSBRead(sb, buf, 100), 10u);
    EXPECT_STREQ(buf, "abcdefghij");
    EXPECT_EQ(KorvSBBytesAvailable(sb), 0);
    EXPECT_EQ(sb->head, nullptr);
    EXPECT_EQ(sb->tail, nullptr);

    // The same through a stream; closing it leaves the buffer.
    KorvIO *io = KorvIO_SB(sb);
    EXPECT_EQ(KorvIOWriteString(io, "line one\nline two"), 17);
    char line[32];
    EXPECT_EQ(KorvIOReadString(io, line, 31), 9);
    EXPECT_STREQ(line, "line one");
    EXPECT_EQ(io->seek(io, 0, 0), -1);
    io->close(io);
    EXPECT_EQ(KorvSBBytesAvailable(sb), 8);
    KorvSBFree(sb);
}

TEST(SmartBuffer, FailedBlockShortensAppend) {
    KorvSmartBuffer *sb = KorvSBInit(1, 4);
    KorvSBAppend(sb, "ab", 2);
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvSBAppend(sb, "cdefgh", 6), 2u); // fills the block, no new one
    korv_testing_fail_alloc(0);
    EXPECT_EQ(KorvSBBytesAvailable(sb), 4);
    KorvSBFree(sb);
}

// Run with KORV_MEMORY_MAX=16 and KORV_TEMPFILE_MAX=10.
TEST(IsolatedSmartBufferSpill, FilePartsReadAsZeroAndVanish) {
    ScratchDir dir("io_spill");
    std::string hintdir = dir.path.string();
    setenv_for_test("KORV_TEMP", hintdir.c_str());
    KorvSmartBuffer *sb = KorvSBInit(0, 256);
    EXPECT_EQ(sb->memory_limit, 16u);
    EXPECT_EQ(sb->block_size, 16u); // clamped to the memory limit
    std::string data(40, 'd');
    EXPECT_EQ(KorvSBAppend(sb, data.data(), 40), 40u);
    EXPECT_EQ(KorvSBBytesInMemory(sb), 16);
    EXPECT_EQ(KorvSBBytesAvailable(sb), 40);
    EXPECT_EQ(dir.count(), 3u); // 24 bytes in files of at most 10
    char buf[40];
    EXPECT_EQ(KorvSBRead(sb, buf, 40), 40u);
    EXPECT_EQ(std::string(buf, 16), std::string(16, 'd'));
    EXPECT_EQ(std::string(buf + 16, 24), std::string(24, '\0'));
    EXPECT_EQ(dir.count(), 0u);

    KorvSBAppend(sb, data.data(), 30);
    KorvSBFree(sb);
    EXPECT_EQ(dir.count(), 0u);
}

// Run with KORV_MEMORY_MAX=lots and KORV_TEMPFILE_MAX=-5.
TEST(IsolatedSmartBufferBadLimits, FallBackToBuiltIns) {
    KorvSmartBuffer *sb = KorvSBInit(0, 256);
    EXPECT_EQ(sb->memory_limit, 20000000u);
    EXPECT_EQ(sb->file_limit, 1000000u);
    KorvSBFree(sb);
}

#include <gtest/gtest.h>
#include <stddef.h>
#include <vector>
#include <kvsup.h>
#include "core/alloc_testing.h"

TEST(StateRecord, LayoutIsFixed)
{
    EXPECT_EQ(sizeof(KorvState), 176u);
    EXPECT_EQ(offsetof(KorvState, processPoint), 8u);
    EXPECT_EQ(offsetof(KorvState, getFlaggedChunk), 88u);
    EXPECT_EQ(offsetof(KorvState, status), 96u);
    EXPECT_EQ(offsetof(KorvState, outputCount), 136u);
    EXPECT_EQ(offsetof(KorvState, inputChunks), 144u);
    EXPECT_EQ(offsetof(KorvState, queueLength), 168u);
    EXPECT_EQ(sizeof(KorvChunk), 40u);
    EXPECT_EQ(offsetof(KorvChunk, user), 24u);
    EXPECT_EQ(offsetof(KorvChunk, data), 32u);
}

TEST(StateRecord, AllocationRules)
{
    KorvState *sentinel = reinterpret_cast<KorvState *>(0x10);
    KorvState *state = sentinel;
    EXPECT_EQ(KorvAllocState(&state, 175), 0u);
    EXPECT_EQ(state, sentinel); // left alone
    EXPECT_EQ(KorvAllocState(nullptr, 176), 0u);

    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvAllocState(&state, 176), 0u);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(state, nullptr);

    ASSERT_EQ(KorvAllocState(&state, 400), 1u); // room for private fields
    EXPECT_EQ(state->processPoint(state, nullptr, nullptr, nullptr), 1u);
    EXPECT_EQ(state->status, 0);
    EXPECT_EQ(state->errorMsg, nullptr);
    EXPECT_EQ(state->getErrorMsg(state), nullptr);
    EXPECT_EQ(reinterpret_cast<unsigned char *>(state)[399], 0);
    state->flags = 9;
    EXPECT_EQ(state->getFlags(state), 9u);
    uint32_t flags = 0;
    EXPECT_EQ(KorvGetStateFlags(state, &flags), 1u);
    EXPECT_EQ(flags, 9u);
    EXPECT_EQ(KorvGetStateFlags(state, nullptr), 0u);
    EXPECT_EQ(state->endPoint(state), 1u); // frees the record
    EXPECT_EQ(KorvFreeState(nullptr), 0u);
}

namespace {

KorvGenericHeader *const kHeader = reinterpret_cast<KorvGenericHeader *>(0x100);
int g_header_calls = 0;

KorvGenericHeader *two_outputs(KorvState *, int32_t index)
{
    g_header_calls++;
    return index < 2 ? kHeader : nullptr;
}

struct State : ::testing::Test {
    KorvState *state = nullptr;
    void SetUp() override { ASSERT_EQ(KorvAllocState(&state, 176), 1u); }
    void TearDown() override { KorvFreeState(state); }
};

} // namespace

TEST_F(State, OutputCountIsCountedOnceThroughTheSlot)
{
    uint32_t count = 99;
    EXPECT_EQ(KorvGetStateOutputCount(state, &count), 1u);
    EXPECT_EQ(count, 0u);

    KorvGenericHeader *headers[4] = {kHeader, kHeader, kHeader, nullptr};
    state->outputHeaders = headers;
    EXPECT_EQ(state->getOutputCount(state), 3);
    headers[3] = kHeader; // not seen until the cache is reset
    EXPECT_EQ(state->getOutputCount(state), 3);
    state->outputCount = 0;
    headers[3] = nullptr;

    // A module's own header entry is what gets counted.
    state->getOutputHeader = two_outputs;
    g_header_calls = 0;
    EXPECT_EQ(state->getOutputCount(state), 2);
    EXPECT_EQ(state->getOutputCount(state), 2);
    EXPECT_EQ(g_header_calls, 3);

    state->flags |= KORV_STATE_OUTPUTS_UNKNOWN;
    EXPECT_EQ(state->getOutputCount(state), -1);
    EXPECT_EQ(KorvGetStateOutputCount(state, &count), 1u);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(KorvGetStateOutputCount(state, nullptr), 0u);
    state->outputHeaders = nullptr;
}

TEST_F(State, OutputFlagsAreBoundedByTheCachedCount)
{
    uint32_t flags[2] = {0x11, 0x22};
    EXPECT_EQ(KorvGetOutputFlags(state, 0), 0u); // no array
    EXPECT_EQ(state->getOutputFlags(state, 0), 0u);
    state->outputFlags = flags;
    EXPECT_EQ(KorvGetOutputFlags(state, 0), 0u); // count 0
    EXPECT_EQ(KorvGetOutputFlags(state, -1), 0u);
    state->outputCount = 2;
    EXPECT_EQ(KorvGetOutputFlags(state, 1), 0x22u);
    EXPECT_EQ(KorvGetOutputFlags(state, 2), 0u);
    EXPECT_EQ(KorvGetOutputFlags(state, -1), 0u);
    EXPECT_EQ(state->getOutputFlags(state, 1), 0x22u);
    EXPECT_EQ(KorvGetOutputFlags(nullptr, 0), 0u);
    EXPECT_EQ(state->getOutputBinHeader(state, 0, nullptr, 0), 0);
    state->outputFlags = nullptr;
}

TEST_F(State, OutputHeadersGoOutAsBinaryHeaders)
{
    KorvGenericHeader *header = nullptr;
    KorvGenericHeader **headers = nullptr;
    ASSERT_EQ(KorvAllocHeaders(&headers, 1, sizeof(KorvGenericHeader)), 1u);
    header = headers[0];
    header->kind = KORV_KIND_PIXELS;
    header->dimensions = 2;
    header->pixels = 7;
    header->scanlines = 3;
    state->outputHeaders = headers;

    int32_t need = state->getOutputBinHeader(state, 0, nullptr, 0);
    ASSERT_GE(need, KORV_BINHDR_HEAD_SIZE);
    unsigned char block[2048];
    ASSERT_LE(need, (int32_t)sizeof block);
    int32_t written = state->getOutputBinHeader(state, 0, block, sizeof block);
    ASSERT_GE(written, KORV_BINHDR_HEAD_SIZE);
    EXPECT_EQ(block[0], 'B');
    EXPECT_EQ(block[1], 'H');
    EXPECT_EQ(state->getOutputBinHeader(state, 0, block, 10), -1); // too small
    KorvGenericHeader *back = KorvBinHdrToHdr(block, (uint32_t)written, 0);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->pixels, 7u);
    EXPECT_EQ(back->scanlines, 3u);
    back->free(back);

    state->outputHeaders = nullptr;
    header->free(header);
    korv_internal_free(headers);
}

TEST_F(State, ChunkEntriesAndFlaggedChunk)
{
    EXPECT_EQ(state->getInputChunk(state, 0), nullptr);
    EXPECT_EQ(state->getOutputChunk(state, 0), nullptr);
    EXPECT_EQ(state->getFlaggedChunk(state), nullptr);

    for (int i = 0; i < 4; i++)
        ASSERT_EQ(KorvEnqueueChunk(state, nullptr, nullptr), 1u);
    // Null enqueues leave free slots: mark them so they stay occupied.
    for (uint32_t i = 0; i < 4; i++)
        state->queue[i]->mark = 1;
    state->queue[1]->flags = KORV_CHUNK_FLAGGED;
    state->queue[3]->flags = KORV_CHUNK_FLAGGED;
    EXPECT_EQ(state->getFlaggedChunk(state), state->queue[1]);
    state->inputChunks = state->queue;
    EXPECT_EQ(state->getInputChunk(state, 2), state->queue[2]);
    EXPECT_EQ(state->getInputChunk(state, 9), nullptr);
    state->inputChunks = nullptr;
    KorvFreeArray((void **)state->queue);
}

TEST_F(State, FreeWritesTheDebugLineWithTheName)
{
    KorvState *named = nullptr;
    ASSERT_EQ(KorvAllocState(&named, 176), 1u);
    named->name = "blur";
    static std::vector<std::string> lines;
    KorvSetLoggingCallback([](const char *text, int32_t, void *) { lines.push_back(text); },
                           nullptr);
    KorvSetDebug(1);
    EXPECT_EQ(KorvFreeState(named), 1u);
    KorvSetDebug(0);
    KorvSetLoggingCallback(nullptr, nullptr);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "Free State: blur\n");
}

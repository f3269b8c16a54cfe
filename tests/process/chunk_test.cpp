#include <gtest/gtest.h>
#include <kvsup.h>
#include "core/alloc_testing.h"

namespace {

struct Queue : ::testing::Test {
    KorvState *state = nullptr;
    void SetUp() override { ASSERT_EQ(KorvAllocState(&state, 176), 1u); }
    void TearDown() override
    {
        KorvFreeArray((void **)state->queue);
        KorvFreeState(state);
    }
};

unsigned char g_bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};

} // namespace

TEST_F(Queue, GrowsFourSlotsAtATime)
{
    KorvChunk chunk = {};
    chunk.data = g_bytes;
    chunk.size = 8;
    uint32_t index = 99;
    ASSERT_EQ(KorvEnqueueChunk(state, &chunk, &index), 1u);
    EXPECT_EQ(index, 0u);
    EXPECT_EQ(state->queueLength, 4u);
    for (uint32_t i = 1; i < 4; i++) {
        ASSERT_EQ(KorvEnqueueChunk(state, &chunk, &index), 1u);
        EXPECT_EQ(index, i);
    }
    ASSERT_EQ(KorvEnqueueChunk(state, &chunk, &index), 1u);
    EXPECT_EQ(index, 4u);
    EXPECT_EQ(state->queueLength, 8u);
    EXPECT_EQ(KorvGetArraySize((void **)state->queue), 8u);
    EXPECT_EQ(state->queue[4]->data, g_bytes); // a shallow copy

    // A slot with null data, mark 0 and flags 0 is free whatever its size.
    state->queue[2]->data = nullptr;
    ASSERT_EQ(KorvEnqueueChunk(state, &chunk, &index), 1u);
    EXPECT_EQ(index, 2u);
    uint32_t length = 0;
    EXPECT_EQ(KorvGetStateQueueLength(state, &length), 1u);
    EXPECT_EQ(length, 8u);
}

TEST_F(Queue, NullChunkClaimsAZeroSlotThatStaysFree)
{
    uint32_t index = 7;
    ASSERT_EQ(KorvEnqueueChunk(state, nullptr, &index), 1u);
    EXPECT_EQ(index, 0u);
    ASSERT_EQ(KorvEnqueueChunk(state, nullptr, &index), 1u);
    EXPECT_EQ(index, 0u);
    EXPECT_EQ(KorvEnqueueChunk(nullptr, nullptr, &index), 0u);
}

TEST_F(Queue, FailedGrowthKeepsTheLargerLength)
{
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvEnqueueChunk(state, nullptr, nullptr), 0u);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(state->queueLength, 4u);
    EXPECT_EQ(state->queue, nullptr);
}

TEST(Chunks, IndexedAccessAndFlags)
{
    void **array = nullptr;
    ASSERT_EQ(KorvAllocArray(&array, 2, sizeof(KorvChunk)), 1u);
    auto **chunks = reinterpret_cast<KorvChunk **>(array);
    chunks[1]->flags = 0x30;
    EXPECT_EQ(KorvSetChunk(chunks, 1, g_bytes, 8, 77), 1u);
    EXPECT_EQ(chunks[1]->flags, 0x30u);
    void *data = nullptr;
    uint32_t size = 0, aux = 0, flags = 0;
    EXPECT_EQ(KorvGetChunk(chunks, 1, &data, &size, &aux), 1u);
    EXPECT_EQ(data, g_bytes);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(aux, 77u);
    EXPECT_EQ(KorvSetChunk(chunks, 2, g_bytes, 8, 0), 0u); // past the end
    EXPECT_EQ(KorvGetChunk(chunks, 5, &data, &size, &aux), 0u);

    EXPECT_EQ(KorvMarkChunkFlags(chunks, 1, 4), 1u);
    EXPECT_EQ(KorvGetChunkFlags(chunks, 1, &flags), 1u);
    EXPECT_EQ(flags, 0x34u);
    EXPECT_EQ(KorvClearChunkFlags(chunks, 1, 4), 1u);
    EXPECT_EQ(chunks[1]->flags, 0x30u);
    EXPECT_EQ(KorvSetChunkFlags(chunks, 0, 9), 1u);
    EXPECT_EQ(chunks[0]->flags, 9u);
    EXPECT_EQ(KorvMarkChunkFlags(chunks, 3, 4), 0u);
    EXPECT_EQ(KorvChunkMarkFlags(nullptr, 1), 0u);
    EXPECT_EQ(KorvChunkClearFlags(nullptr, 1), 0u);

    EXPECT_EQ(KorvResetChunks(chunks), 1u);
    EXPECT_EQ(chunks[1]->size, 0u);
    EXPECT_EQ(chunks[1]->aux, 0u);
    EXPECT_EQ(chunks[1]->data, g_bytes);
    EXPECT_EQ(KorvResetChunks(nullptr), 1u);
    KorvFreeArray(array);
}

TEST(Chunks, DuplicateRules)
{
    KorvChunk source = {};
    source.flags = 4;
    source.aux = 2;
    source.mark = 3;
    source.user = 0x123456789ull;
    source.size = 8;
    source.data = g_bytes;

    KorvChunk *copy = nullptr;
    EXPECT_EQ(KorvDupChunk(&copy, &source), 0u); // destination must hold a value
    EXPECT_EQ(copy, nullptr);

    KorvChunk placeholder = {};
    copy = &placeholder;
    EXPECT_EQ(KorvDupChunk(&copy, nullptr), 1u);
    EXPECT_EQ(copy, nullptr);

    copy = &placeholder;
    ASSERT_EQ(KorvDupChunk(&copy, &source), 1u);
    ASSERT_NE(copy, &placeholder);
    EXPECT_EQ(copy->user, source.user);
    EXPECT_EQ(copy->mark, 3u);
    EXPECT_NE(copy->data, g_bytes);
    EXPECT_EQ(memcmp(copy->data, g_bytes, 8), 0);
    korv_internal_free(copy->data);
    korv_internal_free(copy);

    source.size = 0; // nothing to copy counts as a failure
    copy = &placeholder;
    EXPECT_EQ(KorvDupChunk(&copy, &source), 0u);
    EXPECT_EQ(copy, nullptr);

    source.size = 8;
    copy = &placeholder;
    korv_testing_fail_alloc(2);
    EXPECT_EQ(KorvDupChunk(&copy, &source), 0u);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(copy, nullptr);
}

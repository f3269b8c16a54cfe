#include <gtest/gtest.h>
#include <string>
#include <kvsup.h>
#include "core/alloc_testing.h"

namespace {

struct StateFixture : ::testing::Test {
    KorvState *state = nullptr;
    void SetUp() override { ASSERT_EQ(KorvAllocState(&state, KORV_STATE_MIN_SIZE), 1u); }
    void TearDown() override
    {
        korv_internal_free(state->errorMsg);
        KorvFreeState(state);
    }
};

using ErrorText = StateFixture;

} // namespace

TEST_F(ErrorText, MessagesAccumulateAndNullFormatOnlySetsStatus)
{
    EXPECT_EQ(KorvSetError(state, 5, "a"), 5);
    EXPECT_EQ(KorvSetError(state, 7, "b %d", 2), 7);
    EXPECT_STREQ(state->errorMsg, "a, b 2");
    EXPECT_EQ(KorvGetStatus(state), 7);
    EXPECT_EQ(KorvSetError(state, 0, nullptr), 0);
    EXPECT_STREQ(KorvGetErrorMsg(state), "a, b 2");
    EXPECT_EQ(KorvGetStatus(state), 0);
    EXPECT_EQ(KorvSetStatus(state, 4), 4);
    EXPECT_EQ(state->status, 4);
}

TEST_F(ErrorText, FailedGrowthKeepsTheOldMessage)
{
    KorvSetError(state, 1, "first");
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvSetError(state, 2, "second"), 2);
    korv_testing_fail_alloc(0);
    EXPECT_STREQ(state->errorMsg, "first");
    EXPECT_EQ(state->status, 2);
}

TEST_F(ErrorText, ErrorCodeComesFromTheMessage)
{
    EXPECT_EQ(KorvGetErrorCode(state), 0);
    KorvSetError(state, 1, "open failed: KV-31: no file");
    EXPECT_EQ(KorvGetErrorCode(state), 31);
}

TEST(ErrorNullState, NullStateIsHarmless)
{
    EXPECT_EQ(KorvSetError(nullptr, 9, "x"), 9);
    EXPECT_EQ(KorvGetErrorMsg(nullptr), nullptr);
    EXPECT_EQ(KorvGetErrorCode(nullptr), 0);
    EXPECT_EQ(KorvGetStatus(nullptr), 0);
}

TEST(ParseErrorCode, ScannerRules)
{
    // Digits that end the text are read from the minus sign before them.
    EXPECT_EQ(KorvParseErrorCode("KV-123"), -123);
    EXPECT_EQ(KorvParseErrorCode("KV-123 failed"), 123);
    EXPECT_EQ(KorvParseErrorCode("KV-42:"), 42);
    EXPECT_EQ(KorvParseErrorCode("KV-"), 0);
    EXPECT_EQ(KorvParseErrorCode(""), 0);
    EXPECT_EQ(KorvParseErrorCode(nullptr), 0);
    // After a 'K' the scanner waits for a 'V' whatever comes between.
    EXPECT_EQ(KorvParseErrorCode("K:V-7 bad"), 7);
    EXPECT_EQ(KorvParseErrorCode("KVKV-8."), 8);
    EXPECT_EQ(KorvParseErrorCode("KV-x9 "), 9);
    EXPECT_EQ(KorvParseErrorCode("no code here"), 0);
}

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <string>
#include <vector>
#include <kvsup.h>
#include "core/trace.h"

namespace {

// The log file is opened for appending in text mode: on Windows the C
// runtime writes line ends as CR LF.
#ifdef _WIN32
#define NL "\r\n"
#else
#define NL "\n"
#endif

struct Captured {
    std::string text;
    int32_t level;
    void *user;
};
std::vector<Captured> g_messages;

void capture(const char *text, int32_t level, void *user)
{
    g_messages.push_back({text, level, user});
}

class Channel : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_messages.clear();
        KorvSetLoggingCallback(capture, &g_messages);
    }
    void TearDown() override
    {
        KorvSetLoggingCallback(nullptr, nullptr);
        KorvSetDebug(0);
    }
};

std::string read_file(const std::string &path)
{
    std::string out;
    if (FILE *f = fopen(path.c_str(), "rb")) {
        char buf[512];
        size_t n;
        while ((n = fread(buf, 1, sizeof buf, f)) > 0)
            out.append(buf, n);
        fclose(f);
    }
    return out;
}

} // namespace

TEST_F(Channel, KindsReachTheCallbackWithTheirLevels)
{
    EXPECT_EQ(KorvError("e%d\n", 1), -1);
    KorvPrintf("out %s", "x");
    KorvDebug("hidden"); // debugging is off
    KorvSetDebugLevel(5);
    EXPECT_EQ(KorvIsDebug(), 1u);
    EXPECT_EQ(KorvGetDebugLevel(), 5);
    KorvDebug("dbg");
    KorvError(nullptr);
    KorvPrintf(nullptr);
    ASSERT_EQ(g_messages.size(), 3u);
    EXPECT_EQ(g_messages[0].text, "e1\n");
    EXPECT_EQ(g_messages[0].level, KORV_LOG_ERROR);
    EXPECT_EQ(g_messages[1].text, "out x");
    EXPECT_EQ(g_messages[1].level, KORV_LOG_OUTPUT);
    EXPECT_EQ(g_messages[2].text, "dbg");
    EXPECT_EQ(g_messages[2].level, KORV_LOG_DEBUG);
    EXPECT_EQ(g_messages[2].user, &g_messages);
}

TEST_F(Channel, LongMessagesAreCutAt1023)
{
    std::string long_text(3000, 'q');
    KorvPrintf("%s", long_text.c_str());
    ASSERT_EQ(g_messages.size(), 1u);
    EXPECT_EQ(g_messages[0].text, std::string(1023, 'q'));
}

TEST_F(Channel, WithoutCallbackTextGoesToTheKindsStream)
{
    KorvSetLoggingCallback(nullptr, nullptr);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    KorvPrintf("to out %d\n", 7);
    KorvError("to err\n");
    fflush(stdout);
    fflush(stderr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "to out 7\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "to err\n");
}

TEST_F(Channel, ReportErrorWritesTheStateMessage)
{
    KorvState *state = nullptr;
    ASSERT_EQ(KorvAllocState(&state, KORV_STATE_MIN_SIZE), 1u);
    KorvReportError(state); // no message: nothing
    KorvSetError(state, 3, "bad %s", "thing");
    KorvReportError(state);
    KorvReportError(nullptr);
    ASSERT_EQ(g_messages.size(), 1u);
    EXPECT_EQ(g_messages[0].text, "\tbad thing\n");
    EXPECT_EQ(g_messages[0].level, KORV_LOG_ERROR);
    korv_internal_free(state->errorMsg);
    KorvFreeState(state);
}

// Runs with KV_SILENT=1 and KV_LOGFILE set: the console stays quiet and the
// log file receives every message that is not a disabled debug message.
TEST(IsolatedSilentLog, OnlyTheLogFileReceivesText)
{
    const char *path = getenv("KV_LOGFILE");
    ASSERT_NE(path, nullptr);
    remove(path);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    KorvPrintf("one %d\n", 1);
    KorvDebug("never\n");
    KorvError("two\n");
    fflush(stdout);
    fflush(stderr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(read_file(path), "one 1" NL "two" NL);

    // A callback still gets the text while the file keeps receiving it.
    g_messages.clear();
    KorvSetLoggingCallback(capture, nullptr);
    KorvPrintf("three\n");
    KorvSetLoggingCallback(nullptr, nullptr);
    ASSERT_EQ(g_messages.size(), 1u);
    EXPECT_EQ(read_file(path), "one 1" NL "two" NL "three" NL);
    remove(path);
}

// Runs with KV_DEBUG=3 and two of the three trace switches.
TEST(IsolatedDebugEnv, DebugLevelAndTraceSwitchesComeFromTheEnvironment)
{
    EXPECT_EQ(KorvIsDebug(), 1u);
    EXPECT_EQ(KorvGetDebugLevel(), 3);
    EXPECT_TRUE(korv_trace_env());
    EXPECT_TRUE(korv_trace_findfile());
    EXPECT_FALSE(korv_trace_shared());
}
